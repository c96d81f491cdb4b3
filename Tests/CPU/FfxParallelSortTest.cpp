#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/FfxParallelSort.h"

namespace nimbrel::cpu {
namespace {

using Words = std::vector<std::uint32_t>;

TEST(FfxParallelSort, WorkIsSharedInWholeBlocks) {
    const struct {
        std::uint32_t mKeys, mGroups;
        std::int32_t mBlocks;
        std::uint32_t mMore, mReduce, mScan;
    } cases[] = {
        {0, 0, 1, 0, 1, 16},
        {1, 1, 1, 0, 1, 16},
        {512, 1, 1, 0, 1, 16},
        {513, 2, 1, 0, 1, 16},
        {511 * 512, 511, 1, 0, 1, 16},
        {512 * 512, 512, 1, 0, 1, 16},
        {512 * 512 + 1, 513, 1, 0, 2, 32},
        {799 * 512, 799, 1, 0, 2, 32},
        {409600, 800, 1, 0, 2, 32},
        {409601, 800, 1, 1, 2, 32},
        {5000000, 800, 12, 166, 2, 32},  // 9766 blocks
        {0xFFFFFFFF, 800, 10485, 608, 2, 32},
    };
    for (const auto& c : cases) {
        const gpu::SortConstants constants = MakeSortConstants(c.mKeys);
        EXPECT_EQ(constants.numKeys, c.mKeys);
        EXPECT_EQ(constants.numThreadGroups, c.mGroups) << c.mKeys;
        EXPECT_EQ(constants.numBlocksPerThreadGroup, c.mBlocks) << c.mKeys;
        EXPECT_EQ(constants.numThreadGroupsWithAdditionalBlocks, c.mMore) << c.mKeys;
        EXPECT_EQ(constants.numReduceThreadgroupPerBin, c.mReduce) << c.mKeys;
        EXPECT_EQ(constants.numScanValues, c.mScan) << c.mKeys;
    }
}

struct Distribution {
    const char* mName;
    std::function<std::uint32_t(std::size_t)> mKey;
};

std::vector<Distribution> Distributions() {
    return {
        {"random", [random = std::mt19937(1)](std::size_t) mutable { return static_cast<std::uint32_t>(random()); }},
        {"few values", [random = std::mt19937(2)](
                           std::size_t) mutable { return static_cast<std::uint32_t>(random() % 5) * 0x11111111U; }},
        {"equal", [](std::size_t) { return 0xFFFFFFFFU; }},
        {"descending", [](std::size_t i) { return 0xFFFFFFFFU - static_cast<std::uint32_t>(i) * 977U; }},
        {"top digit only", [](std::size_t i) { return static_cast<std::uint32_t>(i) << 28; }},
    };
}

TEST(FfxParallelSort, SortsStablyAtEveryEdgeOfTheWorkSplit) {
    for (auto& distribution : Distributions()) {
        for (const std::size_t size : {0, 1, 2, 127, 128, 129, 511, 512, 513, 1537, 262145, 409600, 409601, 900001}) {
            if (size > 300000 && distribution.mName != std::string("random")) continue;
            Words keys(size);
            for (std::size_t i = 0; i < size; ++i) keys[i] = distribution.mKey(i);
            Words payloads(size);
            std::iota(payloads.begin(), payloads.end(), 1000U);
            Words expected = payloads;
            std::stable_sort(expected.begin(), expected.end(),
                             [&](std::uint32_t a, std::uint32_t b) { return keys[a - 1000] < keys[b - 1000]; });
            FfxParallelSort(keys, payloads);
            ASSERT_EQ(payloads, expected) << distribution.mName << " " << size;
            ASSERT_TRUE(std::is_sorted(keys.begin(), keys.end())) << distribution.mName << " " << size;
        }
    }
}

TEST(FfxParallelSort, TablesOfOnePassPlaceEveryGroup) {
    // 801 blocks and a bit: the last groups have two blocks, the last one is not full.
    const std::uint32_t count = 801 * 512 + 100;
    const std::uint32_t shift = 8;
    std::mt19937 random(5);
    Words keys(count);
    for (std::uint32_t& key : keys) key = static_cast<std::uint32_t>(random());
    const gpu::SortConstants constants = MakeSortConstants(count);
    const std::uint32_t groups = constants.numThreadGroups;
    ASSERT_EQ(constants.numThreadGroupsWithAdditionalBlocks, 2U);

    Words sums(16 * groups, 0xEEEEEEEE);
    FfxParallelSortCount(constants, shift, keys, 0, groups / 2, sums);
    FfxParallelSortCount(constants, shift, keys, groups / 2, groups, sums);
    Words reduced(32);
    FfxParallelSortReduce(constants, sums, 0, 32, reduced);
    Words expectedSums(16 * groups, 0);
    Words expectedReduced(32, 0);
    for (std::uint32_t i = 0; i < count; ++i) {
        // Groups 0 to 797 have one block each, group 798 blocks 798 and 799, group 799 the rest.
        const std::uint32_t group = std::min(i / 512, 798U) + (i / 512 >= 800 ? 1 : 0);
        const std::uint32_t bin = (keys[i] >> shift) & 15;
        ++expectedSums[bin * groups + group];
        ++expectedReduced[bin * 2 + group / 512];
    }
    ASSERT_EQ(sums, expectedSums);
    ASSERT_EQ(reduced, expectedReduced);

    Words scanned(32);
    FfxParallelSortScan(constants, reduced, scanned);
    Words places(16 * groups);
    FfxParallelSortScanAdd(constants, sums, scanned, 0, 32, places);
    std::uint32_t total = 0;
    for (std::size_t i = 0; i < places.size(); ++i) {
        ASSERT_EQ(places[i], total) << i;
        if (i % groups == 0) {
            EXPECT_EQ(scanned[i / groups * 2], total);
        }
        total += expectedSums[i];
    }
    EXPECT_EQ(total, count);
}

TEST(FfxParallelSort, ScatterWritesNothingBeyondTheKeys) {
    const std::uint32_t count = 600;
    Words keys(count, 0xFFFFFFFF);
    Words payloads(count, 7);
    Words sums(32);
    const gpu::SortConstants constants = MakeSortConstants(count);
    FfxParallelSortCount(constants, 28, keys, 0, 2, sums);
    EXPECT_EQ(sums[30], 512U);
    EXPECT_EQ(sums[31], 88U);
    std::fill(sums.begin(), sums.end(), 0U);
    sums[31] = 512;
    Words outKeys(1024, 1);
    Words outPayloads(1024, 1);
    FfxParallelSortScatter(constants, 28, keys, payloads, sums, 0, 2, outKeys, outPayloads);
    EXPECT_EQ(outKeys[count - 1], 0xFFFFFFFFU);
    EXPECT_EQ(outPayloads[count - 1], 7U);
    EXPECT_TRUE(std::all_of(outKeys.begin() + count, outKeys.end(), [](std::uint32_t key) { return key == 1; }));
}

}  // namespace
}  // namespace nimbrel::cpu
