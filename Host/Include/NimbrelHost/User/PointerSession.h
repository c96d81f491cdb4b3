#pragma once

#include <optional>

#include "NimbrelHost/User/EffectWindow.h"

namespace nimbrel::host {

/// A user with a mouse before one custom control. Positions are in pixels of the view, from the control's top left
/// corner, and may lie outside it. Main thread. Throws EffectError.
class PointerSession {
public:
    struct View {
        int mPixelScale = 1;  ///< pixels to a point: 2 on a fine screen
        int mLeft = 120;      ///< where the window has the control, in points
        int mTop = 40;
        bool mRepeatsClicks = false;  ///< drags come as clicks with send_drag set, as some hosts have it
        bool mPrefersArgb = false;
    };

    PointerSession(EffectWindow& window, const Parameter& control) : PointerSession(window, control, View{}) {}
    PointerSession(EffectWindow& window, const Parameter& control, const View& view);

    const ControlPlace& GetPlace() const { return mPlace; }

    Drawing Draw() { return mWindow.Draw(mPlace, static_cast<float>(mView.mPixelScale), mView.mPrefersArgb); }

    /// Moves the pointer without a button down. The effect hears of it inside the control alone, and not when it
    /// leaves.
    EventReport Hover(double x, double y, PF_Modifiers modifiers = PF_Mod_NONE);

    /// Presses the button; `clicks` is 2 for the second of a double click.
    EventReport Press(double x, double y, PF_Modifiers modifiers = PF_Mod_NONE, int clicks = 1);
    /// Moves the pointer with the button down. Without capture nothing is sent.
    EventReport DragTo(double x, double y);
    /// Lets the button go where the pointer is.
    EventReport Release();

    // Whole gestures.
    EventReport Click(double x, double y, PF_Modifiers modifiers = PF_Mod_NONE);
    EventReport DoubleClick(double x, double y, PF_Modifiers modifiers = PF_Mod_NONE);

private:
    EventReport SendDrag(bool isLast);
    PF_Point ToWindow(double x, double y) const;

    EffectWindow& mWindow;
    View mView;
    ControlPlace mPlace;
    A_u_long mTicks = 0;                          ///< the host's clock of events
    std::optional<PF_DoClickEventInfo> mCapture;  ///< the click that is being dragged
    std::optional<UndoHistory::Action> mAction;   ///< while the button is down: the whole drag is one step to take back
};

}  // namespace nimbrel::host
