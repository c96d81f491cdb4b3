#include <numeric>

#include "DeviceFixture.h"

namespace zeb::render {
namespace {

using CopyTest = DeviceFixture;

std::vector<std::uint8_t> MakeBytes(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 37 + i / 251);
    return bytes;
}

TEST_F(CopyTest, BuffersKeepEveryByteAndOnlyTheRangeIsWritten) {
    const auto bytes = MakeBytes(1000);
    const auto source = MakeUpload(bytes);
    const auto target = MakeBuffer(1000);
    Run([&](CommandList& list) {
        const auto encoder = list.CreateCopyCommandEncoder();
        encoder->CopyBuffer(*target, 0, *source, 0, 1000);
        // Order within one list: the second copy overwrites part of the first.
        encoder->CopyBuffer(*target, 100, *source, 3, 50);
        encoder->CopyBuffer(*target, 7, *source, 0, 0);
        encoder->End();
    });
    auto expected = bytes;
    std::copy_n(bytes.begin() + 3, 50, expected.begin() + 100);
    EXPECT_EQ(Read<std::uint8_t>(*target), expected);
}

TEST_F(CopyTest, TexturesOfAllFormatsComeBackAsTheyWere) {
    for (const Format format :
         {Format::RGBA32Float, Format::RGBA16Float, Format::RGBA16Unorm, Format::RGBA8Unorm, Format::R32Float}) {
        const auto texture = MakeTexture(format, 13, 7);
        auto bytes = MakeBytes(13U * 7U * GetBytesPerPixel(format));
        Upload(*texture, bytes.data(), bytes.size());
        const std::vector<std::byte> result = ReadBytes(*texture);
        ASSERT_EQ(result.size(), bytes.size());
        EXPECT_EQ(std::memcmp(result.data(), bytes.data(), bytes.size()), 0) << static_cast<std::uint32_t>(format);
    }
}

TEST_F(CopyTest, RegionsFollowOffsetsAndPitch) {
    std::vector<std::uint32_t> pixels(8 * 6, 0xffffffffU);
    const auto texture = MakeTexture(Format::RGBA8Unorm, 8, 6);
    Upload(*texture, pixels.data(), pixels.size() * 4);
    // Three rows of two texels at (5, 2), 12 texels apart in the buffer and 4 texels from its start.
    std::vector<std::uint32_t> rows(4 + 12 * 3);
    std::iota(rows.begin(), rows.end(), 1000U);
    const auto source = MakeUpload(rows);
    const TextureRegion region = {5, 2, 2, 3, 0, 0};
    const auto back = MakeBuffer(200);
    const auto zeros = MakeUpload(std::vector<std::uint32_t>(50, 0));
    Copy([&](CopyCommandEncoder& encoder) {
        encoder.CopyToTextureFromBuffer(*texture, region, *source, 16, 48);
        encoder.CopyBuffer(*back, 0, *zeros, 0, 200);
        encoder.CopyToBufferFromTexture(*back, 8, 64, *texture, region);
    });
    const std::vector<std::uint32_t> result = Read<std::uint32_t>(*back);
    for (std::uint32_t i = 0; i < 50; ++i) {
        std::uint32_t expected = 0;
        for (std::uint32_t row = 0; row < 3; ++row) {
            const std::uint32_t first = 2 + row * 16;
            if (i == first || i == first + 1) expected = 1000 + 4 + row * 12 + (i - first);
        }
        EXPECT_EQ(result[i], expected) << i;
    }
    std::vector<std::uint32_t> whole(8 * 6);
    const auto bytes = ReadBytes(*texture);
    std::memcpy(whole.data(), bytes.data(), bytes.size());
    for (std::uint32_t row = 0; row < 3; ++row) {
        for (std::uint32_t x = 0; x < 2; ++x) pixels[(row + 2) * 8 + x + 5] = 1004 + row * 12 + x;
    }
    EXPECT_EQ(whole, pixels);
}

}  // namespace
}  // namespace zeb::render
