#include "PluginBase/Misc/RangesManager.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../Failure.h"

namespace {

using testing::HasSubstr;
using zeb::RangesManager;

// What a test must leave behind: a space that can be taken as a whole, and not one slot more.
void ExpectWholeSpaceFree(RangesManager& ranges, std::int32_t capacity) {
    EXPECT_EQ(ranges.GetRange(capacity), 0);
    EXPECT_THROW(ranges.GetRange(1), zeb::Exception);
    ranges.ReleaseRange(0, capacity);
    EXPECT_EQ(ranges.GetRange(capacity), 0);
}

TEST(RangesManager, CutsARunFromTheEndOfAFreeBlock) {
    RangesManager ranges(10);
    ranges.GetRange(4);
    ranges.GetRange(6);
    ranges.ReleaseRange(0, 4);
    EXPECT_EQ(ranges.GetRange(2), 2);
    EXPECT_EQ(ranges.GetRange(2), 0);
    EXPECT_THROW(ranges.GetRange(1), zeb::Exception);  // the exact fit left no empty block
    ranges.ReleaseRange(0, 2);
    ranges.ReleaseRange(4, 6);
    ranges.ReleaseRange(2, 2);
    ExpectWholeSpaceFree(ranges, 10);
}

TEST(RangesManager, PrefersTheSmallestBlockAndThenTheLowestOffset) {
    RangesManager ranges(32);
    const std::int32_t sizes[] = {8, 1, 3, 1, 5, 1, 3, 1};  // each run is kept apart by one of a single slot
    std::vector<std::int32_t> offsets;
    for (const std::int32_t size : sizes) offsets.push_back(ranges.GetRange(size));
    for (const std::size_t i : {6U, 4U, 0U, 2U}) ranges.ReleaseRange(offsets[i], sizes[i]);
    EXPECT_EQ(ranges.GetRange(3), offsets[2]);
    EXPECT_EQ(ranges.GetRange(3), offsets[6]);
    EXPECT_EQ(ranges.GetRange(4), offsets[4] + 1);
    EXPECT_EQ(ranges.GetRange(7), offsets[0] + 1);
    ranges.ReleaseRange(offsets[0] + 1, 7);
    ranges.ReleaseRange(offsets[4] + 1, 4);
    for (const std::size_t i : {2U, 6U, 1U, 3U, 5U, 7U}) ranges.ReleaseRange(offsets[i], sizes[i]);
    ExpectWholeSpaceFree(ranges, 32);
}

TEST(RangesManager, RefusedReleasesChangeNothing) {
    RangesManager ranges(12);
    ranges.GetRange(4);
    ranges.GetRange(4);
    ranges.GetRange(4);
    ranges.ReleaseRange(4, 4);
    EXPECT_THAT(test::MessageOf([&] { ranges.ReleaseRange(4, 4); }),
                HasSubstr("Trying to release an already free range"));
    const std::pair<std::int32_t, std::int32_t> overlaps[] = {{5, 1}, {6, 4}, {2, 3}, {8, 5}, {11, 2}};
    for (const auto& [offset, size] : overlaps) {
        EXPECT_THAT(test::MessageOf([&, o = offset, s = size] { ranges.ReleaseRange(o, s); }),
                    HasSubstr("Failed to release already free space of a range"))
            << offset << " " << size;
    }
    ranges.ReleaseRange(8, 4);
    EXPECT_THROW(ranges.ReleaseRange(8, 4), zeb::Exception);  // above the highest slot in use
    ranges.ReleaseRange(0, 4);
    ExpectWholeSpaceFree(ranges, 12);
}

TEST(RangesManager, HugeRequestsDoNotOverflow) {
    RangesManager ranges(16);
    ranges.GetRange(8);
    EXPECT_THAT(test::MessageOf([&] { ranges.GetRange(INT32_MAX); }), HasSubstr("2147483647"));
    ranges.ReleaseRange(0, 8);
    ExpectWholeSpaceFree(ranges, 16);
}

TEST(RangesManager, RunsNeverOverlapInALongRandomHistory) {
    constexpr std::int32_t kCapacity = 200;
    RangesManager ranges(kCapacity);
    std::mt19937 random(7);
    std::vector<std::pair<std::int32_t, std::int32_t>> held;
    std::vector<bool> used(kCapacity, false);
    const auto release = [&](std::size_t index) {
        const auto [offset, size] = held[index];
        ranges.ReleaseRange(offset, size);
        std::fill_n(used.begin() + offset, size, false);
        held.erase(held.begin() + static_cast<std::ptrdiff_t>(index));
    };
    for (int step = 0; step < 20000; ++step) {
        const auto size = static_cast<std::int32_t>(random() % 12 + 1);
        std::int32_t offset = -1;
        try {
            offset = ranges.GetRange(size);
        } catch (const zeb::Exception&) {
            // Only a space without a free run of that length may refuse.
            std::int32_t run = 0;
            for (const bool slot : used) {
                run = slot ? 0 : run + 1;
                ASSERT_LT(run, size) << "step " << step;
            }
        }
        if (offset >= 0) {
            ASSERT_LE(offset + size, kCapacity);
            for (std::int32_t i = offset; i < offset + size; ++i)
                ASSERT_FALSE(used[static_cast<std::size_t>(i)]) << step;
            std::fill_n(used.begin() + offset, size, true);
            held.emplace_back(offset, size);
        }
        if (offset < 0 || random() % 2 == 0) release(random() % held.size());
    }
    while (!held.empty()) release(random() % held.size());
    ExpectWholeSpaceFree(ranges, kCapacity);
}

}  // namespace
