#include <algorithm>
#include <bit>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>
#include <glm/gtc/matrix_transform.hpp>

#include "Nimbrel/GaussianSplatAssetCreator.h"
#include "PlyWriter.h"
#include "ReferenceFrame.h"

namespace nimbrel::reference {
namespace {

using zeb::render::Format;
using zeb::render::cpu::Image;

constexpr std::uint32_t kWidth = 64;
constexpr std::uint32_t kHeight = 48;

std::unique_ptr<GaussianSplatAsset> MakeAsset(const std::vector<PlySplat>& splats, int degree = 0) {
    const PlyFile file("nimbrel_reference_frame.ply", splats, degree);
    // The integer formats give a chunk of one splat its exact place; floats would give it no number.
    GaussianSplatAssetCreator::Settings settings;
    settings.ApplyQualityLevel();
    return GaussianSplatAssetCreator::CreateAsset(file.Path(), settings, true);
}

/// A round splat: opacity as its logit, colour of the constant term, standard deviation in file units.
PlySplat MakeSplat(const glm::vec3& position, const glm::vec3& color, float logit, float deviation) {
    PlySplat splat;
    splat.mPosition = position;
    splat.mConstantTerm = (color - 0.5F) / 0.2820948F;
    splat.mOpacity = logit;
    splat.mScale = glm::vec3(std::log(deviation));
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

TEST(ReferenceFrame, ProjectionsHaveTheirFixedDepthElements) {
    const glm::mat4 perspective = MakePerspective(64.0F, 48.0F, 100.0F);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(perspective[2][2]), 0x3F80068EU);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(perspective[3][2]), 0xC348051FU);
    EXPECT_FLOAT_EQ(perspective[0][0], 3.125F);
    EXPECT_FLOAT_EQ(perspective[1][1], -200.0F / 48.0F);
    const glm::mat4 orthographic = MakeOrthographic(64.0F, 48.0F);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(orthographic[2][2]), 0x35863B2DU);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(orthographic[3][2]), 0xB8D1BC76U);
}

TEST(ReferenceFrame, ASplatLandsWhereItStands) {
    // 5 pixels right and 3 down of the centre, deviations of 4 and 2 pixels turned by 30 degrees. Round splats
    // and lying ones have no axes, hence the tilt.
    PlySplat splat = MakeSplat({0.005F, 0.003F, 0.0F}, {0.75F, 0.5F, 0.25F}, 1.5F, 0.002F);
    splat.mScale.y = std::log(0.004F);
    splat.mRotation = {std::cos(glm::radians(15.0F)), 0.0F, 0.0F, std::sin(glm::radians(15.0F))};
    const auto asset = MakeAsset({splat});
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
    PlySplat red = MakeSplat({0.0F, 0.0F, 0.0F}, {1.0F, 0.0F, 0.0F}, 12.0F, 0.02F);
    red.mScale.y += 0.1F;
    PlySplat green = MakeSplat({0.0F, 0.0F, 0.0F}, {0.0F, 1.0F, 0.0F}, 12.0F, 0.02F);
    green.mScale.y += 0.1F;
    const auto redAsset = MakeAsset({red});
    const auto greenAsset = MakeAsset({green});
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

TEST(ReferenceFrame, DepthStandsOverBlackWithFullAlpha) {
    PlySplat splat = MakeSplat({0.0F, 0.0F, 0.0F}, {1.0F, 0.0F, 0.0F}, 12.0F, 0.004F);
    splat.mScale.y += 0.1F;
    const auto asset = MakeAsset({splat});
    Frame frame = MakeFrame(*asset);
    frame.mDrawZDepth = true;
    frame.mZDepthNear = 500.0F;
    frame.mZDepthFar = 2500.0F;  // the splat stands at 1000
    const Image target = DrawFrame(frame);
    EXPECT_EQ(target.Load(0, 0), glm::vec4(0.0F, 0.0F, 0.0F, 1.0F));
    // The background pass multiplies the premultiplied depth by alpha once more.
    const glm::vec4 middle = target.Load(kWidth / 2, kHeight / 2);
    EXPECT_NEAR(middle.x, 0.75F, 0.04F);
    EXPECT_EQ(middle.x, middle.y);
    EXPECT_EQ(middle.w, 1.0F);
}

TEST(ReferenceFrame, OrthographicSplatsKeepTheirSize) {
    PlySplat splat = MakeSplat({0.01F, 0.0F, 0.0F}, {1.0F, 1.0F, 1.0F}, 12.0F, 0.003F);
    splat.mScale.y += 0.1F;
    const auto asset = MakeAsset({splat});
    Frame frame = MakeFrame(*asset);
    frame.mOrthographic = true;
    frame.mProjection = MakeOrthographic(kWidth, kHeight);
    const Image near = DrawFrame(frame);
    EXPECT_GT(near.Load(kWidth / 2 + 10, kHeight / 2).w, 0.9F);
    frame.mModels[0].mInstances[0].mModelMatrix[3].z = 5000.0F;
    const Image far = DrawFrame(frame);
    for (std::uint32_t i = 0; i < kWidth; ++i) EXPECT_NEAR(near.Load(i, 24).w, far.Load(i, 24).w, 1e-4F);
}

TEST(ReferenceFrame, AnEmptyFrameIsClearAndConverts) {
    Frame frame;
    frame.mWidth = 8;
    frame.mHeight = 4;
    for (const Format format : {Format::RGBA8Unorm, Format::RGBA16Unorm, Format::RGBA16Float, Format::RGBA32Float}) {
        frame.mFormat = format;
        const auto pixels =
            ConvertAndCopy(DrawFrame(frame), format, zeb::PixelChannels::ARGB, zeb::ChannelFormat::U8, 40);
        EXPECT_EQ(pixels, std::vector<std::byte>(160));
    }
}

TEST(ReferenceFrame, HostPixelsAreStraight) {
    Image target(Format::RGBA32Float, 2, 1);
    target.Store(1, 0, {0.25F, 0.125F, 0.5F, 0.5F});
    const auto pixels = ConvertAndCopy(target, Format::RGBA8Unorm, zeb::PixelChannels::ARGB, zeb::ChannelFormat::U8, 8);
    const int expected[8] = {0, 0, 0, 0, 128, 128, 64, 255};
    for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(std::to_integer<int>(pixels[i]), expected[i]) << i;
}

TEST(ReferenceFrame, GizmosStandOverTheSplats) {
    const auto asset = MakeAsset({MakeSplat({0.0F, 0.0F, 0.5F}, glm::vec3(0.5F), -12.0F, 0.001F)});
    Frame frame = MakeFrame(*asset);
    Instance& instance = frame.mModels[0].mInstances[0];
    instance.mModel.crop_shape_halfSize = {12.0F, 8.0F, 0.0F, 0.0F};
    instance.mModel.model_crop_shape_type = 1;
    instance.mGizmos.mCrop = true;
    const Image target = DrawFrame(frame);
    // A flat box of 24 x 16 pixels around the middle, and its cross in the tints of the axes.
    EXPECT_EQ(target.Load(25, 16), glm::vec4(1.0F));
    EXPECT_EQ(target.Load(25, 32), glm::vec4(1.0F));
    EXPECT_EQ(target.Load(20, 20), glm::vec4(1.0F));
    EXPECT_EQ(target.Load(40, 24), glm::vec4(1.0F, 0.4F, 0.4F, 0.7F));
    EXPECT_EQ(target.Load(32, 10), glm::vec4(0.4F, 1.0F, 0.4F, 0.7F));
    EXPECT_EQ(target.Load(25, 20), glm::vec4(0.0F));
    // Hard edges draw the inner box first and the outer one over it: the same picture, white.
    instance.mGizmos = {};
    instance.mGizmos.mScale = true;
    instance.mModel.splatScale_shape_halfSize = instance.mModel.crop_shape_halfSize;
    instance.mModel.model_effects_splatScale_shape_type = 1;
    EXPECT_EQ(DrawFrame(frame).Texels(), target.Texels());
    // With a feather of one half the inner box is half as large and grey.
    instance.mModel.model_effects_splatScale_shape_feather = 0.5F;
    const glm::vec4 grey = DrawFrame(frame).Load(28, 20);
    EXPECT_EQ(grey, glm::vec4(0.9F, 0.9F, 0.9F, 0.7F));
}

TEST(ReferenceFrame, ACrowdIsAsDeepAsItsNearestSplats) {
    // 20000 splats of unit depth spread; whatever covers a pixel first is near the front.
    std::mt19937 random(1);
    std::uniform_real_distribution<float> unit(-1.0F, 1.0F);
    std::vector<PlySplat> splats(20000);
    for (PlySplat& splat : splats) {
        const float depth = unit(random) * 0.3F;
        // Red for the front half, blue for the back.
        const glm::vec3 color = depth < 0.0F ? glm::vec3(1.0F, 0.0F, 0.0F) : glm::vec3(0.0F, 0.0F, 1.0F);
        splat = MakeSplat({unit(random) * 0.05F, unit(random) * 0.05F, depth}, color, 6.0F, 0.003F);
        splat.mScale.y += unit(random);
    }
    const auto asset = MakeAsset(splats);
    const FrameRecords records = CalcFrameRecords(MakeFrame(*asset));
    ASSERT_EQ(records.mOrder.size(), 20000U);
    for (std::size_t i = 1; i < records.mOrder.size(); ++i) {
        ASSERT_LE(records.mRecords[records.mOrder[i - 1]].pos.w, records.mRecords[records.mOrder[i]].pos.w) << i;
    }
    const Image target = DrawFrame(MakeFrame(*asset));
    for (std::uint32_t y = 8; y < kHeight - 8; ++y) {
        for (std::uint32_t x = 8; x < kWidth - 8; ++x) {
            EXPECT_GT(target.Load(x, y).w, 0.99F);
            EXPECT_LT(target.Load(x, y).z, 0.05F) << x << ", " << y;
        }
    }
}

}  // namespace
}  // namespace nimbrel::reference
