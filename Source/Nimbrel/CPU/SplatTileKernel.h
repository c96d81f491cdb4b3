#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Nimbrel/CPU/SplatQuad.h"

/// Blends quads into one screen tile, several pixels at a time, by the widest vectors of the machine; the result is the
/// same for every width.
namespace nimbrel::cpu {

inline constexpr std::int32_t kSplatTileSize = 32;
inline constexpr std::size_t kSplatTilePixels = 1024;

/// How a target's format rounds what is stored.
enum class TileRounding { None, Unorm8, Unorm16, Half };

/// Pixels [mLeft, mRight) x [mTop, mBottom).
struct PixelBox {
    std::int32_t mLeft, mTop, mRight, mBottom;

    bool IsEmpty() const { return mLeft >= mRight || mTop >= mBottom; }
};

/// A splat that waits to be drawn.
struct BinnedSplat {
    SplatQuad mQuad;
    PixelBox mBox;  ///< where it may show, inside the scissor
    bool mScalar;   ///< for the scalar form; mQuad says nothing
};

/// The texels of a tile as floats, one plane a channel, as the format has rounded them.
struct SplatTile {
    alignas(64) float mChannels[4][kSplatTilePixels];
    std::int32_t mLeft;
    std::int32_t mTop;
    TileRounding mRounding;
    float mFull;  ///< alpha of a pixel that no splat changes any more: 1, or NaN if there is none
};

/// Draws the quads of `splats` that `entries` names, in order, up to the first for the scalar form; returns how many.
std::size_t DrawQuadsInTile(SplatTile& tile, std::span<const std::uint32_t> entries, const BinnedSplat* splats);

}  // namespace nimbrel::cpu
