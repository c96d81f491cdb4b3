#include "NimbrelHost/User/PointerSession.h"

#include <cmath>

namespace nimbrel::host {

PointerSession::PointerSession(EffectWindow& window, const Parameter& control, const View& view)
    : mWindow(window), mView(view) {
    constexpr int titleWidth = 100, titleHeight = 20;
    const PF_ParamDef& definition = control.mDefinition;
    mPlace.mParameter = &control;
    mPlace.mControl = {view.mLeft, view.mTop, view.mLeft + definition.ui_width, view.mTop + definition.ui_height};
    mPlace.mTitle = {view.mLeft - titleWidth, view.mTop, view.mLeft, view.mTop + titleHeight};
    const bool isTitle = (definition.ui_flags & (PF_PUI_TOPIC | PF_PUI_CONTROL)) == PF_PUI_TOPIC;
    mPlace.mArea = isTitle ? PF_EA_PARAM_TITLE : PF_EA_CONTROL;
}

// Events have whole points only.
PF_Point PointerSession::ToWindow(double x, double y) const {
    return {mView.mLeft + static_cast<A_long>(std::floor(x / mView.mPixelScale)),
            mView.mTop + static_cast<A_long>(std::floor(y / mView.mPixelScale))};
}

EventReport PointerSession::Hover(double x, double y, PF_Modifiers modifiers) {
    const PF_Point point = ToWindow(x, y);
    const PF_Rect& frame = mPlace.mControl;
    const bool isInside =
        point.h >= frame.left && point.h < frame.right && point.v >= frame.top && point.v < frame.bottom;
    mWindow.GetHost().GetCustomUI().mPointer = point;
    if (!isInside) return {};
    PF_EventExtra event{};
    event.e_type = PF_Event_ADJUST_CURSOR;
    event.u.adjust_cursor.screen_point = point;
    event.u.adjust_cursor.modifiers = modifiers;
    return mWindow.Send(mPlace, event);
}

EventReport PointerSession::Press(double x, double y, PF_Modifiers modifiers, int clicks) {
    PF_EventExtra event{};
    event.e_type = PF_Event_DO_CLICK;
    PF_DoClickEventInfo& click = event.u.do_click;
    click.when = ++mTicks;
    click.screen_point = ToWindow(x, y);
    click.num_clicks = clicks;
    click.modifiers = modifiers;
    mWindow.GetHost().GetCustomUI().mPointer = click.screen_point;
    mCapture.reset();
    mAction.reset();
    mAction.emplace(mWindow.GetHost().GetUndo(), mPlace.mParameter->mName);
    const EventReport report = mWindow.Send(mPlace, event);
    if (report.mCaptures) {
        mCapture = click;
    } else {
        mAction.reset();
    }
    return report;
}

EventReport PointerSession::DragTo(double x, double y) {
    if (!mCapture) return {};
    mCapture->screen_point = ToWindow(x, y);
    mWindow.GetHost().GetCustomUI().mPointer = mCapture->screen_point;
    return SendDrag(false);
}

EventReport PointerSession::Release() {
    if (!mCapture) return {};
    EventReport report = SendDrag(true);
    mCapture.reset();
    mAction.reset();
    return report;
}

// The click's own record comes again, with what the effect keeps in it.
EventReport PointerSession::SendDrag(bool isLast) {
    PF_EventExtra event{};
    event.e_type = mView.mRepeatsClicks ? PF_Event_DO_CLICK : PF_Event_DRAG;
    event.u.do_click = *mCapture;
    event.u.do_click.when = ++mTicks;
    event.u.do_click.send_drag = 1;
    event.u.do_click.last_time = isLast ? 1 : 0;
    const EventReport report = mWindow.Send(mPlace, event);
    for (int i = 0; i < 4; ++i) mCapture->continue_refcon[i] = event.u.do_click.continue_refcon[i];
    return report;
}

EventReport PointerSession::Click(double x, double y, PF_Modifiers modifiers) {
    EventReport report = Press(x, y, modifiers);
    return report += Release();
}

// Hosts send the first of the two clicks for itself: they cannot know that a second will come.
EventReport PointerSession::DoubleClick(double x, double y, PF_Modifiers modifiers) {
    EventReport report = Click(x, y, modifiers);
    report += Press(x, y, modifiers, 2);
    return report += Release();
}

}  // namespace nimbrel::host
