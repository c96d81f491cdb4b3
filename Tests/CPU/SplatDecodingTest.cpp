#include <array>

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

}  // namespace
}  // namespace nimbrel::cpu
