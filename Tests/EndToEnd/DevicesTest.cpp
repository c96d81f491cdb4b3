// The same frames on a Vulkan device and on the CPU device, through the effect.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include <glm/geometric.hpp>

#include "CPU/ForEachTarget.h"
#include "Lines.h"
#include "Render/CPU/HalfConversion.h"
#include "RenderedShot.h"
#include "Shots.h"

namespace nimbrel::endtoend {
namespace {

std::vector<Shot> MakeAllShots() {
    std::vector<Shot> shots = MakeFrameShots();
    for (Shot& shot : MakeEffectShots()) shots.push_back(std::move(shot));
    return shots;
}

/// Splat by splat: places and axes are the same bits, or both no number. A device may turn 8-bit channels into floats
/// with an error in the last bit, which shows in a colour's halves.
void ExpectSameSplats(const CapturedFrame& a, const CapturedFrame& b) {
    EXPECT_EQ(a.mKeys, b.mKeys);
    EXPECT_EQ(a.mOrder, b.mOrder);
    ASSERT_EQ(a.mRecords.size(), b.mRecords.size());
    for (std::size_t i = 0; i < a.mRecords.size(); ++i) {
        float values[2][8];
        std::memcpy(values[0], &a.mRecords[i], sizeof values[0]);
        std::memcpy(values[1], &b.mRecords[i], sizeof values[1]);
        for (int k = 0; k < 8; ++k) ASSERT_TRUE(test::IsSame(values[0][k], values[1][k])) << i << ", word " << k;
        for (int k = 0; k < 4; ++k) {
            const auto half = [&](const CapturedFrame& frame) {
                const std::uint32_t word = frame.mRecords[i].color[k / 2] >> k % 2 * 16;
                return zeb::render::cpu::HalfToFloat(static_cast<std::uint16_t>(word));
            };
            ASSERT_NEAR(half(a), half(b), 1e-3F + 1e-3F * std::abs(half(b))) << i << ", channel " << k;
        }
    }
}

class Devices : public testing::TestWithParam<Shot> {};
class GizmoDevices : public testing::TestWithParam<Shot> {};

TEST_P(Devices, DrawTheSamePicture) {
    const host::Frame frame = RenderWithEffect(GetParam(), "vulkan");
    ASSERT_GT(MeanAlpha(frame), 0.02);
    EXPECT_GE(ComparePsnr(frame, RenderWithEffect(GetParam(), "cpu")), 80.0);
}

TEST_P(Devices, SortAlikeAndDrawTheSameBytes) {
    Shot shot = GetParam();
    shot.mBitsPerChannel = 8;
    const CapturedFrame vulkan = RenderInProcess(shot, "vulkan");
    const CapturedFrame cpu = RenderInProcess(shot, "cpu");
    ASSERT_GT(cpu.mOrder.size(), 1000U);
    ExpectSameSplats(vulkan, cpu);
    // The software driver rounds each source colour to a byte before it blends, as no GPU does and the CPU device does
    // not: faint layers come out a little darker or brighter with each blend.
    ASSERT_EQ(vulkan.mTexels.size(), cpu.mTexels.size());
    double squares = 0.0;
    for (std::size_t i = 0; i < cpu.mTexels.size(); ++i) {
        const double difference = static_cast<double>(vulkan.mTexels[i]) - static_cast<double>(cpu.mTexels[i]);
        squares += difference * difference;
    }
    const double mean = squares / static_cast<double>(cpu.mTexels.size());
    EXPECT_LE(mean, 2.0) << "mean square of the steps between them";
}

TEST(Formats, OfEveryQualityAreDecodedAlike) {
    FrameCapture capture = MakeCapture(MakeEffectShots().front());
    for (const int quality : {0, 1, 2}) {
        SCOPED_TRACE(quality);
        for (auto& model : capture["models"]) model["quality"] = quality;
        ExpectSameSplats(DrawCapture(capture, "vulkan"), DrawCapture(capture, "cpu"));
    }
}

TEST(LargeModels, ComeOutTheSameInTurns) {
    // Two files and three instances; parts of the larger file, and of the records, of 32768 splats.
    Shot shot = MakeFrameShots().back();
    shot.mModels.resize(1);
    shot.mModels[0].mFile = GetModelFile(70000, 2);
    shot.mModels.push_back(shot.mModels[0]);
    shot.mModels[1].mPosition.x += 40.0;
    shot.mModels.push_back(MakeFrameShots()[0].mModels[0]);
    const CapturedFrame whole = RenderInProcess(shot, "vulkan");
    RendererPrograms programs;
    programs.mSplatsAtOnce = 32768;
    const CapturedFrame inTurns = RenderInProcess(shot, "vulkan", programs);
    ASSERT_EQ(whole.mKeys.size(), 146000U);
    EXPECT_EQ(inTurns.mKeys, whole.mKeys);
    EXPECT_EQ(inTurns.mOrder, whole.mOrder);
    EXPECT_EQ(inTurns.mTexels, whole.mTexels);
}

TEST_P(GizmoDevices, FindTheLinesTheyCannotDraw) {
    const auto draw = [](const Shot& shot, bool asAreas) {
        RendererPrograms programs;
        programs.mLinesAsAreas = asAreas;
        const std::vector<std::byte> texels = RenderInProcess(shot, "vulkan", programs).mTexels;
        std::vector<glm::vec4> colors(texels.size() / sizeof(glm::vec4));
        std::memcpy(colors.data(), texels.data(), texels.size());
        return colors;
    };
    const Shot& shot = GetParam();
    ASSERT_EQ(shot.mBitsPerChannel, 32);
    const std::vector<glm::vec4> without = draw(WithoutGizmos(shot), false);
    const std::vector<glm::vec4> lines = draw(shot, false);
    const std::vector<glm::vec4> areas = draw(shot, true);
    int drawn = 0, strays = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        drawn += lines[i] != without[i] ? 1 : 0;
        // A line's colour is interpolated, in its last bits.
        strays += glm::length(lines[i] - areas.at(i)) > 1e-4F ? 1 : 0;
    }
    EXPECT_GT(drawn, 20);
    EXPECT_LE(strays, 4) << "of " << drawn;
}

TEST_P(GizmoDevices, DrawTheSameLines) {
    const Shot shot = GetParam();
    const Shot plain = WithoutGizmos(shot);
    const GizmoFrames vulkan = {RenderWithEffect(shot, "vulkan"), RenderWithEffect(plain, "vulkan")};
    EXPECT_GE(CompareLines(vulkan, {RenderWithEffect(shot, "cpu"), RenderWithEffect(plain, "cpu")}), 80.0);
}

std::string GetName(const testing::TestParamInfo<Shot>& shot) { return shot.param.mName; }

INSTANTIATE_TEST_SUITE_P(Shots, Devices, testing::ValuesIn(MakeAllShots()), GetName);
INSTANTIATE_TEST_SUITE_P(Shots, GizmoDevices, testing::ValuesIn(MakeGizmoShots()), GetName);

}  // namespace
}  // namespace nimbrel::endtoend
