#include "PluginBase/AE/EventAE.h"

#include <memory>
#include <new>
#include <unordered_map>
#include <utility>

#include "../CheckAE.h"
#include "AcquiredSuiteAE.h"
#include "PluginBase/AE/AllocatorAE.h"
#include "PluginBase/AE/GraphicsAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/PluginBaseAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Misc/Hash.h"
#include "PluginBase/UI/InteractBase.h"

namespace zeb {
namespace {

struct Control {
    UniquePtr<InteractBase> mInteract;
    PF_Rect mFrame{};  ///< where the host had it at the last event of the pointer
    bool mAwaitsDraw = false;
};

/// The controls of one window, by host parameter index; made at the first event of each. An event in progress shares
/// them: the user may close the window while a dialog of the event's is open.
struct Controls {
    std::unordered_map<std::int32_t, Control, IntegerHash> mByParameter;
    Control* mPointed = nullptr;  ///< the one that had the pointer last
    bool mIsClosed = false;
};
using ContextRecord = std::shared_ptr<Controls>;

// The record lies in the host's memory, its address in the first of the four values that a context keeps for us.

ContextRecord* GetRecord(const PF_EventExtra& extra) {
    if (extra.contextH == nullptr || *extra.contextH == nullptr) return nullptr;
    return reinterpret_cast<ContextRecord*>(  // NOLINT(performance-no-int-to-ptr): the host keeps whole numbers
        (*extra.contextH)->plugin_state[0]);
}

void DestroyRecord(PF_EventExtra& extra) {
    ContextRecord* record = GetRecord(extra);
    if (record == nullptr) return;
    (*extra.contextH)->plugin_state[0] = 0;
    if (*record != nullptr) (*record)->mIsClosed = true;
    record->~ContextRecord();
    Free(record);
}

void CreateRecord(PF_EventExtra& extra) {
    if (extra.contextH == nullptr || *extra.contextH == nullptr) return;
    (*extra.contextH)->plugin_state[0] = 0;
    auto controls = std::make_shared<Controls>();
    void* memory = Allocate(sizeof(ContextRecord));
    (*extra.contextH)->plugin_state[0] =
        reinterpret_cast<A_intptr_t>(::new (memory) ContextRecord(std::move(controls)));
}

/// The control of the parameter that the event names, or null if it has none.
Control* FindControl(const ParametersManagerBase& manager, Controls& controls, std::int32_t parameterIndex) {
    const auto found = controls.mByParameter.find(parameterIndex);
    if (found != controls.mByParameter.end()) return &found->second;
    const std::int32_t index = manager.FindIndexByParameterIndex(parameterIndex);
    if (index < 0) return nullptr;
    const auto& info = manager.GetTable()[static_cast<std::size_t>(index)].mInteractInfo;
    if (!info) return nullptr;
    Control control;
    control.mInteract = info->mMakeInteract(index);
    return &controls.mByParameter.emplace(parameterIndex, std::move(control)).first->second;
}

std::uint32_t ToModifiers(PF_Modifiers modifiers) {
    std::uint32_t bits = 0;
    if ((modifiers & PF_Mod_SHIFT_KEY) != 0) bits |= kModifierShift;
    if ((modifiers & PF_Mod_CMD_CTRL_KEY) != 0) bits |= kModifierCommand;
    if ((modifiers & PF_Mod_OPT_ALT_KEY) != 0) bits |= kModifierOption;
    return bits;
}

InteractArea ToArea(PF_EffectArea area) {
    switch (area) {
        case PF_EA_CONTROL: return InteractArea::Control;
        case PF_EA_PARAM_TITLE: return InteractArea::Title;
        default: return InteractArea::Other;
    }
}

/// Asks the host to draw the control again. It also does so by itself when a value was changed, so a host that does
/// not know the request is none the worse.
void RequestRedraw(const PF_EventExtra& extra, Control& control) {
    control.mAwaitsDraw = true;
    SPBasicSuite* basic = AEGPSuites().GetBasicSuite();
    const void* acquired = nullptr;
    if (basic == nullptr || basic->AcquireSuite(kPFAppSuite, kPFAppSuiteVersion6, &acquired) != 0 ||
        acquired == nullptr)
        return;
    const auto* suite = static_cast<const PFAppSuite6*>(acquired);
    if (suite->PF_InvalidateRect != nullptr) suite->PF_InvalidateRect(extra.contextH, &control.mFrame);
    if (basic->ReleaseSuite(kPFAppSuite, kPFAppSuiteVersion6) != 0) ReportReleaseFailure(kPFAppSuite);
}

bool IsOfPointer(PF_EventType type) {
    return type == PF_Event_DO_CLICK || type == PF_Event_DRAG || type == PF_Event_ADJUST_CURSOR;
}

/// Hosts do not say when the pointer leaves a control of the effect panel. Its next event at another control tells, and
/// so does a drawing that the control did not ask for: it may be of another time, with other keys.
void EndHover(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter, const PF_EventExtra& extra,
              Controls& controls, Control& control) {
    if (extra.e_type == PF_Event_DRAW) {
        const bool isControl = extra.effect_win.area == PF_EA_CONTROL;
        if (isControl && !std::exchange(control.mAwaitsDraw, false))
            control.mInteract->OnPointerLeft(getter, setter, MakeEventContext(extra));
        return;
    }
    if (!IsOfPointer(extra.e_type)) return;
    control.mFrame = extra.effect_win.current_frame;
    Control* const before = std::exchange(controls.mPointed, &control);
    if (before == nullptr || before == &control) return;
    if (before->mInteract->OnPointerLeft(getter, setter, MakeEventContext(extra)).mChanged)
        RequestRedraw(extra, *before);
}

InteractResult PassOn(InteractBase& interact, const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                      PF_EventExtra& extra) {
    const EventContext context = MakeEventContext(extra);
    switch (extra.e_type) {
        case PF_Event_DRAW: {
            ui::GraphicsAE graphics(extra);
            return {interact.Draw(getter, context, graphics), false};
        }
        case PF_Event_DO_CLICK: {
            PF_DoClickEventInfo& click = extra.u.do_click;
            // The host repeats the click while the button stays down.
            if (click.send_drag != 0) return interact.OnDrag(getter, setter, context);
            const MouseDownResult result = interact.OnMouseDown(getter, setter, context, click.num_clicks);
            if (result.mCapture) click.send_drag = 1;
            return result;
        }
        case PF_Event_DRAG: return interact.OnDrag(getter, setter, context);
        case PF_Event_ADJUST_CURSOR: return interact.OnPointerMove(getter, setter, context);
        case PF_Event_MOUSE_EXITED: return interact.OnPointerLeft(getter, setter, context);
        default: return {};
    }
}

}  // namespace

EventContext MakeEventContext(const PF_EventExtra& extra) {
    EventContext context;
    context.mArea = ToArea(extra.effect_win.area);
    const PF_Rect& rect =
        context.mArea == InteractArea::Title ? extra.effect_win.param_title_frame : extra.effect_win.current_frame;
    context.mX = static_cast<float>(rect.left);
    context.mY = static_cast<float>(rect.top);
    context.mWidth = static_cast<float>(rect.right) - static_cast<float>(rect.left);
    context.mHeight = static_cast<float>(rect.bottom) - static_cast<float>(rect.top);
    const auto setPointer = [&context](const PF_Point& point, PF_Modifiers modifiers) {
        context.mPointerX = static_cast<float>(point.h);
        context.mPointerY = static_cast<float>(point.v);
        context.mModifiers = ToModifiers(modifiers);
    };
    switch (extra.e_type) {
        case PF_Event_DO_CLICK:
        case PF_Event_DRAG: setPointer(extra.u.do_click.screen_point, extra.u.do_click.modifiers); break;
        case PF_Event_ADJUST_CURSOR:
            setPointer(extra.u.adjust_cursor.screen_point, extra.u.adjust_cursor.modifiers);
            break;
        default: break;
    }
    return context;
}

void HandleEvent(PluginBaseAE& plugin, PF_ParamDef* params[], PF_EventExtra& extra) {
    switch (extra.e_type) {
        case PF_Event_NEW_CONTEXT:
            // What the host left in a new context's values is not ours.
            CreateRecord(extra);
            return;
        case PF_Event_CLOSE_CONTEXT: DestroyRecord(extra); return;
        default: break;
    }
    const ContextRecord* record = GetRecord(extra);
    if (record == nullptr) return;
    const ContextRecord controls = *record;
    const ParametersManagerBase& manager = plugin.GetParametersManager();
    Control* const control = FindControl(manager, *controls, extra.effect_win.index);
    if (control == nullptr) return;
    NeedFromHost(params, "parameters");
    const ParameterCurrentValueGetterAE getter(manager, params);
    ParameterValueSetterAE setter(manager, params, plugin);
    EndHover(getter, setter, extra, *controls, *control);
    const InteractResult result = PassOn(*control->mInteract, getter, setter, extra);
    if (result.mHandled) extra.evt_out_flags |= PF_EO_HANDLED_EVENT;
    if (result.mChanged && !controls->mIsClosed) RequestRedraw(extra, *control);
}

}  // namespace zeb
