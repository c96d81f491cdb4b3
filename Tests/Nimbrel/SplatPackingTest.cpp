#include "SplatPacking.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include <gmock/gmock.h>

#include "HalfFloat.h"

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
const float kNaN = std::numeric_limits<float>::quiet_NaN();

template <class T>
T ReadAs(const std::uint8_t* from) {
    T value;
    std::memcpy(&value, from, sizeof(value));
    return value;
}

TEST(HalfFloat, CutsTheMantissa) {
    struct Case {
        float mValue;
        std::uint16_t mHalf;
    };
    const Case cases[] = {
        {0.0f, 0x0000},       {-0.0f, 0x8000},           {1.0f, 0x3c00},           {-2.0f, 0xc000},
        {0.1f, 0x2e66},  // 0x3dcccccd: the cut bits are a little under half.
        {1.9999999f, 0x3fff}, {65504.0f, 0x7bff},        {65535.0f, 0x7bff},       {65536.0f, 0x7c00},
        {0x1p-14f, 0x0400},   {0x1.fffffep-15f, 0x03ff}, {0x1p-15f, 0x0200},       {0x1.8p-23f, 0x0003},
        {0x1p-24f, 0x0001},   {0x1.fffffep-24f, 0x0001}, {0x1.fffffep-25f, 0},     {-0x1p-25f, 0x8000},
        {1e-40f, 0x0000},     {3.4028235e38f, 0x7c00},   {-3.4028235e38f, 0xfc00}, {kInfinity, 0x7c00},
        {-kInfinity, 0xfc00},
    };
    for (const Case& c : cases) EXPECT_EQ(FloatToHalfTruncated(c.mValue), c.mHalf) << c.mValue;
    EXPECT_EQ(FloatToHalfTruncated(std::bit_cast<float>(0x7fc12345u)), 0x7c01);
    EXPECT_EQ(FloatToHalfTruncated(std::bit_cast<float>(0xff800001u)), 0xfc01);
}

TEST(HalfFloat, EveryHalfComesBack) {
    for (std::uint32_t half = 0; half < 0x10000; ++half) {
        const float value = HalfToFloat(static_cast<std::uint16_t>(half));
        if (std::isnan(value)) {
            EXPECT_TRUE((half & 0x7c00) == 0x7c00 && (half & 0x3ff) != 0);
        } else {
            EXPECT_EQ(FloatToHalfTruncated(value), half);
        }
    }
    EXPECT_EQ(HalfToFloat(0x3555), 0x1.554p-2f);
    EXPECT_EQ(HalfToFloat(0x8001), -0x1p-24f);
}

TEST(SplatPacking, VectorBits) {
    struct Case {
        glm::vec3 mValue;
        std::uint32_t mNorm11;
        std::uint16_t mNorm6;
    };
    const Case cases[] = {
        {{0.0f, 0.0f, 0.0f}, 0x00000000, 0x0000},
        {{1.0f, 1.0f, 1.0f}, 0xffffffff, 0xffff},
        {{1.0f, 0.0f, 0.0f}, 0x000007ff, 0x003f},
        {{0.0f, 1.0f, 0.0f}, 0x001ff800, 0x07c0},
        {{0.0f, 0.0f, 1.0f}, 0xffe00000, 0xf800},
        // 0.5: 1023.75, 511.75 and 1023.75; 31.75, 15.75 and 15.75.
        {{0.5f, 0.5f, 0.5f}, 1023u | 511u << 11 | 1023u << 21, 31 | 15 << 6 | 15 << 11},
        {{0.9998f, 0.9998f, 0.9998f}, 0xffffffff, 0xffff},  // the last step is as wide as the others
        {{-1.0f, 2.0f, kNaN}, 0x001ff800, 0x07c0},
        {{kInfinity, -kInfinity, 1e30f}, 0xffe007ff, 0xf83f},
    };
    for (const Case& c : cases) {
        std::uint8_t out[4];
        PackVector(VectorFormat::Norm11, c.mValue, out);
        EXPECT_EQ(ReadAs<std::uint32_t>(out), c.mNorm11);
        PackVector(VectorFormat::Norm6, c.mValue, out);
        EXPECT_EQ(ReadAs<std::uint16_t>(out), c.mNorm6);
    }
    std::uint8_t wide[12];
    PackVector(VectorFormat::Norm16, {1.0f, 0.5f, kNaN}, wide);
    EXPECT_THAT((ReadAs<std::array<std::uint16_t, 3>>(wide)), testing::ElementsAre(65535, 32767, 0));
    PackVector(VectorFormat::Float32, {0.25f, 7.0f, kNaN}, wide);
    EXPECT_EQ(ReadAs<glm::vec3>(wide), glm::vec3(0.25f, 1.0f, 0.0f));
}

TEST(SplatPacking, ColorBits) {
    std::uint8_t out[16];
    PackColor(ColorFormat::Norm8x4, {1.0f, 0.5f, kNaN, 2.0f}, out);
    EXPECT_EQ(ReadAs<std::uint32_t>(out), 0xff007fffu);
    PackColor(ColorFormat::Float16x4, {1.0f, 0.5f, 0.0f, -2.0f}, out);
    EXPECT_EQ(ReadAs<std::uint64_t>(out), 0xc000'0000'3800'3c00u);
    PackColor(ColorFormat::Float32x4, {1.0f, 5.0f, 0.0f, -2.0f}, out);
    EXPECT_EQ(ReadAs<glm::vec4>(out), glm::vec4(1.0f, 5.0f, 0.0f, -2.0f));
}

TEST(SplatPacking, HarmonicsBits) {
    std::array<float, 45> values{};
    values[0] = values[4] = values[8] = 1.0f;  // Red of coefficient 1, green of 2, blue of 3.
    values[44] = 0.5f;
    std::array<std::uint8_t, 192> out;
    const auto pack = [&](SHFormat format, std::size_t size) {
        out.fill(0xee);
        PackSH(format, values.data(), 15, out.data());
        EXPECT_EQ(out[size], 0xee) << "behind the end";
    };
    pack(SHFormat::Norm6, 32);
    std::array<std::uint16_t, 16> halves{31, 63 << 5, 31 << 11};
    halves[14] = 15 << 11;
    EXPECT_EQ((ReadAs<std::array<std::uint16_t, 16>>(out.data())), halves);
    pack(SHFormat::Norm11, 60);
    std::array<std::uint32_t, 15> words{2047u, 1023u << 11, 2047u << 21};
    words[14] = 1023u << 21;
    EXPECT_EQ((ReadAs<std::array<std::uint32_t, 15>>(out.data())), words);
    pack(SHFormat::Float16, 90);
    EXPECT_EQ(ReadAs<std::uint16_t>(out.data() + 88), 0x3800);
    pack(SHFormat::Float32, 180);
    EXPECT_EQ((ReadAs<std::array<float, 45>>(out.data())), values);
}

}  // namespace
