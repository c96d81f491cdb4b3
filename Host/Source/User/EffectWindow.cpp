#include "NimbrelHost/User/EffectWindow.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

#include "Commands/ParameterRecords.h"
#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Support/Errors.h"

namespace nimbrel::host {
namespace {

constexpr int kScreenDepth = 32;

/// Whether the effect may change values in answer; in other events the host doesn't look.
bool MayChangeValues(PF_EventType type) {
    return type == PF_Event_DO_CLICK || type == PF_Event_DRAG || type == PF_Event_KEYDOWN;
}

/// The surface of a draw event goes with it, whatever happens.
class DrawingScope {
public:
    DrawingScope(CustomUI& ui, PF_ContextH context, std::unique_ptr<DrawingSurface> surface) : mUI(ui) {
        mUI.BeginDrawing(context, std::move(surface));
    }
    ~DrawingScope() {
        if (mIsOpen) mUI.EndDrawing();
    }
    DrawingScope(const DrawingScope&) = delete;
    DrawingScope& operator=(const DrawingScope&) = delete;

    Drawing Finish() {
        mIsOpen = false;
        return mUI.EndDrawing();
    }

private:
    CustomUI& mUI;
    bool mIsOpen = true;
};

}  // namespace

EventReport& EventReport::operator+=(const EventReport& later) {
    mHandled = mHandled || later.mHandled;
    mCaptures = mCaptures || later.mCaptures;
    mRedraws = mRedraws || later.mRedraws;
    mCursor = later.mCursor;
    mChanged.insert(mChanged.end(), later.mChanged.begin(), later.mChanged.end());
    return *this;
}

EffectWindow::EffectWindow(Host& host, int frame) : mHost(host), mFrame(frame) {
    if ((host.GetCustomUI().mRegisteredEvents & PF_CustomEFlag_EFFECT) == 0) {
        throw EffectError(fmt::format("\"{}\" didn't register for the events of its controls", host.GetEffect().mName));
    }
    mContext = host.GetCustomUI().OpenContext();
    try {
        Tell(PF_Event_NEW_CONTEXT);
        Tell(PF_Event_ACTIVATE);
    } catch (...) {
        mHost.GetCustomUI().CloseContext(std::exchange(mContext, nullptr));
        throw;
    }
}

EffectWindow::~EffectWindow() {
    try {
        Close();
    } catch (const std::exception& exception) {
        mHost.GetDiagnostics().Report(exception.what());
    }
}

// The context is the host's: it goes even when the effect fails to let go of what it put there.
void EffectWindow::Close() {
    if (mContext == nullptr) return;
    try {
        Tell(PF_Event_DEACTIVATE);
        Tell(PF_Event_CLOSE_CONTEXT);
    } catch (...) {
        mHost.GetCustomUI().CloseContext(std::exchange(mContext, nullptr));
        throw;
    }
    mHost.GetCustomUI().CloseContext(std::exchange(mContext, nullptr));
}

void EffectWindow::Tell(PF_EventType type) {
    PF_EventExtra event{};
    event.e_type = type;
    event.effect_win.area = PF_EA_NONE;
    Run(event);
}

EventReport EffectWindow::Send(const ControlPlace& place, PF_EventExtra& event) {
    event.effect_win.index = place.mParameter->mIndex;
    event.effect_win.area = place.mArea;
    event.effect_win.current_frame = place.mArea == PF_EA_PARAM_TITLE ? place.mTitle : place.mControl;
    event.effect_win.param_title_frame = place.mTitle;
    return Run(event);
}

Drawing EffectWindow::Draw(const ControlPlace& place, float pixelScale, bool prefersArgb) {
    const PF_Rect& frame = place.mArea == PF_EA_PARAM_TITLE ? place.mTitle : place.mControl;
    const DrawingRect rect{static_cast<float>(frame.left), static_cast<float>(frame.top),
                           static_cast<float>(frame.right - frame.left), static_cast<float>(frame.bottom - frame.top)};
    PF_EventExtra event{};
    event.e_type = PF_Event_DRAW;
    event.u.draw.update_rect = frame;
    event.u.draw.depth = kScreenDepth;
    DrawingScope drawing(mHost.GetCustomUI(), mContext,
                         std::make_unique<DrawingSurface>(rect, pixelScale, prefersArgb));
    Send(place, event);
    return drawing.Finish();
}

EventReport EffectWindow::Run(PF_EventExtra& event) {
    if (mContext == nullptr) throw EffectError("an event for a window that is closed");
    CustomUI& ui = mHost.GetCustomUI();
    event.contextH = mContext;
    ui.mNeedsRedraw = false;
    // A click that comes again during a drag has asked already.
    const bool isClick = event.e_type == PF_Event_DO_CLICK && event.u.do_click.send_drag == 0;
    const LayerClock clock = mHost.GetLayerClock();
    const double seconds = clock.GetSeconds(mFrame);
    EventReport report;
    {
        Command command(mHost, PF_Cmd_EVENT, clock.GetTime(mFrame));
        ParameterRecords records(mHost);
        const auto changed = records.Run(command, &event, seconds, MayChangeValues(event.e_type));
        for (const Parameter* parameter : changed) report.mChanged.push_back(parameter->GetKey());
        constexpr PF_OutFlags redraws = PF_OutFlag_REFRESH_UI;
        report.mRedraws = (command.Out().out_flags & redraws) != 0;
    }
    report.mHandled = (event.evt_out_flags & PF_EO_HANDLED_EVENT) != 0;
    if (!report.mChanged.empty() && !report.mHandled) {
        mHost.GetDiagnostics().Report("an event changed values and was not marked as handled");
    }
    const PF_EventOutFlags updates = PF_EO_ALWAYS_UPDATE | PF_EO_UPDATE_NOW;
    report.mRedraws =
        report.mRedraws || ui.mNeedsRedraw || (event.evt_out_flags & updates) != 0 || !report.mChanged.empty();
    report.mCaptures = isClick && event.u.do_click.send_drag != 0;
    if (event.e_type == PF_Event_ADJUST_CURSOR) report.mCursor = event.u.adjust_cursor.set_cursor;
    // What depends on a changed value may look different now.
    if (!report.mChanged.empty()) mHost.UpdateParameterControls();
    return report;
}

}  // namespace nimbrel::host
