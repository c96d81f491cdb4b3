// Numbers, texels and what the framework's programs make of one texel, by values worked out by hand. Filters, address
// modes, blend factors and the layouts of copies are tested on the device, rows of texels against single ones.
#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "PluginBase/Exception.h"
#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/Blending.h"
#include "Render/CPU/Convert.h"
#include "Render/CPU/Copy.h"
#include "Render/CPU/HalfConversion.h"
#include "Render/CPU/Sampling.h"
#include "Render/CPU/TextDrawing.h"

namespace zeb::render::cpu {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(HalfConversion, RoundsToNearestEven) {
    const struct {
        float mValue;
        std::uint16_t mHalf;
    } cases[] = {
        {-0.0F, 0x8000},
        {0.333333343F, 0x3555},         // 1365.33 units of 2^-12: down
        {1.0F + 0x1p-11F, 0x3C00},      // halfway between two halves: to the even one below
        {1.0F + 3 * 0x1p-11F, 0x3C02},  // halfway: to the even one above
        {1.0F + 0x1.8p-11F, 0x3C01},
        {65519.0F, 0x7BFF},
        {65520.0F, 0x7C00},  // halfway to 65536, whose mantissa is even
        {1e30F, 0x7C00},
        {0x1.ffcp-15F, 0x0400},  // halfway between the greatest subnormal and the least normal
        {0x1p-25F, 0x0000},      // half of the least subnormal: to even 0
        {0x1.8p-25F, 0x0001},
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

TEST(Arithmetic, TreatsNaNAsGpusDoAndSaturatesIntegers) {
    EXPECT_EQ(Saturate(kNaN), 0.0F);
    EXPECT_EQ(Max(kNaN, 2.0F), 2.0F);
    EXPECT_EQ(Max(2.0F, kNaN), 2.0F);
    EXPECT_EQ(Min(kNaN, 2.0F), 2.0F);
    EXPECT_EQ(Min(2.0F, kNaN), 2.0F);
    EXPECT_EQ(Clamp(kNaN, -1.0F, 1.0F), -1.0F);
    EXPECT_EQ(Sign(kNaN), 0.0F);
    for (const auto& [value, expected] :
         {std::pair(kNaN, 0U), {-1.5F, 0U}, {254.99F, 254U}, {4294967040.0F, 4294967040U}, {kInfinity, 0xFFFFFFFFU}})
        EXPECT_EQ(ToUint(value), expected) << value;
    for (const auto& [value, expected] :
         {std::pair(kNaN, 0), {-7.9F, -7}, {2147483648.0F, 0x7FFFFFFF}, {-kInfinity, -0x7FFFFFFF - 1}})
        EXPECT_EQ(ToInt(value), expected) << value;
}

TEST(Image, NormalisedFormatsRoundToTheNearestStepAndClamp) {
    const struct {
        float mValue;
        int m8, m16;
    } cases[] = {
        {1.0F, 255, 65535},
        {2.5F, 255, 65535},
        {-1.0F, 0, 0},
        {kNaN, 0, 0},
        {0.5F, 128, 32768},             // 127.5 and 32767.5: up
        {0.00195F, 0, 128},             // 0.497 and 127.8
        {0.00197F, 1, 129},             // 0.502 and 129.1
        {100.4F / 255.0F, 100, 25803},  // 100.4 * 257 = 25802.8
    };
    for (const auto& c : cases) {
        Image image8(Format::RGBA8Unorm, 1, 1);
        image8.Store(0, 0, glm::vec4(c.mValue));
        EXPECT_EQ(std::to_integer<int>(image8.Texels()[2]), c.m8) << c.mValue;
        Image image16(Format::RGBA16Unorm, 1, 1);
        image16.Store(0, 0, glm::vec4(c.mValue));
        EXPECT_FLOAT_EQ(image16.Load(0, 0).y, static_cast<float>(c.m16) / 65535.0F) << c.mValue;
    }
}

TEST(Sampling, FindsTexelsBetweenRowsInLayersAndForNoNumber) {
    // Four columns 0, 1, 2, 3; the second row is 10 higher; the second layer 100 higher.
    Image image(Format::R32Float, 4, 2, 2);
    auto* texels = reinterpret_cast<float*>(image.Texels().data());
    for (int i = 0; i < 16; ++i) texels[i] = static_cast<float>(i % 4 + i / 4 % 2 * 10 + i / 8 * 100);
    const auto linear = [&](float u, float v) { return Sample(image.View(), kLinearClampSampler, u, v).x; };
    EXPECT_FLOAT_EQ(linear(0.375F, 0.5F), 6.0F);  // edge between the rows: (1 + 11) / 2
    EXPECT_FLOAT_EQ(linear(0.375F, 1.0F), 11.0F);
    EXPECT_EQ(linear(kNaN, 0.25F), 0.0F);
    EXPECT_EQ(linear(kInfinity, 0.25F), 3.0F);
    SamplerDescription point = kLinearClampSampler;
    point.mMinFilter = point.mMagFilter = point.mMipFilter = SamplerFilter::Point;
    EXPECT_EQ(Sample(image.View(), point, 0.49F, 0.9F).x, 11.0F);
    EXPECT_EQ(Sample(image.View(), point, 0.1F, 0.1F, 0.6F).x, 100.0F);
    EXPECT_EQ(Sample(image.View(), point, 0.1F, 0.1F, 9.0F).x, 100.0F);
}

TEST(Blending, NormalisedTargetsClampTheSourceAndRoundTheSumAlone) {
    constexpr BlendState kAdd{true,
                              BlendFactor::One,
                              BlendFactor::One,
                              BlendOperation::Add,
                              BlendFactor::One,
                              BlendFactor::One,
                              BlendOperation::Add};
    const glm::vec4 before(0.1F, 0.3F, 0.8F, 0.25F);
    const glm::vec4 bright(3.0F, -2.0F, 0.5F, 1.0F);
    EXPECT_FLOAT_EQ(Blend(kAdd, Format::RGBA8Unorm, bright, before).x, 1.1F);
    EXPECT_FLOAT_EQ(Blend(kAdd, Format::RGBA16Unorm, bright, before).y, 0.3F);
    EXPECT_FLOAT_EQ(Blend(kAdd, Format::RGBA16Float, bright, before).x, 3.1F);
    EXPECT_FLOAT_EQ(Blend(kAdd, Format::RGBA32Float, bright, before).y, -1.7F);
    const glm::vec4 faint(1.4F / 255.0F, 1.6F / 255.0F, 0.4F / 65535.0F, 0.6F / 65535.0F);
    for (const Format format : {Format::RGBA8Unorm, Format::RGBA16Unorm, Format::RGBA32Float})
        EXPECT_EQ(Blend(kAdd, format, faint, glm::vec4(0.0F)), faint);
}

TEST(Convert, UnmultiplyDividesFromTheLeastAlphaOn) {
    const float least = 0.00100000005F;
    EXPECT_EQ(Unmultiply({0.1F, 0.2F, 0.25F, 0.5F}), glm::vec4(0.2F, 0.4F, 0.5F, 0.5F));
    EXPECT_EQ(Unmultiply({least, 0.0F, 2 * least, least}), glm::vec4(1.0F, 0.0F, 2.0F, least));
    const float below = std::nextafter(least, 0.0F);
    EXPECT_EQ(Unmultiply({0.1F, 0.2F, 0.3F, below}), glm::vec4(0.1F, 0.2F, 0.3F, 0.0F));
    EXPECT_EQ(Unmultiply({0.1F, 0.2F, 0.3F, -1.0F}), glm::vec4(0.1F, 0.2F, 0.3F, 0.0F));
}

TEST(Copy, TailsAreWordsAndAShortBufferIsSafe) {
    // Red of pixel x is x, green 64 more, blue 128 more.
    Image image(Format::RGBA8Unorm, 8, 1);
    for (std::size_t i = 0; i < 32; ++i) image.Texels()[i] = static_cast<std::byte>(i % 4 * 64 + i / 4);
    const auto copy = [&](std::uint32_t width, std::size_t size) {
        std::vector<std::byte> buffer(size, std::byte{0xEE});
        Copy(image.View(), PixelChannels::RGB, ChannelFormat::U8, {{width, 1}, {0, 0}, {0, 0}, 64}, 0, 1, buffer);
        std::vector<int> result;
        for (const std::byte b : buffer) result.push_back(std::to_integer<int>(b));
        return result;
    };
    constexpr int e = 0xEE;
    EXPECT_EQ(copy(0, 4), (std::vector{e, e, e, e}));
    EXPECT_EQ(copy(1, 8), (std::vector{0, 64, 128, 0, e, e, e, e}));
    EXPECT_EQ(copy(2, 12), (std::vector{0, 64, 128, 1, 65, 129, 0, 0, e, e, e, e}));
    EXPECT_EQ(copy(3, 16), (std::vector{0, 64, 128, 1, 65, 129, 2, 66, 130, 0, 0, 0, e, e, e, e}));
    EXPECT_EQ(copy(4, 6)[4], e);
    // A lone last pixel of 16 bits a channel stores red and green only.
    std::vector<std::byte> words(8, std::byte{0xEE});
    Copy(image.View(), PixelChannels::RGB, ChannelFormat::U16, {{1, 1}, {7, 0}, {0, 0}, 64}, 0, 1, words);
    EXPECT_EQ(words[3], std::byte{71});  // 64 + 7 of 255 is 0x4747 of 65535
    EXPECT_EQ(words[4], std::byte{0xEE});
    std::vector<std::byte> buffer(64);
    EXPECT_THROW(Copy(image.View(), static_cast<PixelChannels>(4), ChannelFormat::U8, {}, 0, 0, buffer), Exception);
    EXPECT_THROW(Copy(image.View(), PixelChannels::RGB, static_cast<ChannelFormat>(5), {}, 0, 0, buffer), Exception);
}

}  // namespace
}  // namespace zeb::render::cpu
