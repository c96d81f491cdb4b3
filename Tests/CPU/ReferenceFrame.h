#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <glm/mat4x4.hpp>
#include <glm/vec4.hpp>

#include "Nimbrel/CPU/SplatDecoding.h"
#include "Nimbrel/GaussianSplatAsset.h"
#include "Nimbrel/ShaderConstants.h"
#include "PluginBase/ImageInfo.h"
#include "Render/CPU/Image.h"

/// A whole frame drawn by the CPU programs alone, as an independent picture to hold devices to. It shares no
/// code with the renderer and the render interface. Scalar, one thread.
namespace nimbrel::reference {

/// Wireframes to draw for one instance, by the switches of the effect's panel.
struct GizmoSwitches {
    bool mPivot = false;
    bool mCrop = false;
    bool mColor = false;
    bool mOpacity = false;
    bool mScale = false;
    bool mDisplacement = false;
    bool mNoise = false;
};

/// One place that an asset is drawn at. All effects are off at first.
struct Instance {
    glm::mat4 mLocalMatrix{1.0F};  ///< asset space to aligned model space
    glm::mat4 mModelMatrix{1.0F};  ///< aligned model space to world
    glm::mat4 mThirdMatrix{1.0F};  ///< world to asset space
    gpu::ModelConstants1 mModel{};
    gpu::NoiseConstants1 mNoise{};
    std::vector<float> mRamps;         ///< 7 rows of 1024 samples; empty: all 1
    std::vector<glm::vec4> mGradient;  ///< 1024 samples; empty: all white
    GizmoSwitches mGizmos;
};

struct Model {
    const GaussianSplatAsset* mAsset = nullptr;
    std::vector<Instance> mInstances;
};

struct Frame {
    std::vector<Model> mModels;
    glm::mat4 mProjection{1.0F};
    glm::mat4 mCamera{1.0F};  ///< world to view; x right, y down, z forward
    bool mOrthographic = false;
    std::uint32_t mWidth = 0;
    std::uint32_t mHeight = 0;
    zeb::render::Format mFormat = zeb::render::Format::RGBA32Float;  ///< of the target that splats are drawn to
    bool mDrawZDepth = false;
    float mZDepthNear = 0.0F;
    float mZDepthFar = 1.0F;
};

/// The splats' records in instance order, and the order they are drawn in.
struct FrameRecords {
    std::vector<gpu::SplatViewData> mRecords;
    std::vector<std::uint32_t> mOrder;
};

/// Sort keys, order and records of all instances.
FrameRecords CalcFrameRecords(const Frame& frame);

/// The target after splats, depth background and gizmos: premultiplied colour.
zeb::render::cpu::Image DrawFrame(const Frame& frame);

/// Perspective projection of a whole layer of width x height pixels with the image plane at `focalLength`
/// pixels, y up on the screen, depth -1 to 1 between 100 and 1000000.
glm::mat4 MakePerspective(float width, float height, float focalLength);

/// Parallel projection of a whole layer, one pixel a world unit, depth 0 to 1 between 100 and 1000000.
glm::mat4 MakeOrthographic(float width, float height);

/// Straight colours of a drawn target in the host's pixel layout.
std::vector<std::byte> ConvertAndCopy(const zeb::render::cpu::Image& target, zeb::render::Format outputFormat,
                                      zeb::PixelChannels channels, zeb::ChannelFormat channelFormat,
                                      std::uint32_t rowBytes);

}  // namespace nimbrel::reference
