#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include "Nimbrel/GaussianSplatAsset.h"
#include "Nimbrel/ShaderConstants.h"
#include "Render/CPU/HalfConversion.h"
#include "Render/CPU/Image.h"

/// An asset's packed blocks, and their fields read one splat at a time. Reading beyond a block gives zeros, as raw GPU
/// buffers do.
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

/// The asset's blocks; its colour texture is not shared.
SplatBlocks MakeBlocks(const GaussianSplatAsset& asset);

/// A splat's position in asset space.
glm::vec3 DecodePosition(const SplatBlocks& blocks, std::uint32_t splat);

/// The chunk that a splat is in; zeros for one that the block does not hold whole.
gpu::SplatChunkInfo LoadChunk(const SplatBlocks& blocks, std::uint32_t splat);

/// A splat's position as stored, 0 to 1 within its chunk's range unless the format holds floats.
glm::vec3 LoadPosition(const SplatBlocks& blocks, std::uint32_t splat);

/// All fields of a splat as stored: its rotation's word, and numbers before the chunk's ranges.
struct StoredSplat {
    glm::vec3 mPosition;
    std::uint32_t mRotation;
    glm::vec3 mScale;
    glm::vec4 mTexel;  ///< red, green, blue, encoded opacity
    bool mIsSHMapped;  ///< whether the chunk's ranges apply to the coefficients
    glm::vec3 mSH[kSHCoefficients];
};
StoredSplat LoadSplat(const SplatBlocks& blocks, std::uint32_t splat);

/// Least and greatest value of a chunk's range of two halves.
struct HalfRange {
    explicit HalfRange(std::uint32_t word)
        : mLow(zeb::render::cpu::HalfToFloat(static_cast<std::uint16_t>(word & 0xFFFFU))),
          mHigh(zeb::render::cpu::HalfToFloat(static_cast<std::uint16_t>(word >> 16))) {}
    float mLow;
    float mHigh;
};

/// Steps between 0 and 1 of fields of 16, 11, 10, 6 and 5 bits, as the programs hold them.
inline constexpr float kStep16 = 1.52590219e-05F;
inline constexpr float kStep11 = 0.000488519785F;
inline constexpr float kStep10 = 0.000977517106F;
inline constexpr float kStep6 = 0.0158730168F;
inline constexpr float kStep5 = 0.0322580636F;

}  // namespace nimbrel::cpu
