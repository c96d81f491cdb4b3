#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/ExportData.h"
#include "SplatScene.h"

namespace nimbrel::cpu {
namespace {

TEST(ExportData, UndoesTheEncodings) {
    SplatScene scene;
    scene.mChunks[0].colR = HalfPair(-1.0F, 1.0F);
    scene.SetPosition(0, {0.5F, 0.25F, 8.0F});
    scene.SetRotation(0, 200, 400, 600, 1);
    scene.SetScaleRoots(0, {1.0F, 2.0F, 0.5F});
    scene.SetTexel(0, 0, {0.75F, 0.5F, 1.0F, 0.625F});
    for (int i = 0; i < 15; ++i) {
        scene.SetSH(0, i, {static_cast<float>(i + 1), static_cast<float>(i + 1) * 10.0F, -static_cast<float>(i + 1)});
    }
    const gpu::ExportSplatData record = ExportSplat(scene.Blocks(), 0);
    EXPECT_EQ(record.pos, glm::vec3(0.5F, 0.25F, 8.0F));
    EXPECT_EQ(record.nor, glm::vec3(0.0F));
    // Colour 0.5 is the constant term 0; colour 1 is 0.5 / 0.2820948.
    EXPECT_NEAR(record.dc0.x, 0.0, 1e-6);
    EXPECT_NEAR(record.dc0.y, 0.0, 1e-6);
    EXPECT_NEAR(record.dc0.z, 0.5 / 0.28209479, 1e-5);
    EXPECT_EQ(record.shR14, glm::vec4(1, 2, 3, 4));
    EXPECT_EQ(record.shR58, glm::vec4(5, 6, 7, 8));
    EXPECT_EQ(record.shG9C, glm::vec4(90, 100, 110, 120));
    EXPECT_EQ(record.shBDF, glm::vec3(-13, -14, -15));
    EXPECT_NEAR(record.opacity, std::log(3.0), 1e-6);  // 0.75 against 0.25
    EXPECT_NEAR(record.scale.x, 0.0, 1e-6);
    EXPECT_NEAR(record.scale.y, 8.0 * std::log(2.0), 1e-5);
    EXPECT_NEAR(record.scale.z, -8.0 * std::log(2.0), 1e-5);
    const glm::vec4 q = DecodeSplat(scene.Blocks(), 0).mRotation;
    EXPECT_EQ(record.rot, glm::vec4(q.w, q.x, q.y, q.z));
    EXPECT_NEAR(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w, 1.0, 1e-6);
}

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
