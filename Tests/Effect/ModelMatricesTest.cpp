#include "ModelMatrices.h"

#include <numbers>

#include <gtest/gtest.h>

#include "TestBlob.h"

namespace {

void ExpectNear(const glm::vec3& actual, const glm::vec3& expected, float tolerance = 1e-3F) {
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(actual[i], expected[i], tolerance) << i;
}

glm::vec3 Apply(const glm::mat4& matrix, const glm::vec3& point) { return glm::vec3(matrix * glm::vec4(point, 1.0F)); }

constexpr float kQuarter = std::numbers::pi_v<float> / 2.0F;

}  // namespace

TEST(ModelMatrices, AlignScalesMovesTheAnchorThenTurnsZFirst) {
    ModelPlacement placement;
    ExpectNear(Apply(MakeModelInstance(1, placement).localMatrix, {1.0F, 2.0F, 3.0F}), {1000.0F, 2000.0F, 3000.0F});
    placement.alignAnchorPoint = {100.0F, 0.0F, 0.0F};
    placement.alignScale = 0.5F;
    placement.alignRotation = {kQuarter, 0.0F, kQuarter};
    // (1000, 0, 0) less the anchor, halved: (450, 0, 0); about z: (0, 450, 0); about x: (0, 0, 450).
    ExpectNear(Apply(MakeModelInstance(1, placement).localMatrix, {1.0F, 0.0F, 0.0F}), {0.0F, 0.0F, 450.0F});
}

TEST(ModelMatrices, TransformScalesTurnsThenMoves) {
    ModelPlacement placement;
    placement.transformScale = {2.0F, 3.0F, 4.0F};
    placement.transformRotation = {0.0F, kQuarter, 0.0F};
    placement.transformPosition = {10.0F, 20.0F, 30.0F};
    // (1, 1, 1) scaled: (2, 3, 4); about y: (4, 3, -2); moved.
    ExpectNear(Apply(MakeModelInstance(1, placement).modelMatrix, {1.0F, 1.0F, 1.0F}), {14.0F, 23.0F, 28.0F});
}

TEST(ModelMatrices, TheThirdUndoesBoth) {
    ModelPlacement placement;
    placement.alignAnchorPoint = {12.0F, -30.0F, 44.0F};
    placement.alignScale = 1.7F;
    placement.alignRotation = {0.3F, -1.1F, 2.0F};
    placement.transformScale = {0.5F, 2.0F, 3.0F};
    placement.transformRotation = {-0.7F, 0.2F, 1.4F};
    placement.transformPosition = {500.0F, -200.0F, 90.0F};
    const ModelInstance instance = MakeModelInstance(4, placement);
    EXPECT_EQ(instance.modelIndex, 4U);
    const glm::mat4 product = instance.thirdMatrix * instance.modelMatrix * instance.localMatrix;
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) EXPECT_NEAR(product[column][row], column == row ? 1.0F : 0.0F, 2e-5F);
    }
}

TEST(ModelMatrices, UniformScaleIgnoresTheAxes) {
    TestBlob blob = TestBlob::MakeEffect();
    blob.Set("ModelCpp2", 96, 2.0F);
    blob.Set("ModelCpp2", 104, glm::vec3(3.0F, 4.0F, 5.0F));
    blob.Set("ModelCpp2", 16, glm::vec3(7.0F, 8.0F, 9.0F));
    blob.Set("ModelCpp2", 32, 0.25F);
    blob.Set("ModelCpp2", 36, glm::vec3(0.1F, 0.2F, 0.3F));
    blob.Set("ModelCpp2", 80, glm::vec3(10.0F, 11.0F, 12.0F));
    blob.Set("ModelCpp2", 116, glm::vec3(0.4F, 0.5F, 0.6F));
    const ModelPlacement axes = ModelPlacement::Read(blob.Pack(), 2);
    EXPECT_EQ(axes.transformScale, glm::vec3(6.0F, 8.0F, 10.0F));
    EXPECT_EQ(axes.alignAnchorPoint, glm::vec3(7.0F, 8.0F, 9.0F));
    EXPECT_EQ(axes.alignScale, 0.25F);
    EXPECT_EQ(axes.alignRotation, glm::vec3(0.1F, 0.2F, 0.3F));
    EXPECT_EQ(axes.transformPosition, glm::vec3(10.0F, 11.0F, 12.0F));
    EXPECT_EQ(axes.transformRotation, glm::vec3(0.4F, 0.5F, 0.6F));
    blob.Set("ModelCpp2", 100, 1);
    EXPECT_EQ(ModelPlacement::Read(blob.Pack(), 2).transformScale, glm::vec3(2.0F));
}
