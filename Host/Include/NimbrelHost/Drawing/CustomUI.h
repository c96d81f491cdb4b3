#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "HostInterface/HostInterface.h"
#include "NimbrelHost/Drawing/Drawing.h"
#include "NimbrelHost/Support/Diagnostics.h"
#include "NimbrelHost/Support/HandleStore.h"
#include "NimbrelHost/Support/LiveObjects.h"

namespace nimbrel::host {

struct DrawingPen {
    glm::vec4 mColor{0};
    float mWidth = 1;
    std::vector<float> mDashes;
};
struct DrawingBrush {
    glm::vec4 mColor{0};
};
struct DrawingFont {
    float mSize = 0;
};

/// What an effect made to draw with and holds by a counted reference.
struct DrawingObject {
    std::variant<DrawingPen, DrawingBrush, DrawingFont, DrawingPath, std::shared_ptr<DrawingImage>> mValue;
    int mReferences = 1;
};

/// What an effect draws on while one draw event lasts; it records.
class DrawingSurface {
public:
    DrawingSurface(const DrawingRect& frame, float scale, bool prefersArgb);

    template <class Call>
    void Add(Call call) {
        mDrawing.mCalls.emplace_back(std::in_place_type<Call>, std::move(call));
    }
    void Push();
    bool Pop();  ///< false when nothing was pushed
    void Clip(const DrawingRect& rect);
    void Transform(const glm::mat3& matrix);
    void SetQuality(int antiAlias, int interpolation);

    /// What can be drawn on, in the coordinates of the current transform.
    DrawingRect GetClip() const;
    float GetScale() const { return mScale; }
    bool PrefersArgb() const { return mPrefersArgb; }
    int GetAntiAlias() const { return mState.mAntiAlias; }
    int GetInterpolation() const { return mState.mInterpolation; }
    std::size_t CountPushed() const { return mStack.size(); }
    Drawing TakeDrawing() { return std::move(mDrawing); }

private:
    struct State {
        DrawingRect mClip;  ///< in the window
        glm::mat3 mToWindow{1};
        int mAntiAlias = kDRAWBOT_AntiAliasPolicy_High;
        int mInterpolation = kDRAWBOT_InterpolationPolicy_None;
    };

    Drawing mDrawing;
    float mScale;  ///< pixels to a point
    bool mPrefersArgb;
    State mState;
    std::vector<State> mStack;
};

/// What the host keeps of an effect's custom controls: open contexts, the surface of the draw event that runs, and what
/// the effect holds. Main thread.
class CustomUI {
public:
    CustomUI(HandleStore& handles, Diagnostics& diagnostics) : mHandles(handles), mDiagnostics(diagnostics) {}

    /// A window of the effect's controls opens and closes; its context is a handle, like any other that is counted.
    PF_ContextH OpenContext();
    void CloseContext(PF_ContextH context);
    bool IsOpen(PF_ContextH context) const { return mContexts.contains(context); }

    /// For the length of a draw event.
    void BeginDrawing(PF_ContextH context, std::unique_ptr<DrawingSurface> surface);
    /// Reports a state that was pushed and not popped.
    Drawing EndDrawing();

    /// What an effect reaches a surface by, each with a reference of its own, so that mixing them up is found.
    enum class Role { Draw, Supplier, Surface };

    /// The drawing reference of a context; null, and reported, outside its draw event.
    DRAWBOT_DrawRef GetDrawReference(PF_ContextH context);
    void* GetReference(Role role) const;
    /// The surface of the running draw event if the reference is the one of that role, else null.
    DrawingSurface* FindSurface(Role role, const void* reference) const;

    LiveObjects<DrawingObject>& GetObjects() { return mObjects; }

    PF_CustomEventFlags mRegisteredEvents = 0;  ///< what the effect asked to be sent
    bool mNeedsRedraw = false;                  ///< the effect invalidated a part of a window
    PF_Point mPointer{};                        ///< where it was last

private:
    HandleStore& mHandles;
    Diagnostics& mDiagnostics;
    LiveObjects<DrawingObject> mObjects;
    std::set<PF_ContextH> mContexts;
    PF_ContextH mDrawnContext = nullptr;
    std::unique_ptr<DrawingSurface> mSurface;
};

}  // namespace nimbrel::host
