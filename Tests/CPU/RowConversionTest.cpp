#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "ForEachTarget.h"
#include "Render/CPU/Convert.h"
#include "Render/CPU/Copy.h"
#include "Render/CPU/HalfConversion.h"
#include "Render/CPU/RowConversion.h"

// Rows by vectors against single texels, bit for bit, for every vector width of the machine.
namespace zeb::render::cpu {
namespace {

using test::IsSame;

constexpr Format kFormats[] = {Format::RGBA32Float, Format::RGBA16Float, Format::RGBA16Unorm, Format::RGBA8Unorm,
                               Format::R32Float};
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Hard values among random ones: around halves of steps, subnormal, beyond the ranges.
std::vector<float> MakeValues(std::size_t count) {
    std::mt19937 engine(1);
    std::uniform_real_distribution<float> unit(-0.2F, 1.2F);
    const float hard[] = {0.0F,     -0.0F,     1.0F,       -1.0F,    0.5F / 255.0F, 1.5F / 255.0F, 254.5F / 255.0F,
                          65504.0F, 65519.0F,  65520.0F,   1e30F,    -1e30F,        kInfinity,     -kInfinity,
                          0x1p-14F, 0x1p-24F,  0x1.8p-25F, 0x1p-25F, 0x1.004p0F,    0x1.00cp0F,    1e-40F,
                          0x1p-15F, -0x1p-20F, 1e-3F,      NAN,      0.001F,        0.000999F,     2.0F};
    std::vector<float> values;
    while (values.size() < count) {
        values.push_back(values.size() % 3 == 0 ? hard[values.size() / 3 % std::size(hard)] : unit(engine));
    }
    return values;
}

TEST(RowConversion, EveryTexelOfEveryFormatIsThatOfTheSingleForm) {
    std::vector<std::uint16_t> words(65536);
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::uint16_t>(i);
    const std::vector<float> values = MakeValues(4 * 509);
    test::ForEachTarget([&] {
        for (const Format format : kFormats) {
            SCOPED_TRACE(static_cast<int>(format));
            const std::size_t size = GetBytesPerPixel(format);
            const std::size_t count = words.size() * 2 / size - 1;  // leaves a rest
            std::vector<float> rgba(4 * count);
            const auto* const bytes = reinterpret_cast<const std::byte*>(words.data());
            DecodeRow(format, bytes, count, rgba.data());
            for (std::size_t i = 0; i < count; ++i) {
                const glm::vec4 expected = DecodeTexel(format, bytes + i * size);
                for (int c = 0; c < 4; ++c)
                    ASSERT_TRUE(IsSame(rgba[4 * i + c], expected[c])) << i << ": " << expected[c];
            }
            std::vector<std::byte> texels(509 * size), expected(509 * size);
            EncodeRow(format, values.data(), 509, texels.data());
            for (std::size_t i = 0; i < 509; ++i) {
                EncodeTexel(format, {values[4 * i], values[4 * i + 1], values[4 * i + 2], values[4 * i + 3]},
                            expected.data() + i * size);
            }
            EXPECT_EQ(texels, expected);
        }
    });
}

TEST(RowConversion, UnmultiplyIsThatOfTheSingleForm) {
    const std::vector<float> values = MakeValues(4 * 509);
    test::ForEachTarget([&] {
        std::vector<float> rgba = values;
        UnmultiplyRow(rgba.data(), 509);
        for (std::size_t i = 0; i < rgba.size(); i += 4) {
            const glm::vec4 expected = Unmultiply({values[i], values[i + 1], values[i + 2], values[i + 3]});
            for (int c = 0; c < 4; ++c) ASSERT_TRUE(IsSame(rgba[i + c], expected[c])) << i << ": " << expected[c];
        }
    });
}

/// One row wider than a block of the fast form, every layout; the last pixels do not fill a word.
TEST(RowConversion, CopiesEveryLayoutAsSingleChannels) {
    constexpr std::uint32_t kWidth = 1037;
    Image source(Format::RGBA32Float, kWidth + 5, 2);
    const std::vector<float> values = MakeValues(std::size_t{8} * (kWidth + 5));
    std::memcpy(source.Texels().data(), values.data(), source.Texels().size());
    constexpr std::array<std::array<int, 4>, 4> kOrders = {
        {{0, 1, 2, 3}, {0, 1, 2, -1}, {3, -1, -1, -1}, {3, 0, 1, 2}}};
    test::ForEachTarget([&] {
        for (std::uint32_t layout = 0; layout < 20; ++layout) {
            const auto channels = static_cast<PixelChannels>(layout / 5);
            const auto format = static_cast<ChannelFormat>(layout % 5);
            SCOPED_TRACE(layout);
            const std::size_t size = layout % 5 == 0 ? 1 : layout % 5 == 4 ? 4 : 2;
            std::vector<std::byte> expected;
            for (std::uint32_t x = 0; x < kWidth; ++x) {
                for (const int component : kOrders[layout / 5]) {
                    if (component < 0) continue;
                    float value = source.Load(x + 5, 1)[component];
                    if (format == ChannelFormat::U8) value = HalfToFloat(FloatToHalf(value));
                    const std::uint32_t bits = ConvertChannel(format, value);
                    expected.insert(expected.end(), reinterpret_cast<const std::byte*>(&bits),
                                    reinterpret_cast<const std::byte*>(&bits) + size);
                }
            }
            std::vector<std::byte> copied((expected.size() + 3) / 4 * 4);
            Copy(source.View(), channels, format, {{kWidth, 1}, {5, 1}, {0, 0}, 65536}, 0, 1, copied);
            // The blue of a last odd pixel of 16-bit RGB is not stored.
            const bool losesBlue = channels == PixelChannels::RGB && size == 2;
            const std::size_t end = expected.size() - (losesBlue ? 2 : 0);
            copied.resize(end);
            expected.resize(end);
            EXPECT_EQ(copied, expected);
        }
    });
}

TEST(RowConversion, ConvertsRowsAsTheDrawDoes) {
    for (const Format from : kFormats) {
        for (const Format to : kFormats) {
            Image source(from, 600, 7);
            const std::vector<float> values = MakeValues(source.Texels().size() / 4);
            std::memcpy(source.Texels().data(), values.data(), source.Texels().size());
            Image expected(to, 610, 9);
            const glm::uvec2 size(605, 8);  // beyond the source: zeros
            Convert(source.View(), true, size, expected);
            test::ForEachTarget([&] {
                Image target(to, 610, 9);
                // The scissor may be as large as the target.
                RenderPass whole = MakeRenderPass(target, size.x, size.y);
                whole.mScissor = {0, 0, 610, 9};
                const std::optional<RenderPass> pass = FindTexelToPixel(whole, glm::vec2(size));
                ASSERT_TRUE(pass.has_value());
                ConvertRows(*pass, source.View(), UnmultiplyRow, pass->mScissor.mTop, pass->mScissor.mBottom);
                for (std::uint32_t y = 0; y < 9; ++y) {
                    for (std::uint32_t x = 0; x < 610; ++x) {
                        for (int c = 0; c < 4; ++c)
                            ASSERT_TRUE(IsSame(target.Load(x, y)[c], expected.Load(x, y)[c])) << x << ", " << y;
                    }
                }
            });
        }
    }
}

TEST(RowConversion, OnlyAWholePlainCopyIsTexelToPixel) {
    Image target(Format::RGBA8Unorm, 16, 16);
    const RenderPass whole = MakeRenderPass(target, 8, 8);
    std::vector<RenderPass> others(3, whole);
    others[0].mBlend.mEnabled = true;
    others[1].mViewport.mX = 1.0F;
    others[2].mViewport.mWidth = 7.5F;
    EXPECT_TRUE(FindTexelToPixel(whole, {8.0F, 8.0F}));
    EXPECT_FALSE(FindTexelToPixel(whole, {8.0F, 9.0F}));
    for (const RenderPass& other : others) EXPECT_FALSE(FindTexelToPixel(other, {8.0F, 8.0F}));
}

}  // namespace
}  // namespace zeb::render::cpu
