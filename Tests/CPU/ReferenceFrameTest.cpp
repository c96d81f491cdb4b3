#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <glm/gtc/matrix_transform.hpp>

#include "Nimbrel/GaussianSplatAssetCreator.h"
#include "Nimbrel/PlyBuilder.h"
#include "ReferenceFrame.h"

namespace nimbrel::reference {
namespace {

using zeb::render::cpu::Image;

constexpr std::uint32_t kWidth = 64;
constexpr std::uint32_t kHeight = 48;

std::unique_ptr<GaussianSplatAsset> MakeAsset(const PlySplat& splat) {
    const TemporaryFile file(MakeFile({{splat}}, 0));
    // The integer formats give a chunk of one splat its exact place; floats would give it no number.
    GaussianSplatAssetCreator::Settings settings;
    settings.ApplyQualityLevel();
    return GaussianSplatAssetCreator::CreateAsset(file.GetPath(), settings, true);
}

/// A splat: opacity as its logit, colour of the constant term, deviation in file units, a little more along y.
PlySplat MakeSplat(const glm::vec3& position, const glm::vec3& color, float logit, float deviation) {
    PlySplat splat;
    for (int i = 0; i < 3; ++i) {
        splat.mPosition[i] = position[i];
        splat.mDc[i] = (color[i] - 0.5F) / 0.2820948F;
        splat.mScale[i] = std::log(deviation) + (i == 1 ? 0.1F : 0.0F);
    }
    splat.mOpacity = logit;
    return splat;
}

/// The default camera of a layer: its plane stands `width` pixels away, the origin is its upper left corner.
/// Instances are scaled from file units to pixels and stand in the layer's middle.
Frame MakeFrame(const GaussianSplatAsset& asset) {
    Frame frame;
    frame.mWidth = kWidth;
    frame.mHeight = kHeight;
    frame.mProjection = MakePerspective(kWidth, kHeight, 1000.0F);
    frame.mCamera[3] = {-0.5F * kWidth, -0.5F * kHeight, 1000.0F, 1.0F};
    Instance instance;
    instance.mLocalMatrix = glm::scale(glm::mat4(1.0F), glm::vec3(1000.0F));
    instance.mModelMatrix = glm::translate(glm::mat4(1.0F), glm::vec3(0.5F * kWidth, 0.5F * kHeight, 0.0F));
    instance.mThirdMatrix = glm::inverse(instance.mModelMatrix * instance.mLocalMatrix);
    frame.mModels.push_back({&asset, {instance}});
    return frame;
}

TEST(ReferenceFrame, ASplatLandsWhereItStands) {
    // 5 pixels right and 3 down of the centre, deviations of 4 and 2 pixels turned by 30 degrees. Round splats
    // and lying ones have no axes, hence the tilt.
    PlySplat splat = MakeSplat({0.005F, 0.003F, 0.0F}, {0.75F, 0.5F, 0.25F}, 1.5F, 0.002F);
    splat.mScale[1] = std::log(0.004F);
    splat.mRotation[0] = std::cos(glm::radians(15.0F));
    splat.mRotation[3] = std::sin(glm::radians(15.0F));
    const auto asset = MakeAsset(splat);
    const Image target = DrawFrame(MakeFrame(*asset));
    const double opacity = 1.0 / (1.0 + std::exp(-1.5));
    const double c = std::cos(glm::radians(30.0));
    const double s = std::sin(glm::radians(30.0));
    for (std::uint32_t y = 0; y < kHeight; ++y) {
        for (std::uint32_t x = 0; x < kWidth; ++x) {
            const double dx = x + 0.5 - 37.0;
            const double dy = y + 0.5 - 27.0;
            const double u = (c * dx + s * dy) / std::sqrt(2.0 * (4.0 + 0.3));
            const double v = (-s * dx + c * dy) / std::sqrt(2.0 * (16.0 + 0.3));
            double alpha = opacity * std::exp(-(u * u + v * v));
            if (std::max(std::abs(u), std::abs(v)) > 2.0 || alpha < 1.0 / 255.0) alpha = 0.0;
            // Fragments right at the two limits may fall to either side.
            const bool atLimit = std::abs(std::max(std::abs(u), std::abs(v)) - 2.0) < 0.02;
            const glm::vec4 pixel = target.Load(x, y);
            ASSERT_NEAR(pixel.w, alpha, atLimit ? 0.02 : 0.004) << x << ", " << y;
            ASSERT_NEAR(pixel.x, 0.75 * pixel.w, 1e-3) << x << ", " << y;
        }
    }
}

TEST(ReferenceFrame, NearSplatsCoverFarOnesAcrossInstances) {
    // The same red splat twice, and a green one between; the nearer instance of the second model wins.
    const auto redAsset = MakeAsset(MakeSplat({0.0F, 0.0F, 0.0F}, {1.0F, 0.0F, 0.0F}, 12.0F, 0.02F));
    const auto greenAsset = MakeAsset(MakeSplat({0.0F, 0.0F, 0.0F}, {0.0F, 1.0F, 0.0F}, 12.0F, 0.02F));
    Frame frame = MakeFrame(*redAsset);
    frame.mModels[0].mInstances.push_back(frame.mModels[0].mInstances[0]);
    frame.mModels.push_back({greenAsset.get(), {frame.mModels[0].mInstances[0]}});
    const auto center = [&](float first, float second, float third) {
        frame.mModels[0].mInstances[0].mModelMatrix[3].z = first;
        frame.mModels[0].mInstances[1].mModelMatrix[3].z = second;
        frame.mModels[1].mInstances[0].mModelMatrix[3].z = third;
        return DrawFrame(frame).Load(kWidth / 2, kHeight / 2);
    };
    EXPECT_GT(center(100.0F, -50.0F, 20.0F).x, 0.98F);
    EXPECT_GT(center(100.0F, 50.0F, 20.0F).y, 0.98F);
    EXPECT_GT(center(30.0F, 30.0F, 30.0F).x, 0.98F) << "equal depths keep the order of instances";
    const FrameRecords records = CalcFrameRecords(frame);
    EXPECT_EQ(records.mOrder, (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(ReferenceFrame, GizmosStandOverTheSplats) {
    const auto asset = MakeAsset(MakeSplat({0.0F, 0.0F, 0.5F}, glm::vec3(0.5F), -12.0F, 0.001F));
    Frame frame = MakeFrame(*asset);
    Instance& instance = frame.mModels[0].mInstances[0];
    instance.mModel.crop_shape_halfSize = {12.0F, 8.0F, 0.0F, 0.0F};
    instance.mModel.model_crop_shape_type = 1;
    instance.mGizmos.mCrop = true;
    const Image target = DrawFrame(frame);
    // A flat box of 24 x 16 pixels around the middle, and its cross in the tints of the axes. All stand just between
    // two rows or columns, of which they take the upper or left one.
    EXPECT_EQ(target.Load(25, 15), glm::vec4(1.0F));
    EXPECT_EQ(target.Load(25, 31), glm::vec4(1.0F));
    EXPECT_EQ(target.Load(19, 20), glm::vec4(1.0F));
    EXPECT_EQ(target.Load(40, 23), glm::vec4(1.0F, 0.4F, 0.4F, 0.7F));
    EXPECT_EQ(target.Load(31, 10), glm::vec4(0.4F, 1.0F, 0.4F, 0.7F));
    EXPECT_EQ(target.Load(25, 20), glm::vec4(0.0F));
    // Hard edges draw the inner box first and the outer one over it: the same picture, white.
    instance.mGizmos = {};
    instance.mGizmos.mScale = true;
    instance.mModel.splatScale_shape_halfSize = instance.mModel.crop_shape_halfSize;
    instance.mModel.model_effects_splatScale_shape_type = 1;
    EXPECT_EQ(DrawFrame(frame).Texels(), target.Texels());
    // With a feather of one half the inner box is half as large and grey.
    instance.mModel.model_effects_splatScale_shape_feather = 0.5F;
    const glm::vec4 grey = DrawFrame(frame).Load(28, 19);
    EXPECT_EQ(grey, glm::vec4(0.9F, 0.9F, 0.9F, 0.7F));
}

}  // namespace
}  // namespace nimbrel::reference
