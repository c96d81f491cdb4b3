#include <gtest/gtest.h>

#include "GpuHarness.h"
#include "SortHarness.h"

namespace nimbrel::test {
namespace {

class Sort : public testing::TestWithParam<const char*> {};

TEST_P(Sort, EqualsAStableSortAtEveryEdge) {
    for (const std::uint32_t count : EdgeCounts(5000)) {
        for (const KeySet& set : MakeKeySets(count)) ExpectSorts({GetParam()}, set);
    }
}

TEST_P(Sort, EqualsAStableSortOfManyKeys) {
    for (const std::uint32_t count : EdgeCounts(2000000)) {
        if (count <= 5000) continue;
        const std::vector<KeySet> sets = MakeKeySets(count);
        // Random keys at every count, all distributions where groups begin to take
        // several blocks.
        const std::size_t used = count == 409601 ? sets.size() : 1;
        for (std::size_t i = 0; i < used; ++i) ExpectSorts({GetParam()}, sets[i]);
    }
}

// A group of hundreds of blocks, as with hundreds of millions of keys: runs and
// counters are longer than usual.
TEST_P(Sort, GroupsMayTakeManyBlocks) {
    for (const KeySet& set : MakeKeySets(150001)) {
        ExpectSorts({GetParam()}, set, {1, 293, 0});
        ExpectSorts({GetParam()}, set, {2, 146, 1});
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, Sort, testing::Values("", ".Serial"),
                         [](const auto& parameter) { return *parameter.param == 0 ? "Plain" : "Serial"; });

}  // namespace
}  // namespace nimbrel::test
