#include <gtest/gtest.h>

#include <cstdlib>

#include "GpuHarness.h"
#include "SortHarness.h"

namespace nimbrel::test {
namespace {

/// The software device has waves of 8 lanes unless it is told, before it
/// starts, to use vectors of 512 bits.
struct WideWaves : testing::Environment {
    void SetUp() override {
#ifdef _WIN32
        _putenv_s("LP_NATIVE_VECTOR_WIDTH", "512");
#else
        setenv("LP_NATIVE_VECTOR_WIDTH", "512", 1);
#endif
    }
};
const auto* const kWideWaves = testing::AddGlobalTestEnvironment(new WideWaves);

TEST(SortWave, EqualsAStableSortAtEveryEdge) {
    const std::uint32_t lanes = GetDevice().GetWaveLaneCount();
    if (lanes < 16 || 128 % lanes != 0) GTEST_SKIP() << "the device has waves of " << lanes << " lanes";
    for (const std::uint32_t count : EdgeCounts(2000000)) {
        const std::vector<KeySet> sets = MakeKeySets(count);
        const std::size_t used = count <= 5000 || count == 409601 ? sets.size() : 1;
        for (std::size_t i = 0; i < used; ++i) ExpectSorts({".Wave"}, sets[i]);
    }
}

}  // namespace
}  // namespace nimbrel::test
