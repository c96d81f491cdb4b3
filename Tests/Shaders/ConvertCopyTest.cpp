#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <random>

#include "GpuHarness.h"
#include "Nimbrel/ShaderConstants.h"
#include "Render/CPU/Convert.h"
#include "Render/CPU/Copy.h"
#include "Render/CPU/HalfConversion.h"

// The Convert and Copy programs on the device: against hand-worked values and
// against their C++ twins.
namespace nimbrel::test {
namespace {

using zeb::render::Format;

constexpr const char* kDepths[] = {"U8", "U16", "I16", "F16", "F32"};
constexpr const char* kLayouts[] = {"RGBA", "RGB", "Alpha", "ARGB"};
constexpr std::uint32_t kGroupWidths[] = {2, 4, 4, 4, 8};
constexpr std::uint32_t kChannelBytes[] = {1, 2, 2, 2, 4};
constexpr std::uint32_t kChannels[] = {4, 3, 1, 4};

/// A picture of floats, four a pixel.
struct Picture {
    std::uint32_t mWidth = 0;
    std::uint32_t mHeight = 0;
    std::vector<float> mTexels;
};

Picture RandomPicture(std::uint32_t width, std::uint32_t height, float low, float high) {
    std::mt19937 random(width * 31 + height);
    std::uniform_real_distribution<float> value(low, high);
    Picture picture{width, height, std::vector<float>(std::size_t{width} * height * 4)};
    for (float& v : picture.mTexels) v = value(random);
    return picture;
}

/// The picture's texels in a format, as the device and the twin both read them.
Bytes Encode(const Picture& picture, Format format) {
    Bytes bytes(std::size_t{picture.mWidth} * picture.mHeight * zeb::render::GetBytesPerPixel(format));
    const std::size_t size = zeb::render::GetBytesPerPixel(format);
    for (std::size_t i = 0; i < picture.mTexels.size() / 4; ++i) {
        const float* t = &picture.mTexels[i * 4];
        zeb::render::cpu::EncodeTexel(format, {t[0], t[1], t[2], t[3]}, bytes.data() + i * size);
    }
    return bytes;
}

Bytes CopyOnDevice(int depth, int layout, const gpu::CopyConstants& constants, Format format, const Picture& picture,
                   const Bytes& texels, const Bytes& destination) {
    GpuRun run;
    GpuTexture& texture = run.AddTexture(format, picture.mWidth, picture.mHeight, texels);
    GpuBuffer& buffer = run.AddBuffer(destination);
    const std::uint32_t width = kGroupWidths[depth];
    run.Dispatch(std::string("Copy") + kDepths[depth] + kLayouts[layout],
                 {{"b0", nullptr, nullptr, RecordBytes(constants), 0},
                  {"t0", nullptr, &texture, {}, 0},
                  {"u1", &buffer, nullptr, {}, 0}},
                 (constants.size.x + width - 1) / width, (constants.size.y + 7) / 8);
    run.Execute();
    return GpuRun::Read(buffer);
}

Bytes CopyOnProcessor(int depth, int layout, const gpu::CopyConstants& constants, Format format, const Picture& picture,
                      const Bytes& texels, Bytes destination) {
    const zeb::render::cpu::TextureView view{texels.data(), format, picture.mWidth, picture.mHeight, 1};
    zeb::render::cpu::CopyConstants twin{};
    std::memcpy(&twin, &constants, sizeof twin);
    zeb::render::cpu::Copy(view, static_cast<zeb::PixelChannels>(layout), static_cast<zeb::ChannelFormat>(depth), twin,
                           0, constants.size.y, destination);
    return destination;
}

TEST(Copy, AllTwentyProgramsWriteTheirTwinsBytes) {
    const Picture picture = RandomPicture(23, 19, -0.3F, 1.4F);
    for (const Format format : {Format::RGBA32Float, Format::RGBA16Float}) {
        const Bytes texels = Encode(picture, format);
        for (int depth = 0; depth < 5; ++depth) {
            for (int layout = 0; layout < 4; ++layout) {
                for (const std::uint32_t width : {1U, 2U, 3U, 4U, 13U}) {
                    SCOPED_TRACE(std::string(kDepths[depth]) + kLayouts[layout] + " " + std::to_string(width));
                    gpu::CopyConstants constants{};
                    constants.size = {width, 11};
                    constants.srcOffset = {5, 3};
                    constants.dstOffsetPixels = {4, 2};
                    const std::uint32_t row = (4 + 16) * kChannels[layout] * kChannelBytes[depth];
                    constants.dstRowPitchBytes = (row + 3) / 4 * 4 + 8;
                    const Bytes start(std::size_t{constants.dstRowPitchBytes} * 15, std::byte{0xA5});
                    EXPECT_EQ(CopyOnDevice(depth, layout, constants, format, picture, texels, start),
                              CopyOnProcessor(depth, layout, constants, format, picture, texels, start));
                }
            }
        }
    }
}

// All exponents and the mantissas around every rounding edge, both signs.
TEST(Copy, HalvesRoundToTheNearestEven) {
    Picture picture{256, 64, {}};
    for (std::uint32_t exponent = 0; exponent < 256; ++exponent) {
        for (std::uint32_t k = 0; k < 256; ++k) {
            const std::uint32_t high = (k >> 4) * 0x08421U & 0x7FE000U;
            constexpr std::uint32_t kLow[] = {0,      1,      0xFFF,  0x1000, 0x1001, 0x1FFF, 0x0800, 0x1800,
                                              0x2000, 0x2FFF, 0x3000, 0x3001, 0x7000, 0x3FFF, 0x0FFE, 0x7FFFFF};
            const std::uint32_t mantissa = (high + kLow[k & 15]) & 0x7FFFFFU;
            picture.mTexels.push_back(std::bit_cast<float>(((k & 1U) << 31) | (exponent << 23) | mantissa));
        }
    }
    ASSERT_EQ(picture.mTexels.size(), std::size_t{256} * 64 * 4);
    gpu::CopyConstants constants{};
    constants.size = {256, 64};
    constants.dstRowPitchBytes = 256 * 8;
    const Bytes texels = ToBytes(picture.mTexels);
    const Bytes written =
        CopyOnDevice(3, 0, constants, Format::RGBA32Float, picture, texels, Bytes(256 * 8 * 64, std::byte{0}));
    const auto halves = FromBytes<std::uint16_t>(written, 0, picture.mTexels.size());
    for (std::size_t i = 0; i < halves.size(); ++i) {
        ASSERT_EQ(halves[i], zeb::render::cpu::FloatToHalf(picture.mTexels[i])) << picture.mTexels[i];
    }
}

std::vector<float> Convert(const char* program, const Picture& picture) {
    GpuRun run;
    GpuTexture& texture =
        run.AddTexture(Format::RGBA32Float, picture.mWidth, picture.mHeight, ToBytes(picture.mTexels));
    const gpu::ConvertConstants constants{{picture.mWidth, picture.mHeight}};
    GpuTexture& target =
        run.Draw(program, {{"b0", nullptr, nullptr, RecordBytes(constants), 0}, {"t0", nullptr, &texture, {}, 0}},
                 Format::RGBA32Float, picture.mWidth, picture.mHeight, 4);
    run.Execute();
    return FromBytes<float>(GpuRun::Read(target), 0, picture.mTexels.size());
}

TEST(Convert, NoneGivesEveryTexelInItsPlace) {
    const Picture picture = RandomPicture(61, 37, -1.0F, 2.0F);
    EXPECT_EQ(Convert("ConvertNone", picture), picture.mTexels);
}

TEST(Convert, UnmultiplyIsItsTwins) {
    Picture picture = RandomPicture(64, 48, 0.0F, 1.0F);
    // Alphas around the least that is divided by.
    const float edge = 0.00100000005F;
    const float alphas[] = {edge, std::nextafter(edge, 0.0F), 0.0F, -1.0F};
    for (std::size_t i = 0; i < std::size(alphas); ++i) picture.mTexels[4 * i + 3] = alphas[i];
    const std::vector<float> converted = Convert("ConvertUnmultiply", picture);
    for (std::size_t i = 0; i < converted.size(); i += 4) {
        const float* t = &picture.mTexels[i];
        const glm::vec4 twin = zeb::render::cpu::Unmultiply({t[0], t[1], t[2], t[3]});
        for (int k = 0; k < 4; ++k) ASSERT_EQ(converted[i + static_cast<std::size_t>(k)], twin[k]) << i;
    }
}

}  // namespace
}  // namespace nimbrel::test
