#include <array>
#include <cmath>
#include <map>
#include <set>

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

TEST_F(GizmosTest, CrossArmsRunAlongTheirAxes) {
    ExpectNear(CrossGizmoVertex(mConstants, mShapes, 0, 3), {-4.0F, 2.0F, 3.0F});
    ExpectNear(CrossGizmoVertex(mConstants, mShapes, 1, 4), {1.0F, 7.0F, 3.0F});
    ExpectNear(CrossGizmoVertex(mConstants, mShapes, 1, 5), {1.0F, 2.0F, 8.0F});
    EXPECT_FLOAT_EQ(CrossGizmoVertex(mConstants, mShapes, 0, 5).mAttributes[2], 0.5F);
    EXPECT_FLOAT_EQ(CrossGizmoVertex(mConstants, mShapes, 0, 5).mAttributes[3], 0.35F);
}

TEST_F(GizmosTest, ABoxHasTwelveEdges) {
    std::set<std::set<std::array<float, 3>>> edges;
    std::map<std::array<float, 3>, int> uses;
    for (std::uint32_t edge = 0; edge < 12; ++edge) {
        std::array<float, 3> ends[2];
        int differences = 0;
        for (std::uint32_t end = 0; end < 2; ++end) {
            const glm::vec4 p = BoxGizmoVertex(mConstants, mShapes, 2 * edge + end, 1).mPosition;
            ends[end] = {(p.x - 101.0F) / 10.0F, (p.y - 2.0F) / 20.0F, (p.z - 3.0F) / 40.0F};
            for (const float coordinate : ends[end]) EXPECT_EQ(std::abs(coordinate), 1.0F);
            ++uses[ends[end]];
        }
        for (std::size_t i = 0; i < 3; ++i) differences += ends[0][i] != ends[1][i];
        EXPECT_EQ(differences, 1) << edge;
        edges.insert({ends[0], ends[1]});
    }
    EXPECT_EQ(edges.size(), 12U);
    EXPECT_EQ(uses.size(), 8U);
    for (const auto& [corner, count] : uses) EXPECT_EQ(count, 3);
    // The order of the edges: the first goes along x at the lower corner, the seventh back along x on the far side.
    ExpectNear(BoxGizmoVertex(mConstants, mShapes, 1, 1), {11.0F, -18.0F, -37.0F});
    ExpectNear(BoxGizmoVertex(mConstants, mShapes, 13, 1), {-9.0F, 22.0F, 43.0F});
    EXPECT_EQ(BoxGizmoVertex(mConstants, mShapes, 0, 1).mAttributes[3], 0.5F);
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

TEST_F(GizmosTest, ClipSpaceIsTheProductInColumnOrder) {
    mConstants.viewProjection[3] = {1.0F, 2.0F, 3.0F, 4.0F};
    mConstants.viewProjection[0][3] = 0.5F;
    const glm::vec4 p = CrossGizmoVertex(mConstants, mShapes, 0, 3).mPosition;  // world (96, 2, 3)
    EXPECT_EQ(p, glm::vec4(97.0F, 4.0F, 6.0F, 52.0F));
    const GizmoVertex cube = RenderCubeVertex(mConstants.viewProjection, {2.0F, 0.0F, 0.0F, 2.0F}, {1, 2, 3, 4});
    EXPECT_EQ(cube.mPosition, glm::vec4(4.0F, 4.0F, 6.0F, 9.0F));
    EXPECT_EQ(cube.mAttributes[2], 3.0F);
}

}  // namespace
}  // namespace nimbrel::cpu
