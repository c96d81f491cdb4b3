#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include "Nimbrel/ShaderConstants.h"
#include "Render/CPU/Image.h"

/// Decoders of an asset's packed blocks. Reading beyond a block gives zeros, as raw GPU buffers do.
namespace nimbrel::cpu {

inline constexpr int kSHCoefficients = 15;

/// Blocks of one asset as they go to the GPU, borrowed.
struct SplatBlocks {
    std::span<const std::byte> mChunks;     ///< `SplatChunkInfo` records
    std::span<const std::byte> mPositions;  ///< `_SplatPos`
    std::span<const std::byte> mOther;      ///< `_SplatOther`: rotation and scale
    std::span<const std::byte> mSH;         ///< `_SplatSH`
    zeb::render::cpu::TextureView mColor;   ///< `_SplatColor`, shared by all assets of a colour format
    gpu::SplatConstants mConstants{};

    std::uint32_t PositionFormat() const { return mConstants._SplatFormat & 255U; }
    std::uint32_t ScaleFormat() const { return (mConstants._SplatFormat >> 8) & 255U; }
    std::uint32_t SHFormat() const { return (mConstants._SplatFormat >> 16) & 255U; }
};

/// Everything of one splat, in asset space.
struct Splat {
    glm::vec3 mPosition;
    glm::vec4 mRotation;  ///< quaternion, vector part first
    glm::vec3 mScale;
    glm::vec3 mColor;  ///< with the constant SH term
    float mOpacity;
    glm::vec3 mSH[kSHCoefficients];
};

gpu::SplatChunkInfo LoadChunk(const SplatBlocks& blocks, std::uint32_t splat);
glm::vec3 DecodePosition(const SplatBlocks& blocks, const gpu::SplatChunkInfo& chunk, std::uint32_t splat);
Splat DecodeSplat(const SplatBlocks& blocks, std::uint32_t splat);

/// Least and greatest value of a chunk's range of two halves.
struct HalfRange {
    explicit HalfRange(std::uint32_t word);
    float mLow;
    float mHigh;

    float Map(float value) const { return mLow + value * (mHigh - mLow); }
};

/// Raw texel of a splat, before the chunk's ranges: red, green, blue, encoded opacity.
glm::vec4 LoadColorTexel(const SplatBlocks& blocks, std::uint32_t splat);

/// Quaternion (vector part first) of a rotation word: three components of 10 bits and the place of the
/// dropped one, which is the largest.
glm::vec4 DecodeRotation(std::uint32_t word);

/// Opacity 0..1 of an encoded value; the encoding spends more steps around one half's ends.
float DecodeOpacity(float encoded, const HalfRange& range);

}  // namespace nimbrel::cpu
