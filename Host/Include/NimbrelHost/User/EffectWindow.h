#pragma once

#include <string>
#include <vector>

#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Drawing/Drawing.h"

namespace nimbrel::host {

/// Where a window shows a control, in points.
struct ControlPlace {
    const Parameter* mParameter = nullptr;
    PF_Rect mControl{};
    PF_Rect mTitle{};  ///< the parameter's name beside it
    PF_EffectArea mArea = PF_EA_CONTROL;
};

/// What the effect answered to an event.
struct EventReport {
    bool mHandled = false;
    bool mCaptures = false;             ///< a click that wants to hear of the pointer until the button goes up
    bool mRedraws = false;              ///< a window must be drawn anew
    int mCursor = 0;                    ///< what the pointer shall look like, PF_Cursor_...
    std::vector<std::string> mChanged;  ///< keys of the parameters that it gave other values

    /// Both, one after the other.
    EventReport& operator+=(const EventReport& later);
};

/// A window of the host that shows custom controls of the effect, as the panel does: it brings the effect a context,
/// activates it, sends events of its controls, and closes it at the end. Values that the effect changes in answer to a
/// click, a drag or a key are taken over. Main thread. All functions throw EffectError when the effect fails; what it
/// changed in a failed event is lost.
class EffectWindow {
public:
    /// `frame`: the time at which values are read and set. Throws EffectError also for an effect that didn't register
    /// for events of its controls.
    explicit EffectWindow(Host& host, int frame = 0);
    /// Closes; a failure then is reported.
    ~EffectWindow();
    EffectWindow(const EffectWindow&) = delete;
    EffectWindow& operator=(const EffectWindow&) = delete;

    void Close();
    bool IsOpen() const { return mContext != nullptr; }
    Host& GetHost() { return mHost; }

    /// Sends an event whose kind and details the record has; the rest of it is filled in.
    EventReport Send(const ControlPlace& place, PF_EventExtra& event);

    /// Has a control drawn. `pixelScale`: pixels to a point. `prefersArgb`: which layout of pixels the supplier asks
    /// for.
    Drawing Draw(const ControlPlace& place, float pixelScale = 1, bool prefersArgb = false);

private:
    EventReport Run(PF_EventExtra& event);
    void Tell(PF_EventType type);

    Host& mHost;
    int mFrame;
    PF_ContextH mContext = nullptr;
};

}  // namespace nimbrel::host
