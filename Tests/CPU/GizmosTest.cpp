#include <array>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/Gizmos.h"

namespace nimbrel::cpu {
namespace {

/// World = shape space moved by (100, 0, 0); clip = world. The second shape is the one under test.
class GizmosTest : public testing::Test {
protected:
    GizmosTest() {
        mConstants.viewProjection = glm::mat4(1.0F);
        mConstants.circleDotsCount = 4;
        mConstants.gridCellsX = 2;
        mConstants.gridCellsZ = 4;
        mShapes[1].transform = glm::mat4(1.0F);
        mShapes[1].transform[3].x = 100.0F;
        mShapes[1].color = {1.0F, 0.5F, 0.5F, 0.5F};
        mShapes[1].center = {1.0F, 2.0F, 3.0F};
        mShapes[1].halfSize = {10.0F, 20.0F, 40.0F};
        mShapes[1].crossRadius = 5.0F;
    }

    static void ExpectNear(const GizmoVertex& vertex, const glm::vec3& point) {
        EXPECT_NEAR(vertex.mPosition.x, point.x + 100.0F, 1e-4F);
        EXPECT_NEAR(vertex.mPosition.y, point.y, 1e-4F);
        EXPECT_NEAR(vertex.mPosition.z, point.z, 1e-4F);
        EXPECT_EQ(vertex.mPosition.w, 1.0F);
    }

    gpu::VertexShaderConstants mConstants{};
    std::array<gpu::ShapeInfo, 2> mShapes{};
};

TEST_F(GizmosTest, SphereRingsLieAcrossTheirAxes) {
    // Vertex 1 of 4 is a quarter turn.
    ExpectNear(SphereGizmoVertex(mConstants, mShapes, 0, 3), {1.0F, 22.0F, 3.0F});
    ExpectNear(SphereGizmoVertex(mConstants, mShapes, 1, 3), {1.0F, 2.0F, 43.0F});
    ExpectNear(SphereGizmoVertex(mConstants, mShapes, 0, 4), {11.0F, 2.0F, 3.0F});
    ExpectNear(SphereGizmoVertex(mConstants, mShapes, 1, 4), {1.0F, 2.0F, 43.0F});
    ExpectNear(SphereGizmoVertex(mConstants, mShapes, 2, 5), {-9.0F, 2.0F, 3.0F});
    ExpectNear(SphereGizmoVertex(mConstants, mShapes, 3, 5), {1.0F, -18.0F, 3.0F});
    const auto color = SphereGizmoVertex(mConstants, mShapes, 0, 4).mAttributes;
    EXPECT_FLOAT_EQ(color[0], 0.4F);
    EXPECT_FLOAT_EQ(color[1], 0.5F);
    EXPECT_FLOAT_EQ(color[2], 0.2F);
    EXPECT_FLOAT_EQ(color[3], 0.35F);
}

TEST_F(GizmosTest, GridLinesOfTheSecondFamilyBeginInTheirMiddle) {
    // 2 x 4 cells: three lines along z, then five along x, whose first has number 3.
    ExpectNear(YGridGizmoVertex(mConstants, mShapes, 0, 1), {-9.0F, 2.0F, -37.0F});
    ExpectNear(YGridGizmoVertex(mConstants, mShapes, 1, 1), {-9.0F, 2.0F, 43.0F});
    ExpectNear(YGridGizmoVertex(mConstants, mShapes, 5, 1), {11.0F, 2.0F, 43.0F});
    ExpectNear(YGridGizmoVertex(mConstants, mShapes, 6, 1), {-9.0F, 2.0F, 23.0F});
    ExpectNear(YGridGizmoVertex(mConstants, mShapes, 7, 1), {11.0F, 2.0F, 23.0F});
    ExpectNear(YGridGizmoVertex(mConstants, mShapes, 10, 1), {-9.0F, 2.0F, -37.0F});
    EXPECT_EQ(YGridGizmoVertex(mConstants, mShapes, 10, 1).mAttributes[0], 1.0F);
}

}  // namespace
}  // namespace nimbrel::cpu
