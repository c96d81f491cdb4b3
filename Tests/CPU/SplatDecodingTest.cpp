#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/SplatDecoding.h"
#include "SplatScene.h"

namespace nimbrel::cpu {
namespace {

template <class T>
std::span<const std::byte> Bytes(const T& values) {
    return std::as_bytes(std::span(values));
}

TEST(SplatDecoding, PositionsOfEachFormat) {
    // Chunk ranges 10..20, -1..1, 0..4; the stored vector is about (1/2, 1/4, 3/4) in each format.
    SplatScene scene;
    scene.mChunks[0].posX = {10.0F, 20.0F};
    scene.mChunks[0].posY = {-1.0F, 1.0F};
    scene.mChunks[0].posZ = {0.0F, 4.0F};
    const std::array<float, 3> floats = {0.5F, 0.25F, 0.75F};
    const std::array<std::uint16_t, 3> words16 = {32768, 16384, 49151};
    const std::array<std::uint32_t, 1> word11 = {1024U | 256U << 11 | 1535U << 21};
    const std::array<std::uint16_t, 1> word6 = {static_cast<std::uint16_t>(32 | 8 << 6 | 23 << 11)};
    const struct {
        std::uint32_t mFormat;
        std::span<const std::byte> mBlock;
        double x, y, z;
    } cases[] = {
        {0, Bytes(floats), 0.5, 0.25, 0.75},
        {1, Bytes(words16), 32768 / 65535.0, 16384 / 65535.0, 49151 / 65535.0},
        {2, Bytes(word11), 1024 / 2047.0, 256 / 1023.0, 1535 / 2047.0},
        {3, Bytes(word6), 32 / 63.0, 8 / 31.0, 23 / 31.0},
        {4, Bytes(floats), 0.0, 0.0, 0.0},
        {255, Bytes(floats), 0.0, 0.0, 0.0},
    };
    for (const auto& c : cases) {
        SplatBlocks blocks = scene.Blocks();
        blocks.mPositions = c.mBlock;
        blocks.mConstants._SplatFormat = c.mFormat;
        const glm::vec3 p = DecodePosition(blocks, LoadChunk(blocks, 0), 0);
        EXPECT_NEAR(p.x, 10.0 + 10.0 * c.x, 1e-5) << c.mFormat;
        EXPECT_NEAR(p.y, -1.0 + 2.0 * c.y, 1e-6) << c.mFormat;
        EXPECT_NEAR(p.z, 4.0 * c.z, 1e-6) << c.mFormat;
    }
}

TEST(SplatDecoding, SixByteRecordsStartOnEveryHalfWord) {
    SplatScene scene;
    const std::array<std::uint16_t, 6> words = {1, 2, 3, 65535, 0, 32768};
    SplatBlocks blocks = scene.Blocks();
    blocks.mPositions = Bytes(words);
    blocks.mConstants._SplatFormat = 1;
    const glm::vec3 second = DecodePosition(blocks, LoadChunk(blocks, 1), 1);
    EXPECT_FLOAT_EQ(second.x, 1.0F);
    EXPECT_EQ(second.y, 0.0F);
    EXPECT_NEAR(second.z, 32768 / 65535.0, 1e-7);
    // The third record lies beyond the block and reads as zeros.
    EXPECT_EQ(DecodePosition(blocks, LoadChunk(blocks, 2), 2), glm::vec3(0.0F));
}

TEST(SplatDecoding, EachChunkHasItsOwnRange) {
    SplatScene scene(600);
    scene.mChunks[2].posX = {100.0F, 300.0F};
    scene.SetPosition(511, glm::vec3(0.5F));
    scene.SetPosition(512, glm::vec3(0.5F));
    const SplatBlocks blocks = scene.Blocks();
    EXPECT_EQ(DecodePosition(blocks, LoadChunk(blocks, 511), 511).x, 0.5F);
    EXPECT_EQ(DecodePosition(blocks, LoadChunk(blocks, 512), 512).x, 200.0F);
    scene.mChunks[2].posX = {0.0F, 0.0F};
    EXPECT_EQ(DecodePosition(blocks, LoadChunk(blocks, 512), 512).x, 0.0F);
}

TEST(SplatDecoding, RotationsRestoreTheDroppedComponent) {
    // 256, 512, 768 of 1023 are -0.3532, 0.0007, 0.3546 within sqrt(1/2); the rest makes the length 1.
    const double scale = std::sqrt(2.0) / 1023.0;
    const double a = 256 * scale - std::sqrt(0.5);
    const double b = 512 * scale - std::sqrt(0.5);
    const double c = 768 * scale - std::sqrt(0.5);
    const double d = std::sqrt(1.0 - a * a - b * b - c * c);
    const double expected[4][4] = {{d, a, b, c}, {a, d, b, c}, {a, b, d, c}, {a, b, c, d}};
    for (std::uint32_t dropped = 0; dropped < 4; ++dropped) {
        const glm::vec4 q = DecodeRotation(256U | 512U << 10 | 768U << 20 | dropped << 30);
        for (int i = 0; i < 4; ++i) EXPECT_NEAR(q[i], expected[dropped][i], 1e-6) << dropped << " " << i;
    }
    // Three large components exceed length 1: the dropped one is 0, not NaN.
    EXPECT_EQ(DecodeRotation(0x3FFFFFFFU).x, 0.0F);
}

TEST(SplatDecoding, ScalesAreEighthPowersWithinTheChunk) {
    SplatScene scene;
    scene.mChunks[0].sclX = HalfPair(1.0F, 2.0F);
    scene.mChunks[0].sclY = HalfPair(-0.5F, 0.5F);
    scene.SetScaleRoots(0, {0.5F, 0.0F, 0.75F});
    const glm::vec3 scale = DecodeSplat(scene.Blocks(), 0).mScale;
    EXPECT_NEAR(scale.x, 25.62890625, 1e-5);   // 1.5^8
    EXPECT_FLOAT_EQ(scale.y, 0.00390625F);     // (-0.5)^8
    EXPECT_NEAR(scale.z, 0.1001129150, 1e-8);  // 0.75^8
}

TEST(SplatDecoding, ScaleFormatsAndIndexedSHSetTheStride) {
    // Record 1 begins at byte 4 + vector size (+ 2 with an index); its scale is all ones.
    const struct {
        std::uint32_t mScaleFormat, mSHFormat, mStride, mOnes;
    } cases[] = {{1, 0, 10, 6}, {2, 0, 8, 4}, {3, 0, 6, 2}, {2, 4, 10, 4}, {3, 8, 8, 2}};
    for (const auto& c : cases) {
        SplatScene scene(2);
        std::vector<std::uint8_t> other(64, 0);
        for (std::uint32_t i = 0; i < c.mOnes; ++i) other[c.mStride + 4 + i] = 0xFF;
        if (c.mSHFormat > 3) other[2 * c.mStride - 2] = 3;
        SplatBlocks blocks = scene.Blocks();
        blocks.mOther = Bytes(other);
        std::vector<std::uint16_t> halves(48 * 4, 0);
        halves[48 * 3] = 0x4400;  // 4.0, red of the first coefficient of record 3
        blocks.mSH = Bytes(halves);
        blocks.mConstants._SplatFormat = c.mScaleFormat << 8 | c.mSHFormat << 16;
        const Splat splat = DecodeSplat(blocks, 1);
        EXPECT_NEAR(splat.mScale.x, 1.0F, 1e-4) << c.mScaleFormat;
        EXPECT_NEAR(splat.mScale.y, 1.0F, 1e-4) << c.mScaleFormat;
        EXPECT_NEAR(splat.mScale.z, 1.0F, 1e-4) << c.mScaleFormat;
        if (c.mSHFormat > 3) {
            EXPECT_EQ(splat.mSH[0].x, 4.0F) << "indexed records are halves, outside the chunk's range";
        }
    }
    SplatScene scene;
    SplatBlocks blocks = scene.Blocks();
    blocks.mConstants._SplatFormat = 9U << 8;
    scene.mChunks[0].sclX = HalfPair(0.5F, 1.0F);
    EXPECT_FLOAT_EQ(DecodeSplat(blocks, 0).mScale.x, 0.00390625F);  // an unknown format stores nothing: the least
}

TEST(SplatDecoding, HarmonicsOfEachFormat) {
    SplatScene scene;
    scene.mChunks[0].shR = HalfPair(-1.0F, 1.0F);
    scene.mChunks[0].shG = HalfPair(0.0F, 2.0F);
    scene.mChunks[0].shB = HalfPair(4.0F, 4.0F);
    std::vector<std::uint16_t> halves(48);
    for (std::size_t i = 0; i < 45; ++i) halves[i] = zeb::render::cpu::FloatToHalf(static_cast<float>(i));
    std::vector<std::uint32_t> words(15);
    std::vector<std::uint16_t> shorts(16);
    for (std::uint32_t i = 0; i < 15; ++i) {
        words[i] = (100 * i) | (50 * i) << 11 | 2047U << 21;
        shorts[i] = static_cast<std::uint16_t>(2 * i | (4 * i) << 5 | 31U << 11);
    }
    scene.SetSH(0, 6, {-3.0F, 5.0F, 7.0F});
    SplatBlocks blocks = scene.Blocks();
    EXPECT_EQ(DecodeSplat(blocks, 0).mSH[6], glm::vec3(-3.0F, 5.0F, 7.0F)) << "floats are not mapped";

    blocks.mConstants._SplatFormat = 1U << 16;
    blocks.mSH = Bytes(halves);
    EXPECT_EQ(DecodeSplat(blocks, 0).mSH[14], glm::vec3(-1.0F + 2.0F * 42.0F, 2.0F * 43.0F, 4.0F));
    blocks.mConstants._SplatFormat = 2U << 16;
    blocks.mSH = Bytes(words);
    const glm::vec3 eleven = DecodeSplat(blocks, 0).mSH[10];
    EXPECT_NEAR(eleven.x, -1.0 + 2.0 * 1000 / 2047.0, 1e-5);
    EXPECT_NEAR(eleven.y, 2.0 * 500 / 1023.0, 1e-5);
    EXPECT_EQ(eleven.z, 4.0F);
    blocks.mConstants._SplatFormat = 3U << 16;
    blocks.mSH = Bytes(shorts);
    const glm::vec3 six = DecodeSplat(blocks, 0).mSH[11];
    EXPECT_NEAR(six.x, -1.0 + 2.0 * 22 / 31.0, 1e-6);
    EXPECT_NEAR(six.y, 2.0 * 44 / 63.0, 1e-6);
    EXPECT_EQ(six.z, 4.0F);
}

TEST(SplatDecoding, TexelsLieInMortonOrderInTiles) {
    const struct {
        std::uint32_t mSplat, mX, mY;
    } cases[] = {{0, 0, 0},    {1, 1, 0},    {2, 0, 1},         {3, 1, 1},      {255, 15, 15},
                 {0x2A, 0, 7}, {256, 16, 0}, {32767, 2047, 15}, {32768, 0, 16}, {32768 + 256 + 4, 18, 16}};
    SplatScene scene;
    scene.mColor = zeb::render::cpu::Image(zeb::render::Format::RGBA32Float, 2048, 48);
    SplatBlocks blocks = scene.Blocks();
    blocks.mConstants._SplatColorYOffset = 16;
    for (const auto& c : cases) {
        scene.SetTexel(c.mX, c.mY + 16, glm::vec4(0.75F));
        EXPECT_EQ(LoadColorTexel(blocks, c.mSplat).x, 0.75F) << c.mSplat;
        scene.SetTexel(c.mX, c.mY + 16, glm::vec4(0.0F));
        EXPECT_EQ(LoadColorTexel(blocks, c.mSplat).x, 0.0F) << c.mSplat;
    }
}

TEST(SplatDecoding, ColorsMapAndOpacityUndoesItsSquare) {
    SplatScene scene;
    scene.mChunks[0].colR = HalfPair(-1.0F, 3.0F);
    scene.mChunks[0].colG = HalfPair(0.5F, 0.5F);
    scene.SetTexel(0, 0, {0.5F, 0.3F, 0.25F, 0.0F});
    const Splat splat = DecodeSplat(scene.Blocks(), 0);
    EXPECT_EQ(splat.mColor, glm::vec3(1.0F, 0.5F, 0.25F));
    // Encoded e means 0.5 +- sqrt(|e - 0.5| / 2).
    const HalfRange unit(HalfPair(0.0F, 1.0F));
    EXPECT_EQ(DecodeOpacity(0.0F, unit), 0.0F);
    EXPECT_EQ(DecodeOpacity(1.0F, unit), 1.0F);
    EXPECT_EQ(DecodeOpacity(0.5F, unit), 0.5F);
    EXPECT_FLOAT_EQ(DecodeOpacity(0.625F, unit), 0.75F);
    EXPECT_FLOAT_EQ(DecodeOpacity(0.375F, unit), 0.25F);
}

}  // namespace
}  // namespace nimbrel::cpu
