#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/SplatEffects-inl.h"
#include "SplatScene.h"

// What whole chains of effects (EffectChainTest.cpp) do not reach: ends, and values that are no numbers.
namespace nimbrel::cpu {
namespace {

using namespace HWY_NAMESPACE;

TEST(Effects, ShapesAtTheirEnds) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const Vec3<float> place{12.0F, 24.0F, 38.0F};
    const glm::vec4 center(10.0F, 20.0F, 30.0F, 0.0F);
    const glm::vec4 half(2.0F, 4.0F, 8.0F, 0.0F);
    EXPECT_FLOAT_EQ(ShapeDistance(0, place, center, half), std::sqrt(3.0F));
    EXPECT_EQ(ShapeDistance(1, place, center, half), 1.0F);
    for (const int unknown : {2, -1}) EXPECT_EQ(ShapeDistance(unknown, place, center, half), 0.0F);
    // A shape without size has no inside.
    EXPECT_EQ(ShapeDistance(1, place, center, glm::vec4(0.0F)), infinity);
    const struct {
        float mDistance, mFeather, mExpected;
    } cases[] = {{0.999F, 0.0F, 0.0F}, {1.0F, 0.0F, 1.0F},  {0.9F, 0.5F, 0.8F},
                 {0.0F, 1.0F, 0.0F},   {0.7F, 0.25F, 0.0F}, {nan, 0.5F, 1.0F}};
    for (const auto& c : cases) EXPECT_NEAR(Feather(c.mDistance, c.mFeather), c.mExpected, 1e-6F) << c.mDistance;
}

TEST(Effects, CurvesAreFoundByInstanceAndRowInEveryFormat) {
    SplatScene scene;
    scene.mRamps.resize(std::size_t{41} * 7 * 1024);  // lines whose middle comes out beside it
    for (std::size_t i = 0; i < scene.mRamps.size(); ++i)
        scene.mRamps[i] = static_cast<float>(i / 1024) + static_cast<float>(i % 1024) / 1023.0F * 0.5F;
    for (const std::uint32_t instance : {0U, 2U, 40U}) {
        const InstanceCurves curves(scene.Curves(), instance);
        const float first = 7.0F * static_cast<float>(instance);
        EXPECT_NEAR(SampleCurve(curves.Get(gpu::RampRow::ColorAmount), 0.0F), first, 1e-4F);
        EXPECT_NEAR(SampleCurve(curves.Get(gpu::RampRow::Noise), 1.0F), first + 6.5F, 1e-4F);
        EXPECT_NEAR(SampleCurve(curves.Get(gpu::RampRow::Scale), 0.5F), first + 5.25F, 1e-4F);
    }
    const std::byte texels[] = {std::byte{0}, std::byte{51},  std::byte{0}, std::byte{0},
                                std::byte{0}, std::byte{102}, std::byte{0}, std::byte{0}};
    const CurveRow row({texels, zeb::render::Format::RGBA8Unorm, 2, 1, 1}, 0, 4);
    EXPECT_NEAR(SampleCurve(row, 0.5F, 1), 0.3F, 1e-6F);
    EXPECT_EQ(SampleCurve(CurveRow({}, 0, 1), 0.5F), 0.0F);
}

TEST(Effects, NoiseIsCutBelowAnEpsilonOfItsCurve) {
    SplatScene scene;
    gpu::NoiseConstants1 c{};
    c.noise_enabled = 1;
    c.noise_shape_halfSize = glm::vec4(1000.0F);
    c.noise_scale = glm::vec4(0.5F, 0.25F, 1.0F, 2.0F);
    c.noise_amplitude = glm::vec4(1e7F);
    const auto move = [&](float curve) {
        scene.SetRamp(gpu::RampRow::Noise, curve);
        NoiseCells<float> cells;
        return EffectPosition<float>(c, InstanceCurves(scene.Curves(), 0), cells, {12.0F, 34.0F, 56.0F}).x;
    };
    EXPECT_EQ(move(9.9999e-05F), 12.0F);
    EXPECT_NE(move(9.99999975e-05F), 12.0F);
}

}  // namespace
}  // namespace nimbrel::cpu
