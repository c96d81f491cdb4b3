#include "ModelPicture.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <utility>

#include <glm/ext/matrix_transform.hpp>

#include "Nimbrel/CPU/CalcViewData.h"
#include "Nimbrel/CPU/FastRenderGaussianSplats.h"
#include "Nimbrel/CPU/RenderGaussianSplats.h"
#include "NimbrelConvert/ModelBox.h"
#include "Render/CPU/Image.h"
#include "Render/CPU/Parallel.h"

namespace nimbrel::importer {
namespace {

namespace raster = zeb::render::cpu;

/// Where the model's middle stands from the camera, in pixels of the effect's world: far enough that no splat comes
/// near the clipping planes.
constexpr float kDistance = 20000.0F;
constexpr float kNear = 100.0F;
constexpr float kFar = 1000000.0F;
constexpr float kFill = 0.9F;  // of the picture that the larger side takes
constexpr float kLeastSize = 1e-6F;

/// The effect's perspective projection without a camera: the image plane lies as far as the picture is wide.
glm::mat4 MakeProjection(float width, float height) {
    glm::mat4 matrix(0.0F);
    matrix[0][0] = 2.0F;
    matrix[1][1] = -2.0F * width / height;  // the world's y runs down, the screen's up
    matrix[2][2] = (kFar + kNear) / (kFar - kNear);
    matrix[2][3] = 1.0F;
    matrix[3][2] = -2.0F * kFar * kNear / (kFar - kNear);
    return matrix;
}

/// Asset space to view: the middle of the box before the camera, so large that its near face fills the picture.
glm::mat4 MakePlacement(const Box& box, float width, float height) {
    const glm::vec3 half = 0.5F * (box.mMax - box.mMin);
    const float zoom = width;
    // From the camera to the middle, in file units.
    const float sideways = std::max(half.x * zoom / (kFill * width / 2.0F), half.y * zoom / (kFill * height / 2.0F));
    const float distance = half.z + std::max({sideways, half.z * 0.1F, kLeastSize});
    const glm::mat4 ahead = glm::translate(glm::mat4(1.0F), glm::vec3(0.0F, 0.0F, kDistance));
    return glm::translate(glm::scale(ahead, glm::vec3(kDistance / distance)), -0.5F * (box.mMin + box.mMax));
}

cpu::CalcViewDataInputs MakeInputs(const GaussianSplatAsset& asset, const Box& box, float splatScale, float width,
                                   float height) {
    cpu::CalcViewDataInputs inputs;
    inputs.mBlocks = cpu::MakeBlocks(asset);
    gpu::CalcViewDataConstants& constants = inputs.mConstants;
    constants._MatrixAlign = MakePlacement(box, width, height);
    constants._MatrixTransform = glm::mat4(1.0F);
    constants._MatrixWorldToObject = glm::mat4(1.0F);
    constants._MatrixP = MakeProjection(width, height);
    constants._MatrixVP = constants._MatrixP;
    constants._MatrixMV = constants._MatrixAlign;
    constants._MatrixCamera = glm::mat4(1.0F);
    constants._VecScreenParams = {width, height, 0.0F, 0.0F};
    constants._VecWorldSpaceCameraPos = {0.0F, 0.0F, 0.0F, 1.0F};
    constants._SplatScale = splatScale;
    constants._SplatOpacityScale = 1.0F;
    constants._SHOrder = asset.shLevel;
    constants._SplatCount = static_cast<std::uint32_t>(asset.splatCount);
    return inputs;
}

/// Indices of the records that show, nearest first.
std::vector<std::uint32_t> SortByDepth(const std::vector<gpu::SplatViewData>& records) {
    std::vector<std::uint32_t> order;
    for (std::uint32_t i = 0; i < records.size(); ++i) {
        if (records[i].pos.w > kNear) order.push_back(i);
    }
    std::stable_sort(order.begin(), order.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return records[a].pos.w < records[b].pos.w; });
    return order;
}

/// Premultiplied colours over the background.
Picture Flatten(const raster::Image& image) {
    Picture picture(static_cast<int>(image.GetWidth()), static_cast<int>(image.GetHeight()));
    for (int y = 0; y < picture.mHeight; ++y) {
        for (int x = 0; x < picture.mWidth; ++x) {
            const glm::vec4 color = image.Load(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y));
            Color& pixel = picture.At(x, y);
            for (int c = 0; c < 3; ++c) {
                const float behind = static_cast<float>(pixel[static_cast<std::size_t>(c)]);
                const float value = 255.0F * color[c] + (1.0F - color.w) * behind;
                // A colour that is no number shows nothing.
                pixel[static_cast<std::size_t>(c)] =
                    value > 0.0F ? static_cast<std::uint8_t>(std::min(value, 255.0F) + 0.5F) : std::uint8_t{0};
            }
        }
    }
    return picture;
}

glm::vec3 LoadVector(const std::uint8_t* bytes) {
    glm::vec3 vector;
    std::memcpy(&vector, bytes, sizeof vector);
    return vector;
}

}  // namespace

std::optional<Box> MeasureSample(const PLYFileData& sample) {
    std::vector<convert::FramedSplat> splats(sample.data.size() / sample.stride);
    const std::uint8_t* row = sample.data.data();
    for (convert::FramedSplat& splat : splats) {
        float opacity = 0;
        std::memcpy(&opacity, row + sample.opacityOffset, sizeof opacity);
        splat =
            convert::MakeFramedSplat(LoadVector(row + sample.posOffset), LoadVector(row + sample.scaleOffset), opacity);
        row += sample.stride;
    }
    const std::optional<convert::ModelBox> box = convert::MeasureModel(std::move(splats));
    if (!box) return std::nullopt;
    return Box{glm::vec3(box->mMin), glm::vec3(box->mMax)};
}

Picture DrawModel(const GaussianSplatAsset& asset, const Box& box, float splatScale, int width, int height) {
    const auto inputs = MakeInputs(asset, box, splatScale, static_cast<float>(width), static_cast<float>(height));
    const std::uint32_t count = inputs.mConstants._SplatCount;
    std::vector<gpu::SplatViewData> records(count);
    cpu::CalcViewData(inputs, 0, count, records);
    const std::vector<std::uint32_t> order = SortByDepth(records);
    raster::Image image(zeb::render::Format::RGBA32Float, static_cast<std::uint32_t>(width),
                        static_cast<std::uint32_t>(height));
    const raster::RenderPass pass =
        raster::MakeRenderPass(image, image.GetWidth(), image.GetHeight(), cpu::GaussianSplatsBlend());
    const gpu::TextureConstants screen{{static_cast<float>(width), static_cast<float>(height)}, 0, 0};
    raster::RunAlone([&] { cpu::FastDrawGaussianSplats(pass, screen, order, records); });
    return Flatten(image);
}

}  // namespace nimbrel::importer
