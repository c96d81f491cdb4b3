#include "Render.h"

#include <bit>
#include <cstdint>
#include <utility>

#include <fmt/format.h>

#include "Nimbrel/GaussianSplatRenderer.h"
#include "PluginBase/Exception.h"

namespace {

// Depth terms for a near plane at 100 and a far one at 1000000, as single floats to the last bit:
// (far + near) / (far - near), -2 far near / (far - near), 1 / (far - near), -near / (far - near).
constexpr auto kPerspectiveDepthScale = std::bit_cast<float>(0x3F80068EU);
constexpr auto kPerspectiveDepthOffset = std::bit_cast<float>(0xC348051FU);
constexpr auto kOrthographicDepthScale = std::bit_cast<float>(0x35863B2DU);
constexpr auto kOrthographicDepthOffset = std::bit_cast<float>(0xB8D1BC76U);

/// The tile's rectangle in pixels of the layer, measured from the layer's centre against the axes.
struct Rectangle {
    float mLeft, mRight, mTop, mBottom;
};

Rectangle GetTileRectangle(const zeb::DrawInfo& drawInfo) {
    const auto centerX = static_cast<float>(drawInfo.mFullWidth * 0.5);
    const auto centerY = static_cast<float>(drawInfo.mFullHeight * 0.5);
    const auto end = [](std::int32_t pivot, std::uint32_t size) {
        return static_cast<float>(std::int64_t{pivot} + std::int64_t{size});
    };
    return {centerX - static_cast<float>(drawInfo.mPivotX) / drawInfo.mScaleX,
            centerX - end(drawInfo.mPivotX, drawInfo.mOutputWidth) / drawInfo.mScaleX,
            centerY - static_cast<float>(drawInfo.mPivotY) / drawInfo.mScaleY,
            centerY - end(drawInfo.mPivotY, drawInfo.mOutputHeight) / drawInfo.mScaleY};
}

}  // namespace

glm::mat4 GetProjectionMatrix(const zeb::DrawInfo& drawInfo) {
    auto [left, right, top, bottom] = GetTileRectangle(drawInfo);
    if (drawInfo.mNativeOrigin == zeb::NativeOrigin::Center)
        ZEB_THROW(zeb::kInternalError, "Unsupported native origin zeb::NativeOrigin::Center.");
    if (drawInfo.mNativeOrigin == zeb::NativeOrigin::VerticalFlip) std::swap(top, bottom);
    const float width = left - right;
    const float height = top - bottom;

    glm::mat4 projection(0.0F);
    switch (drawInfo.mCameraType) {
        case zeb::CameraType::None:
        case zeb::CameraType::Perspective:
            projection[0][0] = 2.0F * drawInfo.mFocalLength / width;
            projection[1][1] = 2.0F * drawInfo.mFocalLength / height;
            projection[2][0] = (left + right) / width;
            projection[2][1] = (top + bottom) / height;
            projection[2][2] = kPerspectiveDepthScale;
            projection[2][3] = 1.0F;
            projection[3][2] = kPerspectiveDepthOffset;
            return projection;
        case zeb::CameraType::Orthographic:
            projection[0][0] = 2.0F / width;
            projection[1][1] = 2.0F / height;
            projection[2][2] = kOrthographicDepthScale;
            projection[3][0] = (left + right) / width;
            projection[3][1] = (top + bottom) / height;
            projection[3][2] = kOrthographicDepthOffset;
            projection[3][3] = 1.0F;
            return projection;
    }
    ZEB_THROW(zeb::kInternalError,
              fmt::format("Unknown camera type of {}", static_cast<std::uint32_t>(drawInfo.mCameraType)));
}

Cache::Cache() = default;
Cache::~Cache() = default;

GaussianSplatRenderer& Cache::GetRenderer(zeb::render::Device& device) {
    if (mRenderer == nullptr) mRenderer = zeb::MakeUnique<GaussianSplatRenderer>(device);
    return *mRenderer;
}

zeb::UniquePtr<zeb::render::CommandList> Render(zeb::render::Device& device, const zeb::DrawInfo& drawInfo,
                                                const std::vector<ModelGroup>& models, zeb::render::Texture& target) {
    zeb::UniquePtr<zeb::render::DeviceCache>& slot = device.GetThreadData().mEffectCache;
    if (slot == nullptr) slot = zeb::MakeUnique<Cache>();
    GaussianSplatRenderer& renderer = static_cast<Cache&>(*slot).GetRenderer(device);
    return renderer.Render(device, GetProjectionMatrix(drawInfo), drawInfo, models, target);
}
