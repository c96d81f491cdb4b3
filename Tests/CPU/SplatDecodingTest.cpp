#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/ExportData.h"
#include "SplatScene.h"

// Most of the decoding is tested by the round trip of whole assets; here is what no asset holds.
namespace nimbrel::cpu {
namespace {

template <class T>
std::span<const std::byte> Bytes(const T& values) {
    return std::as_bytes(std::span(values));
}

TEST(SplatDecoding, WhatABlockDoesNotHoldIsZero) {
    SplatScene scene;
    const std::array<std::uint16_t, 6> words = {1, 2, 3, 65535, 0, 32768};
    SplatBlocks blocks = scene.Blocks();
    blocks.mPositions = Bytes(words);
    blocks.mConstants._SplatFormat = 1;
    // Six-byte records start on every half word.
    const glm::vec3 second = ExportSplat(blocks, 1).pos;
    EXPECT_FLOAT_EQ(second.x, 1.0F);
    EXPECT_EQ(second.y, 0.0F);
    EXPECT_NEAR(second.z, 32768 / 65535.0, 1e-7);
    EXPECT_EQ(ExportSplat(blocks, 2).pos, glm::vec3(0.0F));
    for (const std::uint32_t unknown : {4U, 255U}) {
        blocks.mConstants._SplatFormat = unknown;
        EXPECT_EQ(ExportSplat(blocks, 0).pos, glm::vec3(0.0F)) << unknown;
    }
    scene.mChunks[0].posX = {3.0F, 3.0F};
    EXPECT_EQ(ExportSplat(scene.Blocks(), 0).pos.x, 3.0F) << "a range without width";
    // Three large components exceed length 1: the dropped one is 0, not NaN.
    scene.SetRotation(0, 1023, 1023, 1023, 0);
    EXPECT_EQ(ExportSplat(scene.Blocks(), 0).rot.y, 0.0F);
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
        const gpu::ExportSplatData splat = ExportSplat(blocks, 1);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(splat.scale[i], 0.0F, 1e-4) << c.mScaleFormat;
        if (c.mSHFormat > 3) {
            EXPECT_EQ(splat.shR14.x, 4.0F) << "indexed records are halves, outside the chunk's range";
        }
    }
    SplatScene scene;
    SplatBlocks blocks = scene.Blocks();
    blocks.mConstants._SplatFormat = 9U << 8;
    scene.mChunks[0].sclX = HalfPair(0.5F, 1.0F);
    EXPECT_FLOAT_EQ(ExportSplat(blocks, 0).scale.x,
                    std::log(0.00390625F));  // an unknown format stores nothing: the least
}

}  // namespace
}  // namespace nimbrel::cpu
