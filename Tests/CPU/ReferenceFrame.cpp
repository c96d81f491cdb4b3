#include "ReferenceFrame.h"

#include <algorithm>
#include <numeric>
#include <span>

#include <glm/matrix.hpp>

#include "Nimbrel/CPU/CalcDistances.h"
#include "Nimbrel/CPU/CalcViewData.h"
#include "Nimbrel/CPU/FillBackground.h"
#include "Nimbrel/CPU/RenderGaussianSplats.h"
#include "ReferenceGizmos.h"
#include "Render/CPU/Convert.h"
#include "Render/CPU/Copy.h"

namespace nimbrel::reference {
namespace {

using namespace zeb::render;
namespace raster = zeb::render::cpu;
using cpu::CurveTextures;
using cpu::SplatBlocks;
using raster::Image;

constexpr float kNear = 100.0F;
constexpr float kFar = 1000000.0F;

/// Curves of all instances, in textures as the programs read them.
struct Curves {
    std::vector<float> mRamps;
    std::vector<glm::vec4> mGradients;

    explicit Curves(const Frame& frame) {
        for (const Model& model : frame.mModels) {
            for (const Instance& instance : model.mInstances) Add(instance);
        }
    }

    CurveTextures View() const {
        constexpr std::uint32_t kWidth = gpu::kCurveSamples;
        const auto height = [](std::size_t samples) { return static_cast<std::uint32_t>(samples / kWidth); };
        return {{reinterpret_cast<const std::byte*>(mRamps.data()), Format::R32Float, kWidth, height(mRamps.size()), 1},
                {reinterpret_cast<const std::byte*>(mGradients.data()), Format::RGBA32Float, kWidth,
                 height(mGradients.size()), 1}};
    }

private:
    void Add(const Instance& instance) {
        std::vector<float> ramps = instance.mRamps;
        ramps.resize(static_cast<std::size_t>(gpu::kRampRows) * gpu::kCurveSamples, 1.0F);
        mRamps.insert(mRamps.end(), ramps.begin(), ramps.end());
        std::vector<glm::vec4> gradient = instance.mGradient;
        gradient.resize(gpu::kCurveSamples, glm::vec4(1.0F));
        mGradients.insert(mGradients.end(), gradient.begin(), gradient.end());
    }
};

gpu::CalcDistancesConstants MakeDistanceConstants(const Frame& frame, const Instance& instance, std::uint32_t count,
                                                  std::uint32_t index) {
    glm::mat4 view = frame.mCamera;
    for (int i = 0; i < 3; ++i) view[i][3] = -view[i][3];
    return {instance.mLocalMatrix, view * instance.mModelMatrix, count, index};
}

gpu::CalcViewDataConstants MakeViewConstants(const Frame& frame, const Instance& instance,
                                             const GaussianSplatAsset& asset, std::uint32_t index) {
    gpu::CalcViewDataConstants constants{};
    constants._MatrixAlign = instance.mLocalMatrix;
    constants._MatrixTransform = instance.mModelMatrix;
    constants._MatrixWorldToObject = instance.mThirdMatrix;
    constants._MatrixVP = frame.mProjection * frame.mCamera;
    constants._MatrixMV = frame.mCamera * instance.mModelMatrix * instance.mLocalMatrix;
    constants._MatrixCamera = frame.mCamera;
    constants._MatrixP = frame.mProjection;
    constants._VecScreenParams = {static_cast<float>(frame.mWidth), static_cast<float>(frame.mHeight), 0.0F, 0.0F};
    constants._VecWorldSpaceCameraPos = glm::inverse(frame.mCamera)[3];
    constants._SplatScale = 1.0F;
    constants._SplatOpacityScale = 1.0F;
    constants._SHOrder = asset.shLevel;
    constants._SplatCount = static_cast<std::uint32_t>(asset.splatCount);
    constants._CameraType = frame.mOrthographic ? 1 : 0;
    constants._DrawingIndex = index;
    constants._DrawZDepth = frame.mDrawZDepth ? 1 : 0;
    constants._ZDepthNear = frame.mZDepthNear;
    constants._ZDepthFar = frame.mZDepthFar;
    return constants;
}

/// Keys and records of one instance, appended.
void AddInstance(const Frame& frame, const Model& model, const Instance& instance, const CurveTextures& curves,
                 std::uint32_t index, std::vector<std::uint32_t>& keys, FrameRecords& records) {
    const GaussianSplatAsset& asset = *model.mAsset;
    const auto count = static_cast<std::uint32_t>(std::max(asset.splatCount, 0));
    const SplatBlocks blocks = cpu::MakeBlocks(asset);
    const cpu::CalcDistancesInputs distances{blocks, curves, MakeDistanceConstants(frame, instance, count, index),
                                             instance.mNoise};
    const cpu::CalcViewDataInputs view{blocks, curves, MakeViewConstants(frame, instance, asset, index),
                                       instance.mModel, instance.mNoise};
    for (std::uint32_t i = 0; i < count; ++i) {
        keys.push_back(cpu::CalcSplatDistance(distances, i));
        records.mRecords.push_back(cpu::CalcSplatViewData(view, i));
    }
}

/// The elements that depend on the layer's size; the projection is centred.
glm::mat4 MakeScale(float x, float y) {
    glm::mat4 matrix(0.0F);
    matrix[0][0] = x;
    matrix[1][1] = -y;  // the world's y runs down, the screen's up
    return matrix;
}

}  // namespace

FrameRecords CalcFrameRecords(const Frame& frame) {
    FrameRecords records;
    std::vector<std::uint32_t> keys;
    const Curves curves(frame);
    std::uint32_t index = 0;
    for (const Model& model : frame.mModels) {
        for (const Instance& instance : model.mInstances) {
            AddInstance(frame, model, instance, curves.View(), index++, keys, records);
        }
    }
    const auto total = static_cast<std::uint32_t>(keys.size());
    records.mOrder.resize(total);
    std::iota(records.mOrder.begin(), records.mOrder.end(), 0U);
    std::stable_sort(records.mOrder.begin(), records.mOrder.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return keys[a] < keys[b]; });
    return records;
}

Image DrawFrame(const Frame& frame) {
    const FrameRecords records = CalcFrameRecords(frame);
    Image target(frame.mFormat, frame.mWidth, frame.mHeight);
    const gpu::TextureConstants constants{{static_cast<float>(frame.mWidth), static_cast<float>(frame.mHeight)}, 0, 0};
    const auto total = static_cast<std::uint32_t>(records.mOrder.size());
    const auto drawSplats = [&](Image& image) {
        const raster::RenderPass pass =
            raster::MakeRenderPass(image, frame.mWidth, frame.mHeight, cpu::GaussianSplatsBlend());
        cpu::DrawGaussianSplats(pass, constants, records.mOrder, records.mRecords, 0, total);
    };
    if (frame.mDrawZDepth) {
        Image depth(frame.mFormat, frame.mWidth, frame.mHeight);
        drawSplats(depth);
        cpu::FillBackground(raster::MakeRenderPass(target, frame.mWidth, frame.mHeight), depth.View());
    } else {
        drawSplats(target);
    }
    DrawGizmos(frame, target);
    return target;
}

glm::mat4 MakePerspective(float width, float height, float focalLength) {
    glm::mat4 matrix = MakeScale(2.0F * focalLength / width, 2.0F * focalLength / height);
    matrix[2][2] = static_cast<float>((static_cast<double>(kFar) + kNear) / (static_cast<double>(kFar) - kNear));
    matrix[2][3] = 1.0F;
    matrix[3][2] = static_cast<float>(-2.0 * kFar * kNear / (static_cast<double>(kFar) - kNear));
    return matrix;
}

glm::mat4 MakeOrthographic(float width, float height) {
    glm::mat4 matrix = MakeScale(2.0F / width, 2.0F / height);
    matrix[2][2] = static_cast<float>(1.0 / (static_cast<double>(kFar) - kNear));
    matrix[3][2] = static_cast<float>(-static_cast<double>(kNear) / (static_cast<double>(kFar) - kNear));
    matrix[3][3] = 1.0F;
    return matrix;
}

std::vector<std::byte> ConvertAndCopy(const Image& target, Format outputFormat, zeb::PixelChannels channels,
                                      zeb::ChannelFormat channelFormat, std::uint32_t rowBytes) {
    const std::uint32_t width = target.GetWidth();
    const std::uint32_t height = target.GetHeight();
    Image output(outputFormat, width, height);
    raster::Convert(target.View(), true, {width, height}, output);
    std::vector<std::byte> pixels(static_cast<std::size_t>(rowBytes) * height);
    raster::Copy(output.View(), channels, channelFormat, {{width, height}, {0, 0}, {0, 0}, rowBytes}, 0, height,
                 pixels);
    return pixels;
}

}  // namespace nimbrel::reference
