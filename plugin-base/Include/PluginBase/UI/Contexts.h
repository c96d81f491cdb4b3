#pragma once

#include <cstdint>

namespace zeb {

/// Part of the effect's panel that an event is about. Controls act on the first alone.
enum class InteractArea : std::int32_t { Control = 0, Title = 1, Other = 2 };

/// Where a control lies. The rect is in units, and scaled by pixels per unit it is in the window's pixels.
struct DrawContext {
    InteractArea mArea = InteractArea::Control;
    float mScaleX = 1.0F;
    float mScaleY = 1.0F;
    float mX = 0.0F;
    float mY = 0.0F;
    float mWidth = 0.0F;
    float mHeight = 0.0F;
    std::int32_t mYDirection = 0;  ///< 0: y runs down, so value 1 is at the top; 1: it runs up
};

enum InteractModifier : std::uint32_t {
    kModifierShift = 1,
    kModifierCommand = 2,  ///< ctrl or command
    kModifierOption = 4,   ///< alt or option
};

struct EventContext : DrawContext {
    float mPointerX = 0.0F;  ///< pixels of the window
    float mPointerY = 0.0F;
    std::uint32_t mModifiers = 0;  ///< bits of InteractModifier
};

struct InteractResult {
    bool mHandled = false;
    bool mChanged = false;  ///< the value changed, or a redraw is needed

    bool operator==(const InteractResult&) const = default;
};

struct MouseDownResult : InteractResult {
    bool mCapture = false;  ///< a drag begins

    bool operator==(const MouseDownResult&) const = default;
};

}  // namespace zeb
