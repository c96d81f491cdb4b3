// Frames of the CPU device are the same to the last bit however many threads draw them, whoever of them takes which
// tile, and however wide the vectors are.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>

#include <oneapi/tbb/global_control.h>

#include "CPU/ForEachTarget.h"
#include "RenderedShot.h"
#include "Shots.h"

namespace nimbrel::endtoend {
namespace {

/// A shot with all effects, one with several models, one of depth; in floats and in bytes.
std::vector<Shot> MakeMixedShots() {
    std::vector<Shot> shots;
    for (const auto& [all, name] : {std::pair(MakeFrameShots(), "TwoFiles"),
                                    {MakeEffectShots(), "AllInATurnedModel"},
                                    {MakeEffectShots(), "ZDepthWithEffects"}}) {
        shots.push_back(*std::find_if(all.begin(), all.end(), [&](const Shot& s) { return s.mName == name; }));
        shots.push_back(shots.back());
        shots.back().mName += "In8Bits";
        shots.back().mBitsPerChannel = 8;
    }
    return shots;
}

class SameBits : public testing::TestWithParam<Shot> {
protected:
    SameBits() : mExpected(RenderInProcess(GetParam(), "cpu")) {}

    void ExpectSame() {
        const CapturedFrame drawn = RenderInProcess(GetParam(), "cpu");
        EXPECT_EQ(drawn.mKeys, mExpected.mKeys);
        EXPECT_EQ(drawn.mOrder, mExpected.mOrder);
        EXPECT_EQ(std::memcmp(drawn.mRecords.data(), mExpected.mRecords.data(), drawn.mRecords.size() * 40), 0);
        EXPECT_EQ(drawn.mTexels, mExpected.mTexels);
    }

    const CapturedFrame mExpected;
};

TEST_P(SameBits, ForAnyNumberOfThreads) {
    for (const std::size_t threads : {1U, 2U, 3U, 8U}) {
        SCOPED_TRACE(threads);
        const oneapi::tbb::global_control control(oneapi::tbb::global_control::max_allowed_parallelism, threads);
        for (int repetition = 0; repetition < 3; ++repetition) ExpectSame();
    }
}

TEST_P(SameBits, ForEveryVectorWidth) {
    test::ForEachTarget([&] { ExpectSame(); });
}

TEST_P(SameBits, InTheOrderOfTheirDepths) {
    EXPECT_TRUE(std::is_sorted(mExpected.mKeys.begin(), mExpected.mKeys.end()));
    std::vector<std::uint32_t> places = mExpected.mOrder;
    std::sort(places.begin(), places.end());
    std::vector<std::uint32_t> all(places.size());
    std::iota(all.begin(), all.end(), 0U);
    EXPECT_EQ(places, all);
    EXPECT_GT(all.size(), 1000U);
}

INSTANTIATE_TEST_SUITE_P(Shots, SameBits, testing::ValuesIn(MakeMixedShots()),
                         [](const testing::TestParamInfo<Shot>& shot) { return shot.param.mName; });

}  // namespace
}  // namespace nimbrel::endtoend
