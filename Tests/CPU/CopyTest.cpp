#include <algorithm>
#include <limits>
#include <span>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "PluginBase/Exception.h"
#include "Render/CPU/Copy.h"

namespace zeb::render::cpu {
namespace {

constexpr auto kRed = static_cast<std::byte>(0xEE);  // what the programs must not touch

/// Pixel (x, y) has the 8-bit channels 16 * y + x, 64 + that, 128 + that, 192 + that.
Image MakeBytes(std::uint32_t width, std::uint32_t height) {
    Image image(Format::RGBA8Unorm, width, height);
    for (std::size_t i = 0; i < image.Texels().size(); ++i) {
        const std::size_t pixel = i / 4;
        image.Texels()[i] = static_cast<std::byte>(i % 4 * 64 + pixel / width * 16 + pixel % width);
    }
    return image;
}

std::vector<int> CopyBytes(PixelChannels channels, const CopyConstants& constants, std::size_t size) {
    std::vector<std::byte> buffer(size, kRed);
    Copy(MakeBytes(8, 4).View(), channels, ChannelFormat::U8, constants, 0, constants.mSize.y, buffer);
    std::vector<int> result;
    for (const std::byte b : buffer) result.push_back(std::to_integer<int>(b));
    return result;
}

TEST(Copy, BytesInEachLayout) {
    // One row of five pixels from texel (1, 2) to pixel (0, 0): 33, 34, 35, 36, 37 in red.
    const CopyConstants constants{{5, 1}, {1, 2}, {0, 0}, 64};
    const int e = 0xEE;
    EXPECT_EQ(CopyBytes(PixelChannels::RGBA, constants, 24),
              (std::vector<int>{33, 97,  161, 225, 34, 98,  162, 226, 35, 99, 163, 227,
                                36, 100, 164, 228, 37, 101, 165, 229, e,  e,  e,   e}));
    EXPECT_EQ(CopyBytes(PixelChannels::ARGB, constants, 24),
              (std::vector<int>{225, 33, 97,  161, 226, 34, 98,  162, 227, 35, 99, 163,
                                228, 36, 100, 164, 229, 37, 101, 165, e,   e,  e,  e}));
    // The fifth pixel stores one word, whose fourth byte is zero.
    EXPECT_EQ(CopyBytes(PixelChannels::RGB, constants, 20),
              (std::vector<int>{33, 97, 161, 34, 98, 162, 35, 99, 163, 36, 100, 164, 37, 101, 165, 0, e, e, e, e}));
    EXPECT_EQ(CopyBytes(PixelChannels::Alpha, constants, 12),
              (std::vector<int>{225, 226, 227, 228, 229, 0, 0, 0, e, e, e, e}));
}

TEST(Copy, TailsOfPackedBytes) {
    const int e = 0xEE;
    const auto tail = [](std::uint32_t width) {
        return CopyBytes(PixelChannels::RGB, {{width, 1}, {0, 0}, {0, 0}, 64}, 16);
    };
    EXPECT_EQ(tail(1), (std::vector<int>{0, 64, 128, 0, e, e, e, e, e, e, e, e, e, e, e, e}));
    EXPECT_EQ(tail(2), (std::vector<int>{0, 64, 128, 1, 65, 129, 0, 0, e, e, e, e, e, e, e, e}));
    EXPECT_EQ(tail(3), (std::vector<int>{0, 64, 128, 1, 65, 129, 2, 66, 130, 0, 0, 0, e, e, e, e}));
}

TEST(Copy, PlacesRowsByPitchAndOffset) {
    const auto bytes = CopyBytes(PixelChannels::ARGB, {{2, 2}, {3, 1}, {1, 2}, 16}, 64);
    // Row 2 + y at 16 bytes each, pixel 1 + x at 4 each; red is 16 * (1 + y) + 3 + x.
    EXPECT_EQ(bytes[2 * 16 + 4 + 1], 19);
    EXPECT_EQ(bytes[2 * 16 + 8 + 1], 20);
    EXPECT_EQ(bytes[3 * 16 + 4 + 1], 35);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0xEE), 64 - 16);
}

/// Two pixels of 32-bit floats: (0.25, 0.5, 0.75, 1) and (1, 0, 0.5, 0.25).
std::vector<std::uint16_t> CopyWords(PixelChannels channels, ChannelFormat format, std::uint32_t width) {
    Image image(Format::RGBA32Float, 2, 1);
    image.Store(0, 0, {0.25F, 0.5F, 0.75F, 1.0F});
    image.Store(1, 0, {1.0F, 0.0F, 0.5F, 0.25F});
    std::vector<std::uint16_t> words(10, 0xEEEE);
    Copy(image.View(), channels, format, {{width, 1}, {0, 0}, {0, 0}, 64}, 0, 1,
         std::as_writable_bytes(std::span(words)));
    return words;
}

TEST(Copy, SixteenBitLayouts) {
    using Words = std::vector<std::uint16_t>;
    const std::uint16_t e = 0xEEEE;
    // 0.25, 0.5, 0.75 of 65535 and 32767, rounded half up: 16384, 32768, 49151 and 8192, 16384, 24575.
    EXPECT_EQ(CopyWords(PixelChannels::RGBA, ChannelFormat::U16, 2),
              (Words{16384, 32768, 49151, 65535, 65535, 0, 32768, 16384, e, e}));
    EXPECT_EQ(CopyWords(PixelChannels::ARGB, ChannelFormat::I16, 2),
              (Words{32767, 8192, 16384, 24575, 8192, 32767, 0, 16384, e, e}));
    EXPECT_EQ(CopyWords(PixelChannels::ARGB, ChannelFormat::F16, 2),
              (Words{0x3C00, 0x3400, 0x3800, 0x3A00, 0x3400, 0x3C00, 0, 0x3800, e, e}));
    EXPECT_EQ(CopyWords(PixelChannels::RGB, ChannelFormat::F16, 2),
              (Words{0x3400, 0x3800, 0x3A00, 0x3C00, 0, 0x3800, e, e, e, e}));
    // A lone last pixel stores red and green only.
    EXPECT_EQ(CopyWords(PixelChannels::RGB, ChannelFormat::U16, 1), (Words{16384, 32768, e, e, e, e, e, e, e, e}));
    EXPECT_EQ(CopyWords(PixelChannels::Alpha, ChannelFormat::I16, 2), (Words{32767, 8192, e, e, e, e, e, e, e, e}));
    EXPECT_EQ(CopyWords(PixelChannels::Alpha, ChannelFormat::U16, 1), (Words{65535, 0, e, e, e, e, e, e, e, e}));
}

TEST(Copy, FloatsAreCopiedBitByBit) {
    Image image(Format::RGBA32Float, 1, 1);
    image.Store(0, 0, {-2.5F, 1e30F, 0.1F, 7.0F});
    std::vector<float> floats(5, 99.0F);
    const auto copy = [&](PixelChannels channels) {
        floats.assign(5, 99.0F);
        Copy(image.View(), channels, ChannelFormat::F32, {{1, 1}, {0, 0}, {0, 0}, 64}, 0, 1,
             std::as_writable_bytes(std::span(floats)));
        return floats;
    };
    EXPECT_EQ(copy(PixelChannels::RGBA), (std::vector{-2.5F, 1e30F, 0.1F, 7.0F, 99.0F}));
    EXPECT_EQ(copy(PixelChannels::ARGB), (std::vector{7.0F, -2.5F, 1e30F, 0.1F, 99.0F}));
    EXPECT_EQ(copy(PixelChannels::RGB), (std::vector{-2.5F, 1e30F, 0.1F, 99.0F, 99.0F}));
    EXPECT_EQ(copy(PixelChannels::Alpha), (std::vector{7.0F, 99.0F, 99.0F, 99.0F, 99.0F}));
}

TEST(Copy, ChannelsClampAndNaNIsZero) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const auto& [format, most] :
         {std::pair(ChannelFormat::U8, 255U), {ChannelFormat::U16, 65535U}, {ChannelFormat::I16, 32767U}}) {
        EXPECT_EQ(ConvertChannel(format, 1.0F), most);
        EXPECT_EQ(ConvertChannel(format, 40.0F), most);
        EXPECT_EQ(ConvertChannel(format, -0.5F), 0U);
        EXPECT_EQ(ConvertChannel(format, nan), 0U);
    }
    EXPECT_EQ(ConvertChannel(ChannelFormat::U8, 0.5F), 128U);  // 127.5 + 0.5
}

TEST(Copy, AnEmptyRectangleOrAShortBufferIsSafe) {
    EXPECT_EQ(CopyBytes(PixelChannels::RGBA, {{0, 4}, {0, 0}, {0, 0}, 64}, 8), std::vector<int>(8, 0xEE));
    EXPECT_EQ(CopyBytes(PixelChannels::RGBA, {{4, 0}, {0, 0}, {0, 0}, 64}, 8), std::vector<int>(8, 0xEE));
    EXPECT_EQ(CopyBytes(PixelChannels::RGBA, {{4, 4}, {0, 0}, {0, 0}, 64}, 6)[4], 0xEE);
}

TEST(Copy, RefusesUnknownLayouts) {
    const Image image = MakeBytes(1, 1);
    std::vector<std::byte> buffer(64);
    EXPECT_THROW(Copy(image.View(), static_cast<PixelChannels>(4), ChannelFormat::U8, {}, 0, 0, buffer), Exception);
    EXPECT_THROW(Copy(image.View(), PixelChannels::RGB, static_cast<ChannelFormat>(5), {}, 0, 0, buffer), Exception);
}

}  // namespace
}  // namespace zeb::render::cpu
