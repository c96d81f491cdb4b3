#include "NimbrelHost/Pictures/Picture.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <png.h>

#include <cstring>

#include "NimbrelHost/Commands/World.h"
#include "TestSupport.h"

namespace nimbrel::host {
namespace {

/// A frame of one row from words in the host's order: alpha, red, green, blue.
template <class Word>
Frame MakeFrame(int bits, const std::vector<Word>& argb) {
    Frame frame(static_cast<int>(argb.size() / 4), 1, bits);
    std::memcpy(frame.mPixels.data(), argb.data(), frame.mPixels.size());
    return frame;
}

/// RGBA words of a PNG file and its depth, read by libpng.
std::vector<int> ReadPng(const std::filesystem::path& file, int& bits) {
    std::FILE* const stream = std::fopen(file.c_str(), "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, stream);
    png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    bits = png_get_bit_depth(png, info);
    EXPECT_EQ(png_get_color_type(png, info), PNG_COLOR_TYPE_RGB_ALPHA);
    std::vector<int> words;
    for (png_uint_32 y = 0; y < png_get_image_height(png, info); ++y) {
        const png_bytep row = png_get_rows(png, info)[y];
        for (png_uint_32 i = 0; i < png_get_image_width(png, info) * 4; ++i) {
            words.push_back(bits == 8 ? row[i] : row[2 * i] * 256 + row[2 * i + 1]);
        }
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(stream);
    return words;
}

TEST(Png, StoresWordsAsTheyAreOrScaledToWhite) {
    const TestFolder folder;
    int bits = 0;
    const Frame eight = MakeFrame<std::uint8_t>(8, {255, 1, 2, 3, 0, 200, 100, 50, 128, 255, 127, 0});
    WritePng(folder / "8.png", eight, {});
    EXPECT_EQ(ReadPng(folder / "8.png", bits), (std::vector<int>{1, 2, 3, 255, 200, 100, 50, 0, 255, 127, 0, 128}));
    EXPECT_EQ(bits, 8);
    // 65535 / 32768 a word, rounded, at most 65535.
    const Frame sixteen = MakeFrame<std::uint16_t>(16, {32768, 0, 1, 16383, 16384, 32767, 32768, 65535});
    WritePng(folder / "16.png", sixteen, {});
    EXPECT_EQ(ReadPng(folder / "16.png", bits), (std::vector<int>{0, 2, 32766, 65535, 65533, 65535, 65535, 32768}));
    EXPECT_EQ(bits, 16);
    EXPECT_THROW(WritePng(folder / "32.png", Frame(1, 1, 32), {}), OutputError);
    EXPECT_THROW(WritePng(folder / "none/8.png", eight, {}), OutputError);
}

TEST(Png, PremultipliesAndComposites) {
    const TestFolder folder;
    int bits = 0;
    const Frame frame = MakeFrame<std::uint8_t>(8, {51, 200, 100, 0, 0, 255, 255, 255, 255, 9, 8, 7});
    WritePng(folder / "p.png", frame, {AlphaMode::Premultiplied, std::nullopt});
    EXPECT_EQ(ReadPng(folder / "p.png", bits), (std::vector<int>{40, 20, 0, 51, 0, 0, 0, 0, 9, 8, 7, 255}));
    WritePng(folder / "b.png", frame, {AlphaMode::Straight, glm::dvec3(1, 0, 0.5)});
    // 0.2 of the colour and 0.8 of (255, 0, 127.5).
    EXPECT_EQ(ReadPng(folder / "b.png", bits), (std::vector<int>{244, 20, 102, 255, 255, 0, 128, 255, 9, 8, 7, 255}));
}

std::vector<float> ReadExr(const std::filesystem::path& file) {
    Imf::InputFile input(file.c_str());
    const auto window = input.header().dataWindow();
    const int width = window.max.x - window.min.x + 1;
    std::vector<float> words(static_cast<std::size_t>(width) * 4);
    Imf::FrameBuffer buffer;
    const char* const names[] = {"R", "G", "B", "A"};
    for (std::size_t c = 0; c < 4; ++c) {
        EXPECT_EQ(input.header().channels()[names[c]].type, Imf::FLOAT);
        buffer.insert(names[c], Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(words.data() + c), 16, 0));
    }
    input.setFrameBuffer(buffer);
    input.readPixels(window.min.y, window.max.y);
    return words;
}

TEST(Exr, KeepsFloatsBitForBit) {
    const TestFolder folder;
    const Frame frame = MakeFrame<float>(32, {1, -0.5F, 1e-30F, 7.25F, 0.25F, 4, 0, 65536});
    WriteExr(folder / "s.exr", frame, {AlphaMode::Straight, std::nullopt});
    EXPECT_EQ(ReadExr(folder / "s.exr"), (std::vector<float>{-0.5F, 1e-30F, 7.25F, 1, 4, 0, 65536, 0.25F}));
    WriteExr(folder / "p.exr", frame, {AlphaMode::Premultiplied, std::nullopt});
    EXPECT_EQ(ReadExr(folder / "p.exr"), (std::vector<float>{-0.5F, 1e-30F, 7.25F, 1, 1, 0, 16384, 0.25F}));
    EXPECT_THROW(WriteExr(folder / "none/s.exr", frame, {}), OutputError);
}

TEST(World, LandsAtItsOriginAndGuardsItsPadding) {
    World world({3, 2, 8, 4, -1, 16, 0x11});
    EXPECT_EQ(world.GetFormat(), PF_PixelFormat_ARGB32);
    EXPECT_GT(world.GetRecord()->rowbytes, 12);
    for (int y = 0; y < 2; ++y) {
        auto* row = reinterpret_cast<std::uint8_t*>(world.GetRecord()->data) + y * world.GetRecord()->rowbytes;
        std::fill(row, row + 12, static_cast<std::uint8_t>(50 + y));
    }
    EXPECT_TRUE(world.IsPaddingUntouched());
    Frame frame(6, 2, 8);
    world.CopyInto(frame);
    // Only its second row and first two columns lie inside the frame, in the upper right corner.
    for (int i = 0; i < 48; ++i) EXPECT_EQ(frame.mPixels[static_cast<std::size_t>(i)], i >= 16 && i < 24 ? 51 : 0) << i;
    reinterpret_cast<std::uint8_t*>(world.GetRecord()->data)[12] = 0;
    EXPECT_FALSE(world.IsPaddingUntouched());
    PF_EffectWorld copy = *world.GetRecord();
    EXPECT_EQ(World::FromRecord(&copy), &world);
    copy.platform_ref = &copy;
    EXPECT_EQ(World::FromRecord(&copy), nullptr);
}

}  // namespace
}  // namespace nimbrel::host
