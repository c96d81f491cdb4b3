#pragma once

#include <cstddef>
#include <cstdint>

#include <glm/mat4x4.hpp>
#include <nlohmann/json_fwd.hpp>

namespace zeb {

class PackedParameters;

/// Where the first row of a target lies.
enum class NativeOrigin : std::uint32_t { TopLeft = 0, VerticalFlip = 1, Center = 2 };

enum class CameraType : std::uint32_t { None = 0, Perspective = 1, Orthographic = 2 };

/// A view of a part's bytes.
struct PluginStatePartView {
    std::uint32_t mType = 0;
    const std::byte* mData = nullptr;
    std::size_t mSize = 0;
};

/// One tile of one frame, as told to all drawing code. Pointers are borrowed for the length of the draw.
struct DrawInfo {
    const PackedParameters* mPackedParameters = nullptr;
    const nlohmann::json* mDrawState = nullptr;
    PluginStatePartView mDrawBinary;
    std::uint32_t mFullWidth = 0;  ///< the layer at full resolution, pixels
    std::uint32_t mFullHeight = 0;
    float mScaleX = 1.0F;  ///< pixels of the render per pixel of the layer
    float mScaleY = 1.0F;
    std::int32_t mPivotX = 0;  ///< where the tile's first pixel lies in the layer, pixels of the render
    std::int32_t mPivotY = 0;
    std::uint32_t mOutputWidth = 0;  ///< the tile, pixels of the render
    std::uint32_t mOutputHeight = 0;
    NativeOrigin mNativeOrigin = NativeOrigin::VerticalFlip;
    /// World to camera; x right, y down, z forward. Columns for column vectors, which is the same
    /// memory as rows for row vectors.
    glm::mat4 mCamera{1.0F};
    float mFocalLength = 0.0F;  ///< distance to the image plane, pixels of the layer
    CameraType mCameraType = CameraType::None;
};

}  // namespace zeb
