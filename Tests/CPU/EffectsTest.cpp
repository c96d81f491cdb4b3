#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/EffectPosition.h"
#include "Nimbrel/CPU/PerSplatEffects.h"
#include "SplatScene.h"

namespace nimbrel::cpu {
namespace {

TEST(Effects, ShapeDistanceIsOneOnTheEdge) {
    const glm::vec3 center(10.0F, 20.0F, 30.0F);
    const glm::vec3 half(2.0F, 4.0F, 8.0F);
    const struct {
        std::int32_t mType;
        glm::vec3 mOffset;
        float mExpected;
    } cases[] = {
        {0, {0.0F, 0.0F, 0.0F}, 0.0F},    {0, {-2.0F, 0.0F, 0.0F}, 1.0F},       {0, {0.0F, 2.0F, 0.0F}, 0.5F},
        {0, {0.6F, 0.0F, 3.2F}, 0.5F},    {0, {2.0F, 4.0F, -8.0F}, 1.7320508F}, {1, {-2.0F, 1.0F, 0.0F}, 1.0F},
        {1, {0.2F, -3.0F, 7.0F}, 0.875F}, {1, {0.0F, 12.0F, 0.0F}, 3.0F},       {2, {50.0F, 0.0F, 0.0F}, 0.0F},
        {-1, {50.0F, 0.0F, 0.0F}, 0.0F},
    };
    for (const auto& c : cases) EXPECT_FLOAT_EQ(ShapeDistance(c.mType, center + c.mOffset, center, half), c.mExpected);
    // A shape without size has no inside.
    EXPECT_EQ(ShapeDistance(1, center + 1.0F, center, glm::vec3(0.0F)), std::numeric_limits<float>::infinity());
    EXPECT_FALSE(ShapeDistance(0, center, center, glm::vec3(0.0F)) < 1.0F);
}

TEST(Effects, FeatherRisesOverTheOuterPart) {
    const struct {
        float mDistance, mFeather, mExpected;
    } cases[] = {
        {0.0F, 0.0F, 0.0F},
        {0.999F, 0.0F, 0.0F},
        {1.0F, 0.0F, 1.0F},
        {5.0F, 0.0F, 1.0F},
        {0.5F, 0.5F, 0.0F},
        {0.75F, 0.5F, 0.5F},
        {0.9F, 0.5F, 0.8F},
        {1.0F, 0.5F, 1.0F},
        {0.0F, 1.0F, 0.0F},
        {0.3F, 1.0F, 0.3F},
        {0.85F, 0.25F, 0.4F},
        {0.7F, 0.25F, 0.0F},
        {std::numeric_limits<float>::quiet_NaN(), 0.5F, 1.0F},
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(Feather(c.mDistance, c.mFeather), c.mExpected, 1e-6F) << c.mDistance << " " << c.mFeather;
    }
}

TEST(Effects, RampsAreFoundByInstanceAndRow) {
    SplatScene scene;
    scene.mRamps.assign(3 * 7 * 1024, 0.0F);
    for (std::size_t row = 0; row < 21; ++row) {
        for (std::size_t i = 0; i < 1024; ++i) {
            scene.mRamps[row * 1024 + i] = static_cast<float>(row) + static_cast<float>(i) / 1023.0F * 0.5F;
        }
    }
    const CurveTextures curves = scene.Curves();
    EXPECT_NEAR(SampleRamp(curves, 0, gpu::RampRow::ColorAmount, 0.0F), 0.0F, 1e-5F);
    EXPECT_NEAR(SampleRamp(curves, 2, gpu::RampRow::Noise, 1.0F), 20.5F, 1e-4F);
    EXPECT_NEAR(SampleRamp(curves, 1, gpu::RampRow::Scale, 0.5F), 12.25F, 1e-4F);
    EXPECT_NEAR(SampleRamp(curves, 1, gpu::RampRow::DisplacementOffset, 7.0F), 9.5F, 1e-4F) << "ends are clamped";
}

TEST(Effects, NoiseIsFadedByItsCurveAndCutBelowAnEpsilon) {
    SplatScene scene;
    gpu::NoiseConstants1 c{};
    c.noise_enabled = 1;
    c.noise_shape_halfSize = glm::vec4(1000.0F);
    c.noise_scale = glm::vec4(0.5F, 0.25F, 1.0F, 2.0F);
    c.noise_amplitude = {10.0F, 20.0F, 40.0F, 0.0F};
    c.noise_seed = 3.0F;
    const glm::vec3 place(12.0F, 34.0F, 56.0F);
    const glm::vec3 full = EffectPosition(c, scene.Curves(), 0, place) - place;
    EXPECT_NE(full.x, 0.0F);
    EXPECT_NE(full.y, 0.0F);
    EXPECT_NE(full.z, 0.0F);
    scene.SetRamp(gpu::RampRow::Noise, 0.5F);
    const glm::vec3 faded = EffectPosition(c, scene.Curves(), 0, place) - place;
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(faded[i], 0.5F * full[i], 1e-5F);
    // A twice as strong amplitude moves twice as far.
    c.noise_amplitude *= 2.0F;
    const glm::vec3 doubled = EffectPosition(c, scene.Curves(), 0, place) - place;
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(doubled[i], full[i], 1e-5F);

    c.noise_amplitude *= 1e6F;
    scene.SetRamp(gpu::RampRow::Noise, 9.9999e-05F);
    EXPECT_EQ(EffectPosition(c, scene.Curves(), 0, place), place);
    scene.SetRamp(gpu::RampRow::Noise, 9.99999975e-05F);
    EXPECT_NE(EffectPosition(c, scene.Curves(), 0, place), place);
}

TEST(Effects, NoiseSamplesASlowerPatternForALargerScale) {
    // Offsets are taken before the division by 100 times the scale, and evolution is divided by the overall one.
    SplatScene scene;
    gpu::NoiseConstants1 c{};
    c.noise_enabled = 1;
    c.noise_seed = -11.0F;  // seed 0
    c.noise_shape_halfSize = glm::vec4(1000.0F);
    c.noise_scale = glm::vec4(0.01F, 0.02F, 0.04F, 0.08F);  // coordinates are divided by 1, 2, 4, 8
    c.noise_amplitude = glm::vec4(1.0F);
    const glm::vec3 base = EffectPosition(c, scene.Curves(), 0, {0.25F, 0.5F, 0.75F}) - glm::vec3(0.25F, 0.5F, 0.75F);
    // The same point of the pattern, reached by offset instead of position.
    c.noise_settings_offset = {0.25F, 0.5F, 0.75F, 0.0F};
    const glm::vec3 shifted = EffectPosition(c, scene.Curves(), 0, glm::vec3(0.0F));
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(shifted[i], base[i], 1e-6F);
    // Without a seed all three offsets come from the same point.
    EXPECT_EQ(shifted.x, shifted.y);
    EXPECT_EQ(shifted.x, shifted.z);
    // Whole steps of all coordinates, evolution too, are lattice points: no noise there.
    c.noise_settings_offset = {3.0F, 4.0F, -8.0F, 0.0F};
    c.noise_settings_evolution = 16.0F;
    EXPECT_EQ(EffectPosition(c, scene.Curves(), 0, glm::vec3(0.0F)), glm::vec3(0.0F));
}

}  // namespace
}  // namespace nimbrel::cpu
