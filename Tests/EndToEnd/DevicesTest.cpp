// The same frames on a Vulkan device and on the CPU device, through the effect.
#include <gtest/gtest.h>

#include "Lines.h"
#include "RenderedShot.h"
#include "Shots.h"

namespace nimbrel::endtoend {
namespace {

std::vector<Shot> MakeAllShots() {
    std::vector<Shot> shots = MakeFrameShots();
    for (Shot& shot : MakeEffectShots()) shots.push_back(std::move(shot));
    return shots;
}

/// Twice as large. Devices take a pixel's place in a splat from corners before or after these are rounded to 1/256
/// pixel, which shows the more the smaller splats are; at half of this size it makes up most of the difference.
Shot Enlarge(Shot shot) {
    if (!shot.mCamera || shot.mCamera->mOrthographic) return shot;
    shot.mWidth *= 2;
    shot.mHeight *= 2;
    shot.mCamera->mZoom *= 2.0;
    return shot;
}

class Devices : public testing::TestWithParam<Shot> {};
class GizmoDevices : public testing::TestWithParam<Shot> {};

TEST_P(Devices, DrawTheSamePicture) {
    Shot shot = Enlarge(GetParam());
    const host::Frame frame = RenderWithEffect(shot, "vulkan");
    ASSERT_GT(MeanAlpha(frame), 0.02);
    EXPECT_GE(ComparePsnr(frame, RenderWithEffect(shot, "cpu")), 80.0);

    // Every blend rounds to a byte, so what differs by less than a step may round otherwise and add up over the layers.
    shot.mBitsPerChannel = 8;
    const host::Frame bytes = RenderWithEffect(shot, "vulkan");
    const host::Frame expected = RenderWithEffect(shot, "cpu");
    EXPECT_GE(ComparePsnr(bytes, expected), 58.0);
    EXPECT_LE(DifferingPixels(bytes, expected, 1.0), 0.015);
}

TEST_P(Devices, SortSplatsAlike) {
    const RenderedShot vulkan = RenderInProcess(GetParam(), "vulkan");
    const RenderedShot cpu = RenderInProcess(GetParam(), "cpu");
    ASSERT_GT(cpu.mOrder.size(), 1000U);
    EXPECT_EQ(vulkan.mKeys, cpu.mKeys);
    EXPECT_EQ(vulkan.mOrder, cpu.mOrder);
}

TEST_P(GizmoDevices, DrawTheSameLines) {
    const Shot shot = Enlarge(GetParam());
    const Shot plain = WithoutGizmos(shot);
    const GizmoFrames vulkan = {RenderWithEffect(shot, "vulkan"), RenderWithEffect(plain, "vulkan")};
    EXPECT_GE(CompareLines(vulkan, {RenderWithEffect(shot, "cpu"), RenderWithEffect(plain, "cpu")}), 80.0);
}

std::string GetName(const testing::TestParamInfo<Shot>& shot) { return shot.param.mName; }

INSTANTIATE_TEST_SUITE_P(Shots, Devices, testing::ValuesIn(MakeAllShots()), GetName);
INSTANTIATE_TEST_SUITE_P(Shots, GizmoDevices, testing::ValuesIn(MakeGizmoShots()), GetName);

}  // namespace
}  // namespace nimbrel::endtoend
