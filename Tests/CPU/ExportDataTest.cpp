#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/ExportData.h"
#include "SplatScene.h"

namespace nimbrel::cpu {
namespace {

TEST(ExportData, OpacitiesAtTheEndsOfTheRange) {
    SplatScene scene;
    scene.SetTexel(0, 0, {0.0F, 0.0F, 0.0F, 1.0F});
    EXPECT_NEAR(ExportSplat(scene.Blocks(), 0).opacity, std::log(1e6), 1e-4);
    scene.SetTexel(0, 0, glm::vec4(0.0F));
    EXPECT_EQ(ExportSplat(scene.Blocks(), 0).opacity, -std::numeric_limits<float>::infinity());
}

TEST(ExportData, StopsAtTheCount) {
    SplatScene scene(3);
    std::vector<gpu::ExportSplatData> records(3);
    records[2].opacity = 42.0F;
    ExportData(scene.Blocks(), {2}, 0, 256, records);
    EXPECT_TRUE(std::isinf(records[1].opacity));
    EXPECT_EQ(records[2].opacity, 42.0F);
}

}  // namespace
}  // namespace nimbrel::cpu
