#include "MortonOrder.h"

#include <algorithm>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace {

TEST(MortonOrder, InterleavesTheAxes) {
    EXPECT_EQ(GetMortonKey({0, 0, 0}), 0u);
    EXPECT_EQ(GetMortonKey({1, 0, 0}), 0x1249249249249249u);
    EXPECT_EQ(GetMortonKey({0, 1, 0}), 0x2492492492492492u);
    EXPECT_EQ(GetMortonKey({0, 0, 1}), 0x4924924924924924u);
    EXPECT_EQ(GetMortonKey({1, 1, 1}), 0x7fffffffffffffffu);
    // Cells 5 (101), 3 (011) and 6 (110): bits zyx are 101, 110, 011 from the highest.
    const float cell = 1.0f / 2097151.0f;
    EXPECT_EQ(GetMortonKey({5.5f * cell, 3.5f * cell, 6.5f * cell}), 0b101'110'011u);
}

TEST(MortonOrder, WhatIsNoPlaceStaysInTheCube) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(GetMortonKey({nan, -1.0f, -infinity}), 0u);
    EXPECT_EQ(GetMortonKey({infinity, 1e30f, 1.0000001f}), 0x7fffffffffffffffu);
}

TEST(MortonOrder, SortIsStableOnAnyKeys) {
    std::mt19937_64 random(5);
    const std::uint64_t masks[] = {0, 0x3, 0x7ff, 0x400, 0x7ff0'0000'0000'0000, 0x7fff'ffff'ffff'ffff};
    for (std::uint64_t mask : masks) {
        for (std::size_t count : {0u, 1u, 2u, 255u, 5000u}) {
            std::vector<MortonEntry> entries(count);
            for (std::size_t i = 0; i < count; ++i) entries[i] = {random() & mask, static_cast<std::uint32_t>(i)};
            std::vector<MortonEntry> expected = entries;
            std::stable_sort(expected.begin(), expected.end(),
                             [](const auto& a, const auto& b) { return a.key < b.key; });
            const std::vector<std::uint32_t> order = SortByKey(entries);
            ASSERT_EQ(order.size(), count);
            for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(order[i], expected[i].index) << mask;
        }
    }
}

}  // namespace
