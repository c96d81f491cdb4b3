#include "NimbrelHost/Drawing/CustomUI.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <glm/matrix.hpp>
#include <new>
#include <utility>

namespace nimbrel::host {
namespace {

DrawingRect Intersect(const DrawingRect& a, const DrawingRect& b) {
    const float left = std::max(a.mLeft, b.mLeft), top = std::max(a.mTop, b.mTop);
    return {left, top, std::max(0.0F, std::min(a.mLeft + a.mWidth, b.mLeft + b.mWidth) - left),
            std::max(0.0F, std::min(a.mTop + a.mHeight, b.mTop + b.mHeight) - top)};
}

/// The smallest upright rectangle around the transformed one.
DrawingRect Bounds(const glm::mat3& matrix, const DrawingRect& rect) {
    glm::vec2 low(INFINITY), high(-INFINITY);
    for (const float x : {rect.mLeft, rect.mLeft + rect.mWidth}) {
        for (const float y : {rect.mTop, rect.mTop + rect.mHeight}) {
            const glm::vec2 point(matrix * glm::vec3(x, y, 1));
            low = glm::min(low, point);
            high = glm::max(high, point);
        }
    }
    return {low.x, low.y, high.x - low.x, high.y - low.y};
}

}  // namespace

DrawingSurface::DrawingSurface(const DrawingRect& frame, float scale, bool prefersArgb)
    : mScale(scale), mPrefersArgb(prefersArgb) {
    mDrawing.mFrame = frame;
    mState.mClip = frame;
}

void DrawingSurface::Push() {
    mStack.push_back(mState);
    Add(PushCall{});
}

bool DrawingSurface::Pop() {
    if (mStack.empty()) return false;
    mState = mStack.back();
    mStack.pop_back();
    Add(PopCall{});
    return true;
}

void DrawingSurface::Clip(const DrawingRect& rect) {
    mState.mClip = Intersect(mState.mClip, Bounds(mState.mToWindow, rect));
    Add(ClipCall{rect});
}

void DrawingSurface::Transform(const glm::mat3& matrix) {
    mState.mToWindow = mState.mToWindow * matrix;
    Add(TransformCall{matrix});
}

void DrawingSurface::SetQuality(int antiAlias, int interpolation) {
    mState.mAntiAlias = antiAlias;
    mState.mInterpolation = interpolation;
    Add(QualityCall{antiAlias, interpolation});
}

DrawingRect DrawingSurface::GetClip() const { return Bounds(glm::inverse(mState.mToWindow), mState.mClip); }

PF_ContextH CustomUI::OpenContext() {
    auto* const context = reinterpret_cast<PF_ContextH>(mHandles.New(sizeof(PF_Context)));
    if (context == nullptr) throw std::bad_alloc();
    (*context)->magic = PF_CONTEXT_MAGIC;
    (*context)->w_type = PF_Window_EFFECT;
    mContexts.insert(context);
    return context;
}

void CustomUI::CloseContext(PF_ContextH context) {
    if (mContexts.erase(context) == 0) return;
    mHandles.Dispose(reinterpret_cast<PF_Handle>(context));
}

void CustomUI::BeginDrawing(PF_ContextH context, std::unique_ptr<DrawingSurface> surface) {
    mDrawnContext = context;
    mSurface = std::move(surface);
}

Drawing CustomUI::EndDrawing() {
    if (mSurface->CountPushed() > 0) {
        mDiagnostics.Report(fmt::format("a draw event: {} states pushed and not popped", mSurface->CountPushed()));
    }
    mDrawnContext = nullptr;
    return std::exchange(mSurface, nullptr)->TakeDrawing();
}

DRAWBOT_DrawRef CustomUI::GetDrawReference(PF_ContextH context) {
    if (mSurface != nullptr && context == mDrawnContext) return static_cast<DRAWBOT_DrawRef>(GetReference(Role::Draw));
    mDiagnostics.Report(mContexts.contains(context) ? "a drawing reference was asked for outside a draw event"
                                                    : "a drawing reference was asked for without a context");
    return nullptr;
}

// References are addresses within the surface that nobody follows.
void* CustomUI::GetReference(Role role) const {
    return reinterpret_cast<char*>(mSurface.get()) + static_cast<std::size_t>(role);
}

DrawingSurface* CustomUI::FindSurface(Role role, const void* reference) const {
    return mSurface != nullptr && reference == GetReference(role) ? mSurface.get() : nullptr;
}

}  // namespace nimbrel::host
