#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Nimbrel/CPU/SplatQuad.h"
#include "PluginBase/Render/Types.h"

/// Splats made ready for the draw and blended into one screen tile, several splats or several pixels at a time by the
/// widest vectors of the machine; the result is the same for every width.
namespace nimbrel::cpu {

inline constexpr std::int32_t kSplatTileSize = 32;
inline constexpr std::size_t kSplatTilePixels = 1024;
/// A tile's pixels lie in blocks of 4 x 4, blocks and the pixels in them row by row.
inline constexpr std::int32_t kSplatBlockSize = 4;
inline constexpr std::int32_t kSplatTileBlocks = kSplatTileSize / kSplatBlockSize;
inline constexpr std::size_t kSplatTileBlockCount = std::size_t{kSplatTileBlocks} * kSplatTileBlocks;

/// How a target's format rounds what is stored.
enum class TileRounding { None, Unorm8, Unorm16, Half };

/// What the splats of a draw are made of.
struct SplatSource {
    std::span<const gpu::SplatViewData> mRecords;
    const gpu::TextureConstants& mConstants;
    zeb::render::cpu::Viewport mViewport;
};

/// A splat that waits to be drawn, one cache line. It shows inside the ellipse |q|^2 <= R^2 within the quad |q| <= 2,
/// where q is the place in the quad; y counts pixels down from the middle.
struct alignas(64) PreparedSplat {
    float mAlongXx, mAlongXy, mAlongYx, mAlongYy;  ///< SplatQuad::mAlongX and mAlongY
    float mColor[4];                               ///< red, green, blue, opacity
    std::int32_t mMiddleX, mMiddleY;               ///< SplatQuad::mMiddleX and mMiddleY
    /// |qx| and |qy| up to this are in the quad for sure, from 4 - mInner on outside; or kScalar.
    float mInner;
    float mShear;      ///< the ellipse's rows have their middles at mShear * y
    float mHalfWidth;  ///< and reach mHalfWidth * sqrt(1 - y * y * mInverseHeight) to both sides
    float mInverseHeight;
    float mRightRow;  ///< y of its rightmost point; the leftmost lies across
    std::uint32_t mRecord;

    static constexpr float kScalar = -1.0F;  ///< of mInner: for the scalar form, all but mRecord says nothing
    bool IsScalar() const { return mInner == kScalar; }
};

/// Tiles [mLeft, mRight) x [mTop, mBottom) that a splat may show in, counted from the target's origin.
struct TileBox {
    std::uint16_t mLeft, mTop, mRight, mBottom;

    bool IsEmpty() const { return mLeft >= mRight || mTop >= mBottom; }
};

/// Makes the splats of `order` ready: as many elements of `splats` and `boxes`, inside the scissor. What shows nowhere,
/// indices beyond the records included, gets an empty box, with undefined contents of its splat.
void PrepareSplats(const SplatSource& source, const zeb::render::cpu::Scissor& scissor,
                   std::span<const std::uint32_t> order, PreparedSplat* splats, TileBox* boxes);

/// The texels of a tile as floats, one plane a channel, as the format has rounded them.
struct SplatTile {
    alignas(64) float mChannels[4][kSplatTilePixels];
    std::int32_t mLeft;
    std::int32_t mTop;
    TileRounding mRounding;
    /// The least that a splat must add to be blended: half a step of bytes and words, with room for rounding. Of floats
    /// the least share that must still be free; below 0 for all.
    float mLeastChange;
    bool mExpectScalar;  ///< there may be splats for the scalar form
};

/// Row `y` of the tile from and to as many colours as it is wide, red first.
void LoadTileRow(const float* rgba, std::int32_t y, SplatTile& tile);
void StoreTileRow(const SplatTile& tile, std::int32_t y, float* rgba);

/// Draws the splats that `entries` names, in order, up to the first for the scalar form; returns how many are done
/// with.
std::size_t DrawSplatsInTile(SplatTile& tile, const SplatSource& source, std::span<const std::uint32_t> entries,
                             const PreparedSplat* splats);

}  // namespace nimbrel::cpu
