#include <cmath>
#include <random>
#include <utility>

#include <gtest/gtest.h>
#include <glm/geometric.hpp>
#include <glm/gtc/quaternion.hpp>
#include <glm/mat3x3.hpp>

#include "Nimbrel/CPU/CalcViewData.h"
#include "Nimbrel/CPU/ExportData.h"
#include "Nimbrel/CPU/SplatShape-inl.h"
#include "SplatScene.h"

namespace nimbrel::cpu {
namespace {

using zeb::render::cpu::HalfToFloat;

float Half(std::uint32_t word, int shift) { return HalfToFloat(static_cast<std::uint16_t>(word >> shift)); }

/// A splat of unit size in front of the camera, half opaque, of colour (0.25, 0.5, 0.75).
SplatScene MakeScene() {
    SplatScene scene;
    scene.SetPosition(0, {30.0F, -20.0F, 1000.0F});
    scene.SetScaleRoots(0, glm::vec3(1.0F, 1.1F, 1.2F));
    scene.SetTexel(0, 0, {0.25F, 0.5F, 0.75F, 0.5F});
    return scene;
}

TEST(CalcViewData, TheEllipseIsTheProjectedCovariance) {
    std::mt19937 random(11);
    std::uniform_real_distribution<float> unit(-1.0F, 1.0F);
    for (int round = 0; round < 200; ++round) {
        SplatScene scene = MakeScene();
        const auto bits = static_cast<std::uint32_t>(random());
        scene.SetRotation(0, 300 + bits % 400, 300 + bits / 512 % 400, 300 + bits / 262144 % 400, bits >> 30);
        const glm::vec3 position(unit(random) * 40.0F, unit(random) * 40.0F, unit(random) * 40.0F);
        scene.SetPosition(0, position);
        scene.SetScaleRoots(0, {1.0F + 0.5F * unit(random), 1.2F + 0.5F * unit(random), 1.3F + 0.3F * unit(random)});
        CalcViewDataInputs inputs = scene.Inputs();
        glm::mat4 modelView =
            glm::mat4_cast(glm::normalize(glm::quat(unit(random), unit(random), unit(random), unit(random) + 0.01F)));
        modelView = modelView * 1.7F;
        modelView[3] = {unit(random) * 30.0F, unit(random) * 30.0F, 1500.0F, 1.0F};
        inputs.mConstants._MatrixMV = modelView;
        inputs.mConstants._MatrixTransform = modelView;

        // In double: the splat's covariance from its rotation matrix, and the screen position's derivative by
        // differences, as if the pixels' y ran down like the view's.
        const gpu::ExportSplatData splat = ExportSplat(inputs.mBlocks, 0);
        const glm::dquat q(splat.rot.x, splat.rot.y, splat.rot.z, splat.rot.w);
        const glm::dvec3 scale = glm::exp(glm::dvec3(splat.scale));
        const glm::dmat3 axes = glm::mat3_cast(q) * glm::dmat3(scale.x, 0, 0, 0, scale.y, 0, 0, 0, scale.z);
        const glm::dmat3 covariance = axes * glm::transpose(axes);
        const auto pixel = [&](const glm::dvec3& p) {
            const glm::dvec4 view = glm::dmat4(modelView) * glm::dvec4(p, 1.0);
            return glm::dvec2(view.x, view.y) * 1000.0 / view.z;
        };
        glm::dvec3 rows[2];
        for (int k = 0; k < 3; ++k) {
            glm::dvec3 step(0.0);
            step[k] = 1e-3;
            const glm::dvec2 slope = (pixel(glm::dvec3(position) + step) - pixel(glm::dvec3(position) - step)) / 2e-3;
            rows[0][k] = slope.x;
            rows[1][k] = slope.y;
        }
        const double a = glm::dot(rows[0], covariance * rows[0]) + 0.3;
        const double b = glm::dot(rows[0], covariance * rows[1]);
        const double c = glm::dot(rows[1], covariance * rows[1]) + 0.3;

        const gpu::SplatViewData record = CalcSplatViewData(inputs, 0);
        const glm::dvec2 u(record.axis1);
        const glm::dvec2 v(record.axis2);
        const double tolerance = 2e-4 * (a + c);
        EXPECT_NEAR(u.x * u.x + v.x * v.x, 2.0 * a, tolerance) << round;
        EXPECT_NEAR(u.y * u.y + v.y * v.y, 2.0 * c, tolerance) << round;
        EXPECT_NEAR(u.x * u.y + v.x * v.y, -2.0 * b, tolerance) << round;
        EXPECT_NEAR(glm::dot(u, v), 0.0, tolerance) << round;
        EXPECT_GE(glm::length(u), glm::length(v) * 0.9999) << round;
    }
}

TEST(CalcViewData, TheLinearisationStaysInsideTheWiderView) {
    // P00 is 10, so x / z stops at 0.13. With k = (focal / z)^2 = 4 and a round splat of size 3:
    // a = c = 36 * (1 + 0.0169) + 0.3 = 36.9084, b = -36 * 0.0169 = -0.6084.
    SplatScene scene;
    scene.SetPosition(0, {5000.0F, -2500.0F, 500.0F});
    scene.SetScaleRoots(0, glm::vec3(std::pow(3.0F, 0.125F)));
    const gpu::SplatViewData record = CalcSplatViewData(scene.Inputs(), 0);
    const float diagonal = std::sqrt(0.5F);
    const float m1 = std::sqrt(2.0F * (36.9084F + 0.6084F));
    const float m2 = std::sqrt(2.0F * (36.9084F - 0.6084F));
    EXPECT_NEAR(record.axis1.x, -m1 * diagonal, 1e-3);
    EXPECT_NEAR(record.axis1.y, -m1 * diagonal, 1e-3);
    EXPECT_NEAR(record.axis2.x, -m2 * diagonal, 1e-3);
    EXPECT_NEAR(record.axis2.y, m2 * diagonal, 1e-3);
}

TEST(CalcViewData, AxesOfKnownEllipses) {
    // (5 2; 2 2) has the eigenvalues 6 and 1 and the directions (2, 1) and (1, -2); y is flipped.
    const auto find = [](float a, float b, float c) {
        const auto axes = HWY_NAMESPACE::MakeScreenAxes<float>({a, b, c});
        return std::pair(glm::vec2(axes.mMajorX, axes.mMajorY), glm::vec2(axes.mMinorX, axes.mMinorY));
    };
    const auto axes = find(5.0F, 2.0F, 2.0F);
    const float length = std::sqrt(12.0F / 5.0F);
    EXPECT_NEAR(axes.first.x, 2.0F * length, 1e-6);
    EXPECT_NEAR(axes.first.y, -length, 1e-6);
    EXPECT_NEAR(axes.second.x, -std::sqrt(2.0F / 5.0F), 1e-6);
    EXPECT_NEAR(axes.second.y, -2.0F * std::sqrt(2.0F / 5.0F), 1e-6);
    const auto upright = find(2.0F, 0.0F, 8.0F);
    EXPECT_EQ(upright.first, glm::vec2(0.0F, -4.0F));
    EXPECT_EQ(upright.second, glm::vec2(-2.0F, 0.0F));
    // A lying one has no direction.
    const auto lying = find(8.0F, 0.0F, 2.0F);
    EXPECT_TRUE(std::isnan(lying.first.x) && std::isnan(lying.first.y) && std::isnan(lying.second.x));
    // The least eigenvalue is 0.1, the longest axis 4096 pixels.
    const auto thin = find(0.01F, 0.0F, 1e9F);
    EXPECT_EQ(thin.first, glm::vec2(0.0F, -4096.0F));
    EXPECT_FLOAT_EQ(thin.second.x, -std::sqrt(0.2F));
}

TEST(CalcViewData, OrthographicCamerasNeitherCutNorFollowFocalLengthOrHarmonics) {
    SplatScene scene = MakeScene();
    scene.SetPosition(0, {5.0F, 6.0F, -50.0F});
    scene.SetSH(0, 1, glm::vec3(0.9F));
    CalcViewDataInputs inputs = scene.Inputs();
    inputs.mConstants._CameraType = 1;
    inputs.mConstants._MatrixMV = glm::mat4(2.0F);
    const gpu::SplatViewData record = CalcSplatViewData(inputs, 0);
    EXPECT_EQ(record.pos.w, -50.0F);
    EXPECT_EQ(record.color[0], 0x34003800U);
    // Scales 1 and 1.1^8 = 2.1436, doubled by the matrix: variances 4.3 and 18.68 but for the rotation word, which
    // misses the identity by a thousandth.
    EXPECT_NEAR(glm::length(record.axis1), std::sqrt(2.0F * (4.0F * 2.14359F * 2.14359F + 0.3F)), 0.02F);
    EXPECT_NEAR(glm::length(record.axis2), std::sqrt(2.0F * 4.3F), 0.02F);
}

TEST(CalcViewData, BehindAPerspectiveCameraOnlyThePositionIsKept) {
    SplatScene scene = MakeScene();
    for (const float z : {0.0F, -1000.0F}) {
        scene.SetPosition(0, {30.0F, -20.0F, z});
        const gpu::SplatViewData record = CalcSplatViewData(scene.Inputs(), 0);
        EXPECT_EQ(record.pos, glm::vec4(300.0F, 200.0F, z, z));
        EXPECT_EQ(record.axis1, glm::vec2(0.0F));
        EXPECT_EQ(record.axis2, glm::vec2(0.0F));
        EXPECT_EQ(record.color[0] | record.color[1], 0U);
    }
}

TEST(CalcViewData, DepthReplacesTheColour) {
    SplatScene scene = MakeScene();
    CalcViewDataInputs inputs = scene.Inputs();
    inputs.mConstants._DrawZDepth = 1;
    inputs.mConstants._ZDepthNear = 500.0F;
    for (const auto& [far, expected] : {std::pair(2500.0F, 0.75F), {900.0F, 0.0F}, {750.0F, 0.0F}}) {
        inputs.mConstants._ZDepthFar = far;
        const gpu::SplatViewData record = CalcSplatViewData(inputs, 0);
        EXPECT_EQ(Half(record.color[0], 16), expected) << far;
        EXPECT_EQ(Half(record.color[0], 0), expected) << far;
        EXPECT_EQ(Half(record.color[1], 16), expected) << far;
        EXPECT_EQ(Half(record.color[1], 0), 0.5F) << far;
    }
    // An empty range around the splat gives no number, which is no depth.
    inputs.mConstants._ZDepthNear = inputs.mConstants._ZDepthFar = 1000.0F;
    EXPECT_EQ(Half(CalcSplatViewData(inputs, 0).color[0], 16), 0.0F);
}

TEST(CalcViewData, HarmonicsLookFromTheSplatToTheCameraInTheModelsAxes) {
    SplatScene scene = MakeScene();
    scene.SetPosition(0, {0.0F, 0.0F, 1000.0F});
    scene.SetSH(0, 1, glm::vec3(0.5F));  // answers to -z
    CalcViewDataInputs inputs = scene.Inputs();
    // Towards the camera is -z: 0.25 + 0.4886 * 0.5.
    EXPECT_NEAR(Half(CalcSplatViewData(inputs, 0).color[0], 16), 0.4943F, 3e-4F);
    // Turned half around the model sees it from +z; its scale does not matter.
    inputs.mConstants._MatrixWorldToObject = glm::mat4(5.0F);
    inputs.mConstants._MatrixWorldToObject[2][2] = -5.0F;
    EXPECT_NEAR(Half(CalcSplatViewData(inputs, 0).color[0], 16), 0.0057F, 3e-4F);
    inputs.mConstants._VecWorldSpaceCameraPos = {0.0F, 0.0F, 3000.0F, 1.0F};
    EXPECT_NEAR(Half(CalcSplatViewData(inputs, 0).color[0], 16), 0.4943F, 3e-4F);
    inputs.mConstants._SHOrder = 0xFFFFFFFF;  // reads as -1
    EXPECT_EQ(Half(CalcSplatViewData(inputs, 0).color[0], 16), 0.25F);
}

TEST(CalcViewData, OpacityIsBoundedAboveOnly) {
    SplatScene scene = MakeScene();
    CalcViewDataInputs inputs = scene.Inputs();
    inputs.mConstants._SplatOpacityScale = 1e9F;
    EXPECT_EQ(Half(CalcSplatViewData(inputs, 0).color[1], 0), 64992.0F);  // the half next to 65000
    inputs.mConstants._SplatOpacityScale = -4.0F;
    EXPECT_EQ(Half(CalcSplatViewData(inputs, 0).color[1], 0), -2.0F);
}

}  // namespace
}  // namespace nimbrel::cpu
