#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/Noise-inl.h"
#include "SplatScene.h"

namespace nimbrel::cpu {
namespace {

using HWY_NAMESPACE::Cosine;
using HWY_NAMESPACE::Sine;

/// The hash in single precision, since it lives from lost bits; rows of constants per component.
double Hash(const float (&lattice)[4], int component) {
    static const float kRows[4][4] = {{127.1F, 311.7F, 74.7F, 212.1F},
                                      {269.5F, 183.3F, 246.1F, 243.7F},
                                      {113.5F, 271.9F, 124.6F, 231.8F},
                                      {209.3F, 258.6F, 282.6F, 107.9F}};
    float dot = lattice[0] * kRows[component][0];
    for (int k = 1; k < 4; ++k) dot = dot + lattice[k] * kRows[component][k];
    const float s = Sine(dot) * 43758.546875F;
    return static_cast<double>(s - std::floor(s)) * 2.0 - 1.0;
}

/// Sum over the corners of weight times slope, instead of nested interpolation.
double ReferenceNoise(const double (&p)[4]) {
    double sum = 0.0;
    for (int corner = 0; corner < 16; ++corner) {
        float lattice[4];
        double weight = 1.0;
        double distance[4];
        for (int k = 0; k < 4; ++k) {
            const int side = (corner >> k) & 1;
            lattice[k] = static_cast<float>(std::floor(p[k]) + side);
            distance[k] = p[k] - lattice[k];
            const double t = std::abs(distance[k]);
            weight *= 1.0 - t * t * (3.0 - 2.0 * t);
        }
        double slope = 0.0;
        for (int k = 0; k < 4; ++k) slope += Hash(lattice, k) * distance[k];
        sum += weight * slope;
    }
    return sum;
}

TEST(Sine, IsTheTrueOneAtEveryMagnitude) {
    double worst = 0.0;
    for (int exponent = -45; exponent < 55; ++exponent) {
        for (std::uint32_t mantissa = 1; mantissa < (1U << 23); mantissa += 1021) {
            const float x = std::ldexp(1.0F + std::ldexp(static_cast<float>(mantissa), -23), exponent);
            worst = std::max(worst, std::abs(Sine(x) - std::sin(static_cast<double>(x))));
            worst = std::max(worst, std::abs(Cosine(x) - std::cos(static_cast<double>(x))));
            ASSERT_EQ(Sine(-x), -Sine(x));
        }
    }
    EXPECT_LT(worst, 1.8e-7);
    EXPECT_EQ(Sine(0.0F), 0.0F);
    for (const float x : {0x1p55F, std::numeric_limits<float>::infinity(), std::nanf("")}) EXPECT_EQ(Sine(x), 0.0F);
}

TEST(Noise, IsTheWeightedSumOfSixteenSlopes) {
    std::mt19937 random(4);
    std::uniform_int_distribution<int> sixtyFourths(-64 * 20, 64 * 20);
    double least = 0.0;
    double greatest = 0.0;
    for (int round = 0; round < 500; ++round) {
        double p[4];
        for (double& coordinate : p) coordinate = sixtyFourths(random) / 64.0;
        const float noise = Noise4(
            {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]), static_cast<float>(p[3])});
        EXPECT_NEAR(noise, ReferenceNoise(p), 3e-6) << round;
        least = std::min<double>(least, noise);
        greatest = std::max<double>(greatest, noise);
    }
    EXPECT_LT(least, -0.3);
    EXPECT_GT(greatest, 0.3);
}

TEST(Noise, VanishesOnTheLatticeAndIsContinuousAcrossIt) {
    EXPECT_EQ(Noise4({3.0F, -7.0F, 0.0F, 12.0F}), 0.0F);
    for (int axis = 0; axis < 4; ++axis) {
        glm::vec4 below(0.3F, -4.6F, 2.2F, 7.1F);
        glm::vec4 above = below;
        below[axis] = std::nextafter(5.0F, 0.0F);
        above[axis] = 5.0F;
        EXPECT_NEAR(Noise4(below), Noise4(above), 1e-5F) << axis;
    }
}

}  // namespace
}  // namespace nimbrel::cpu
