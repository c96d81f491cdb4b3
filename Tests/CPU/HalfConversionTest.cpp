#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/HalfConversion.h"

namespace zeb::render::cpu {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(HalfConversion, RoundsToNearestEven) {
    const struct {
        float mValue;
        std::uint16_t mHalf;
    } cases[] = {
        {0.0F, 0x0000},
        {-0.0F, 0x8000},
        {1.0F, 0x3C00},
        {-2.0F, 0xC000},
        {0.333333343F, 0x3555},         // 1365.33 units of 2^-12: down
        {1.0F + 0x1p-11F, 0x3C00},      // halfway between two halves: to the even one below
        {1.0F + 3 * 0x1p-11F, 0x3C02},  // halfway: to the even one above
        {1.0F + 0x1.8p-11F, 0x3C01},
        {65504.0F, 0x7BFF},
        {65519.0F, 0x7BFF},
        {65520.0F, 0x7C00},  // halfway to 65536, whose mantissa is even
        {1e30F, 0x7C00},
        {-kInfinity, 0xFC00},
        {0x1p-14F, 0x0400},      // least normal half
        {0x1.ff8p-15F, 0x03FF},  // greatest subnormal, 1023 * 2^-24
        {0x1.ffcp-15F, 0x0400},  // halfway between it and the least normal
        {0x1p-24F, 0x0001},
        {0x1p-25F, 0x0000},  // half of the least subnormal: to even 0
        {0x1.8p-25F, 0x0001},
        {0x1.fp-26F, 0x0000},
        {1e-40F, 0x0000},
    };
    for (const auto& c : cases) EXPECT_EQ(FloatToHalf(c.mValue), c.mHalf) << std::hexfloat << c.mValue;
    EXPECT_TRUE(std::isnan(HalfToFloat(FloatToHalf(kNaN))));
}

TEST(HalfConversion, EveryHalfSurvivesTheWayThere) {
    for (std::uint32_t bits = 0; bits < 0x10000; ++bits) {
        const auto half = static_cast<std::uint16_t>(bits);
        const float value = HalfToFloat(half);
        if (std::isnan(value)) continue;
        // The value by definition of the format, in double.
        const int exponent = (half >> 10) & 31;
        const double mantissa = half & 1023;
        double expected = exponent == 0 ? std::ldexp(mantissa, -24) : std::ldexp(1024.0 + mantissa, exponent - 25);
        if (exponent == 31) expected = kInfinity;
        ASSERT_EQ(std::abs(static_cast<double>(value)), expected);
        ASSERT_EQ(FloatToHalf(value), half);
    }
}

TEST(Arithmetic, TreatsNaNAsGpusDo) {
    EXPECT_EQ(Saturate(kNaN), 0.0F);
    EXPECT_EQ(Max(kNaN, 2.0F), 2.0F);
    EXPECT_EQ(Max(2.0F, kNaN), 2.0F);
    EXPECT_EQ(Min(kNaN, 2.0F), 2.0F);
    EXPECT_EQ(Min(2.0F, kNaN), 2.0F);
    EXPECT_EQ(Clamp(kNaN, -1.0F, 1.0F), -1.0F);
    EXPECT_EQ(Sign(kNaN), 0.0F);
    EXPECT_EQ(Saturate(kInfinity), 1.0F);
    EXPECT_EQ(Saturate(-3.0F), 0.0F);
}

TEST(Arithmetic, ConversionsToIntegersSaturate) {
    EXPECT_EQ(ToUint(kNaN), 0U);
    EXPECT_EQ(ToUint(-1.5F), 0U);
    EXPECT_EQ(ToUint(254.99F), 254U);
    EXPECT_EQ(ToUint(4294967040.0F), 4294967040U);
    EXPECT_EQ(ToUint(kInfinity), 0xFFFFFFFFU);
    EXPECT_EQ(ToInt(kNaN), 0);
    EXPECT_EQ(ToInt(-7.9F), -7);
    EXPECT_EQ(ToInt(2147483648.0F), 0x7FFFFFFF);
    EXPECT_EQ(ToInt(-kInfinity), -0x7FFFFFFF - 1);
}

}  // namespace
}  // namespace zeb::render::cpu
