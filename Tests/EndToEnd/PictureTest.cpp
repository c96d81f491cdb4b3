// Whole pictures, from the host's commands to its pixels, against the reference renderer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "Shot.h"

namespace nimbrel::endtoend {
namespace {

/// The procedural model is about 4 units wide: 8 % of it fill 320 pixels.
ShotModel PlacedModel(int degree = 3) {
    ShotModel model;
    model.mFile = GetModelFile(6000, degree);
    model.mAlignScale = 6.0;
    model.mPosition = {160, 90, 0};
    return model;
}

ShotCamera SideCamera() { return {false, 300.0, {360, -40, -260}, {160, 95, 10}}; }

Shot MakeShot(std::string name) {
    Shot shot;
    shot.mName = std::move(name);
    shot.mModels = {PlacedModel()};
    return shot;
}

std::vector<Shot> MakeShots() {
    std::vector<Shot> shots;
    shots.push_back(MakeShot("NoCamera"));
    shots.push_back(MakeShot("Perspective"));
    shots.back().mCamera = SideCamera();
    shots.push_back(MakeShot("Orthographic"));
    shots.back().mCamera = SideCamera();
    shots.back().mCamera->mOrthographic = true;
    shots.push_back(MakeShot("HalfResolution"));
    shots.back().mDownsample = 2;
    shots.back().mCamera = SideCamera();
    shots.push_back(MakeShot("TwoSlotsOneFile"));
    shots.back().mModels.push_back(PlacedModel());
    shots.back().mModels[0].mPosition = {110, 90, -30};
    shots.back().mModels[0].mRotation = {20, 50, -10};
    shots.back().mModels[1].mPosition = {200, 80, 40};
    shots.back().mModels[1].mAlignRotation = {0, 90, 15};
    shots.back().mModels[1].mScale = 130.0;
    shots.push_back(MakeShot("TwoFiles"));
    shots.back().mModels.push_back(PlacedModel(1));
    shots.back().mModels[1].mPosition = {190, 100, 20};
    shots.back().mModels[1].mAnchor = {300, -200, 100};
    for (int degree = 0; degree < 3; ++degree) {
        shots.push_back(MakeShot("Degree" + std::to_string(degree)));
        shots.back().mModels = {PlacedModel(degree)};
        shots.back().mCamera = SideCamera();
    }
    return shots;
}

/// Largest difference, in steps of a 16-bit frame, to a float frame rounded to its words.
long LargestStep(const host::Frame& floats, const host::Frame& words) {
    long largest = 0;
    for (std::size_t i = 0; i < words.mPixels.size() / 2; ++i) {
        float value = 0;
        std::uint16_t word = 0;
        std::memcpy(&value, floats.mPixels.data() + 4 * i, 4);
        std::memcpy(&word, words.mPixels.data() + 2 * i, 2);
        const long rounded = std::lround(std::clamp(value, 0.0F, 1.0F) * 32767.0F);
        largest = std::max(largest, std::abs(rounded - static_cast<long>(word)));
    }
    return largest;
}

class Picture : public testing::TestWithParam<Shot> {};

/// The CPU device draws with the arithmetic of the reference. Only matrices, which the effect computes in floats and
/// the reference in doubles, may differ.
TEST_P(Picture, OfTheCpuDeviceEqualsTheReference) {
    Shot shot = GetParam();
    for (const int bits : {32, 16, 8}) {
        shot.mBitsPerChannel = bits;
        const host::Frame frame = RenderWithEffect(shot, "cpu");
        const host::Frame expected = RenderReference(shot);
        ASSERT_GT(MeanAlpha(expected), 0.02);
        EXPECT_GE(ComparePsnr(frame, expected), bits == 8 ? 55.0 : 75.0) << bits << " bits";
    }
}

TEST_P(Picture, EqualsTheReference) {
    const Shot& shot = GetParam();
    const host::Frame expected = RenderReference(shot);
    ASSERT_GT(MeanAlpha(expected), 0.02);
    EXPECT_GE(ComparePsnr(RenderWithEffect(shot), expected), 75.0);
}

TEST_P(Picture, EqualsTheReferenceInIntegerDepths) {
    Shot shot = GetParam();
    const host::Frame exact = RenderWithEffect(shot);
    shot.mBitsPerChannel = 16;
    const host::Frame words = RenderWithEffect(shot);
    EXPECT_GE(ComparePsnr(words, RenderReference(shot)), 75.0);
    EXPECT_LE(LargestStep(exact, words), 1) << "16 bits are drawn as floats and rounded once, to words of 32767";

    // Each blend into an 8-bit target rounds, so an error of half a step may grow with the layers of a pixel.
    shot.mBitsPerChannel = 8;
    const host::Frame bytes = RenderWithEffect(shot);
    const host::Frame expected = RenderReference(shot);
    EXPECT_GE(ComparePsnr(bytes, expected), 45.0);
    EXPECT_LE(DifferingShare(bytes, expected, 8.0), 0.002);
}

INSTANTIATE_TEST_SUITE_P(Shots, Picture, testing::ValuesIn(MakeShots()),
                         [](const testing::TestParamInfo<Shot>& shot) { return shot.param.mName; });

}  // namespace
}  // namespace nimbrel::endtoend
