#include <bit>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/CalcDistances.h"
#include "Nimbrel/CPU/SetIndices.h"
#include "SplatScene.h"

namespace nimbrel::cpu {
namespace {

/// The key of a depth: the second matrix's third row adds zeros to it that leave even -0 as it is.
std::uint32_t KeyOf(float depth) {
    SplatScene scene;
    scene.SetPosition(0, {1.0F, 1.0F, 1.0F});
    CalcDistancesInputs inputs{scene.Blocks(), scene.Curves(), {}, {}};
    inputs.mConstants._CalcDistancesMatrixAlign = glm::mat4(1.0F);
    for (int i = 0; i < 3; ++i) inputs.mConstants._CalcDistancesMatrixVP[i][2] = -0.0F;
    inputs.mConstants._CalcDistancesMatrixVP[3][2] = depth;
    return CalcSplatDistance(inputs, 0);
}

TEST(CalcDistances, KeysSortAsDepthsDo) {
    EXPECT_EQ(KeyOf(0.0F), 0x80000000U);
    EXPECT_EQ(KeyOf(-0.0F), 0x7FFFFFFFU);
    EXPECT_EQ(KeyOf(1.0F), 0xBF800000U);
    EXPECT_EQ(KeyOf(-1.0F), 0x407FFFFFU);
    const float infinity = std::numeric_limits<float>::infinity();
    const float ascending[] = {-infinity, -1e30F, -2.0F, -1.0F, -1e-40F, -0.0F, 0.0F, 1e-40F, 0.5F, 3e8F, infinity};
    for (std::size_t i = 1; i < std::size(ascending); ++i) {
        EXPECT_LT(KeyOf(ascending[i - 1]), KeyOf(ascending[i])) << ascending[i];
    }
    EXPECT_GT(KeyOf(std::bit_cast<float>(0x7FC00000U)), KeyOf(infinity));
}

TEST(CalcDistances, DepthIsTheThirdRowOfBothMatrices) {
    SplatScene scene(3);
    scene.SetPosition(1, {2.0F, 3.0F, 5.0F});
    CalcDistancesInputs inputs{scene.Blocks(), scene.Curves(), {}, {}};
    // Alignment doubles and moves x by 1; the second matrix's third row is (10, 100, -1, 0.5).
    inputs.mConstants._CalcDistancesMatrixAlign = glm::mat4(2.0F);
    inputs.mConstants._CalcDistancesMatrixAlign[3] = {1.0F, 0.0F, 0.0F, 1.0F};
    glm::mat4& second = inputs.mConstants._CalcDistancesMatrixVP = glm::mat4(7.0F);
    second[0][2] = 10.0F;
    second[1][2] = 100.0F;
    second[2][2] = -1.0F;
    second[3][2] = 0.5F;
    inputs.mConstants._CalcDistancesSplatCount = 2;
    std::vector<std::uint32_t> keys(4, 0x55);
    CalcDistances(inputs, 0, 256, keys);
    EXPECT_EQ(keys[0], KeyOf(10.5F));
    EXPECT_EQ(keys[1], KeyOf(10.0F * 5.0F + 100.0F * 6.0F - 10.0F + 0.5F));
    EXPECT_EQ(keys[2], 0x55U) << "beyond the count nothing is written";
    EXPECT_EQ(keys[3], 0x55U);
}

}  // namespace
}  // namespace nimbrel::cpu
