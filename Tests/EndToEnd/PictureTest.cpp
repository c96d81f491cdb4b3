// Whole pictures, from the host's commands to its pixels, against the reference renderer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

#include "Shots.h"

namespace nimbrel::endtoend {
namespace {

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
/// the reference in doubles, may differ. Other devices are compared with this one.
TEST_P(Picture, EqualsTheReference) {
    Shot shot = GetParam();
    std::map<int, host::Frame> frames;
    for (const int bits : {32, 16, 8}) {
        shot.mBitsPerChannel = bits;
        frames[bits] = RenderWithEffect(shot, "cpu");
        const host::Frame expected = RenderReference(shot);
        ASSERT_GT(MeanAlpha(expected), 0.02);
        EXPECT_GE(ComparePsnr(frames[bits], expected), bits == 8 ? 55.0 : 75.0) << bits << " bits";
    }
    EXPECT_LE(LargestStep(frames[32], frames[16]), 1) << "16 bits are drawn as floats and rounded once";
}

INSTANTIATE_TEST_SUITE_P(Shots, Picture, testing::ValuesIn(MakeFrameShots()),
                         [](const testing::TestParamInfo<Shot>& shot) { return shot.param.mName; });

}  // namespace
}  // namespace nimbrel::endtoend
