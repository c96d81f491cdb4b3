#include "Nimbrel/CPU/SplatTileKernel.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/SplatTileKernel.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "Nimbrel/CPU/SplatPixel-inl.h"
#include "Render/CPU/VectorConversion-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

namespace convert = zeb::render::cpu::HWY_NAMESPACE;

using Floats = hn::Vec<FloatTag>;
using PixelMask = hn::Mask<FloatTag>;

/// Splats between two looks at how much the blocks still let through.
constexpr std::size_t kShareInterval = 32;
constexpr std::size_t kBlockPixels = 16;
constexpr std::size_t kLanes = kMostLanes;
static_assert(kLanes <= kBlockPixels);
constexpr std::size_t kVectors = kBlockPixels / kLanes;  ///< of a block

/// Blocks of the tile that a splat may show in, a byte for each row of blocks, a bit for each block.
HWY_INLINE std::uint64_t FindBlocks(const SplatTile& tile, const PreparedSplat& splat) {
    using RowTag = hn::CappedTag<float, kSplatTileBlocks>;
    constexpr float kMargin = 0.0625F;
    constexpr float kSize = kSplatBlockSize;
    const RowTag d;
    const hn::RebindToSigned<RowTag> di;
    constexpr float kPixel = 1.0F / kSplatSteps;
    const float middleX = static_cast<float>(splat.mMiddleX - kSplatSteps * tile.mLeft) * kPixel;
    const float middleY = static_cast<float>(splat.mMiddleY - kSplatSteps * tile.mTop) * kPixel;
    const auto zero = hn::Zero(d);
    const auto one = hn::Set(d, 1.0F);
    const auto inverseHeight = hn::Set(d, splat.mInverseHeight);
    const auto shear = hn::Set(d, splat.mShear);
    const auto halfWidth = hn::Set(d, splat.mHalfWidth);
    const auto rightRow = hn::Set(d, splat.mRightRow);
    const auto height = [&](hn::Vec<RowTag> y) HWY_ATTR { return hn::Sub(one, hn::Mul(hn::Mul(y, y), inverseHeight)); };
    const hn::Rebind<std::uint8_t, RowTag> d8;
    std::uint8_t rowBits[kSplatTileBlocks];
    for (std::size_t row = 0; row < kSplatTileBlocks; row += hn::Lanes(d)) {
        // Pixel centres of the first and the last row of the blocks, from the splat's middle.
        const auto rows = hn::Iota(d, static_cast<float>(row));
        const auto top = hn::Add(hn::Mul(rows, hn::Set(d, kSize)), hn::Set(d, 0.5F - middleY));
        const auto bottom = hn::Add(top, hn::Set(d, kSize - 1.0F));
        const auto within = [&](hn::Vec<RowTag> y) HWY_ATTR { return hn::Min(hn::Max(y, top), bottom); };
        const auto edge = [&](hn::Vec<RowTag> y)
                              HWY_ATTR { return hn::Mul(halfWidth, hn::Sqrt(hn::Max(height(y), zero))); };
        const auto rightY = within(rightRow);
        const auto leftY = within(hn::Neg(rightRow));
        const auto right = hn::Add(hn::Mul(shear, rightY), edge(rightY));
        const auto left = hn::Sub(hn::Mul(shear, leftY), edge(leftY));
        const auto toBlock = [&](hn::Vec<RowTag> x, float margin) HWY_ATTR {
            const auto block = hn::Mul(hn::Add(x, hn::Set(d, middleX - 0.5F + margin)), hn::Set(d, 1.0F / kSize));
            const auto limit = hn::Set(d, static_cast<float>(kSplatTileBlocks));
            return hn::ConvertTo(di, hn::Floor(hn::Min(hn::Max(block, hn::Set(d, -1.0F)), limit)));
        };
        const auto last = hn::Set(di, kSplatTileBlocks);
        const auto begin = hn::Max(toBlock(left, -kMargin), hn::Zero(di));
        const auto end = hn::Min(hn::Add(toBlock(right, kMargin), hn::Set(di, 1)), last);
        const auto reached = hn::RebindMask(di, hn::Ge(height(within(zero)), zero));
        const auto bits = hn::Sub(hn::Shl(hn::Set(di, 1), hn::Max(begin, end)), hn::Shl(hn::Set(di, 1), begin));
        hn::StoreU(hn::DemoteTo(d8, hn::IfThenElseZero(reached, bits)), d8, rowBits + row);
    }
    std::uint64_t blocks = 0;
    static_assert(sizeof blocks == sizeof rowBits && std::endian::native == std::endian::little);
    std::memcpy(&blocks, rowBits, sizeof blocks);
    return blocks;
}

template <TileRounding kRounding>
constexpr bool kIsNormalised = kRounding == TileRounding::Unorm8 || kRounding == TileRounding::Unorm16;

/// What the target's format makes of a sum of two numbers that are not negative.
template <TileRounding kRounding>
HWY_INLINE Floats Rounded(Floats v) {
    const FloatTag d;
    if constexpr (kRounding == TileRounding::None) return v;
    if constexpr (kRounding == TileRounding::Half) return convert::VectorToNearestHalf(d, v);
    if constexpr (kIsNormalised<kRounding>) {
        constexpr std::uint32_t kSteps = kRounding == TileRounding::Unorm8 ? 255 : 65535;
        const auto clamped = hn::Min(v, hn::Set(d, 1.0F));
        return convert::VectorFromStep<kSteps>(d, convert::VectorToStep<kSteps>(d, clamped));
    }
}

/// What a splat's brightest channel is of its alpha: sources are clamped to 1, and none is brighter than that.
HWY_INLINE float FindBrightest(const PreparedSplat& splat) {
    return std::max({1.0F, splat.mColor[0], splat.mColor[1], splat.mColor[2]});
}

/// Those of `shown` that a splat changes, by its alpha and the share that it is blended with. Bytes and words keep
/// their value where all that is added is less than half a step; floats are left alone where next to nothing shines
/// through.
template <bool kNormalised>
HWY_INLINE PixelMask KeepChanged(PixelMask shown, Floats alpha, Floats share, Floats leastChange) {
    if constexpr (kNormalised) return hn::And(shown, hn::Ge(hn::Mul(alpha, share), leastChange));
    return hn::AndNot(hn::Lt(hn::Abs(share), leastChange), shown);
}

/// A splat's alpha in those vectors of a tile's pixels that it changes; 0 in pixels that it leaves alone.
struct FadedPixels {
    /// One more than the tile has: a vector is written before it is known to count.
    alignas(64) float mAlpha[kSplatTilePixels + kLanes];
    std::uint16_t mFirst[kSplatTilePixels / kLanes + 1];  ///< pixels in the tile
    std::size_t mCount;
};

/// Where the pixels of vectors lie in a splat's quad.
class PixelPlaces {
public:
    HWY_INLINE PixelPlaces(const SplatTile& tile, const PreparedSplat& splat)
        : mAlongXx(splat.mAlongXx),
          mAlongXy(splat.mAlongXy),
          mAlongYx(splat.mAlongYx),
          mAlongYy(splat.mAlongYy),
          mFirstX(kSplatSteps * tile.mLeft + kSplatSteps / 2 - splat.mMiddleX),
          mFirstY(kSplatSteps * tile.mTop + kSplatSteps / 2 - splat.mMiddleY) {}

    /// Of vector `vector` in the block at `column` and `row` of the tile's blocks.
    HWY_INLINE PlaceInQuad<Lanes> Find(int column, int row, std::size_t vector) const {
        constexpr std::int32_t kBlockSteps = kSplatBlockSize * kSplatSteps;
        constexpr int kShift = std::countr_zero(std::uint32_t{kSplatSteps});
        const FloatTag d;
        const IntTag di;
        const auto pixels = hn::Iota(di, static_cast<std::int32_t>(vector * kLanes));
        const auto columns = hn::ShiftLeft<kShift>(hn::And(pixels, hn::Set(di, kSplatBlockSize - 1)));
        const auto rows = hn::ShiftLeft<kShift>(hn::ShiftRight<2>(pixels));
        const auto x = hn::ConvertTo(d, hn::Add(hn::Set(di, mFirstX + kBlockSteps * column), columns));
        const auto y = hn::ConvertTo(d, hn::Add(hn::Set(di, mFirstY + kBlockSteps * row), rows));
        return FindPlaceInQuad<Lanes>(x, y, mAlongXx, mAlongXy, mAlongYx, mAlongYy);
    }

private:
    Lanes mAlongXx, mAlongXy, mAlongYx, mAlongYy;
    std::int32_t mFirstX, mFirstY;
};

HWY_INLINE Floats FindFarther(const PlaceInQuad<Lanes>& q) { return hn::Max(hn::Abs(q.x.mLanes), hn::Abs(q.y.mLanes)); }

/// Takes out the pixels that the quad does not cover, by its corners, where its places leave that unsure.
HWY_NOINLINE void KeepCovered(const SplatTile& tile, const SplatSource& source, const PreparedSplat& splat,
                              FadedPixels& faded) {
    const FloatTag d;
    SplatQuad quad;
    MakeSplatQuad(source.mRecords[splat.mRecord], source.mConstants, source.mViewport, quad);
    const PixelPlaces places(tile, splat);
    for (std::size_t i = 0; i < faded.mCount; ++i) {
        const auto block = static_cast<int>(faded.mFirst[i] / kBlockPixels);
        const int column = block % kSplatTileBlocks;
        const int row = block / kSplatTileBlocks;
        const auto farther = FindFarther(places.Find(column, row, faded.mFirst[i] % kBlockPixels / kLanes));
        HWY_ALIGN float lanes[kLanes];
        hn::Store(farther, d, lanes);
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            const auto pixel = static_cast<std::int32_t>((faded.mFirst[i] + lane) % kBlockPixels);
            const std::int32_t x = column * kSplatBlockSize + pixel % kSplatBlockSize;
            const std::int32_t y = row * kSplatBlockSize + pixel / kSplatBlockSize;
            const bool isSure = lanes[lane] <= splat.mInner || faded.mAlpha[i * kLanes + lane] == 0.0F;
            if (!isSure && !quad.Covers(tile.mLeft + x, tile.mTop + y)) faded.mAlpha[i * kLanes + lane] = 0.0F;
        }
    }
}

/// Gives `take` each vector of pixels of `blocks`: its first one, its alpha and those that the splat changes. No branch
/// depends on what a pixel shows, so that one vector's exponential runs along with the next one's. `kEdges`: pixels may
/// show up to the quad's edges; returns whether some of them are unsure.
template <bool kNormalised, bool kEdges, class Take>
HWY_INLINE bool FadePixels(const SplatTile& tile, const PreparedSplat& splat, std::uint64_t blocks, const Take& take) {
    const FloatTag d;
    const auto one = hn::Set(d, 1.0F);
    const auto outer = hn::Set(d, 4.0F - splat.mInner);
    const auto leastAlpha = hn::Set(d, kLeastAlpha);
    const auto leastChange = hn::Set(d, kNormalised ? tile.mLeastChange / FindBrightest(splat) : tile.mLeastChange);
    const Lanes opacity(splat.mColor[3]);
    const PixelPlaces places(tile, splat);
    auto farthest = hn::Zero(d);
    while (blocks != 0) {
        const int row = std::countr_zero(blocks) / kSplatTileBlocks;
        const auto columns = static_cast<std::uint32_t>(blocks >> (row * kSplatTileBlocks)) & 0xFFU;
        blocks &= ~(std::uint64_t{0xFF} << (row * kSplatTileBlocks));
        for (std::size_t vector = 0; vector < kVectors; ++vector) {
            for (std::uint32_t rest = columns; rest != 0; rest &= rest - 1) {
                const int column = std::countr_zero(rest);
                const PlaceInQuad<Lanes> place = places.Find(column, row, vector);
                const auto alpha = hn::Min((FindGaussian(place) * opacity).mLanes, one);
                const std::size_t at =
                    static_cast<std::size_t>(row * kSplatTileBlocks + column) * kBlockPixels + vector * kLanes;
                const auto share = hn::Sub(one, hn::Load(d, tile.mChannels[3] + at));
                auto shown = KeepChanged<kNormalised>(hn::Ge(alpha, leastAlpha), alpha, share, leastChange);
                if constexpr (kEdges) {
                    const auto farther = FindFarther(place);
                    shown = hn::And(shown, hn::Lt(farther, outer));
                    farthest = hn::Max(farthest, hn::IfThenElseZero(shown, farther));
                }
                take(at, alpha, shown);
            }
        }
    }
    return kEdges && !hn::AllFalse(d, hn::Gt(farthest, hn::Set(d, splat.mInner)));
}

/// Source times inverse destination alpha, plus destination, in one vector of pixels. `kClamped`: the source may lie
/// outside 0 to 1.
template <TileRounding kRounding, bool kClamped>
HWY_INLINE void BlendPixels(SplatTile& tile, std::size_t at, const Floats (&color)[3], Floats alpha, PixelMask shown) {
    const FloatTag d;
    const auto alphaBefore = hn::Load(d, tile.mChannels[3] + at);
    const auto share = hn::Sub(hn::Set(d, 1.0F), alphaBefore);
    for (int channel = 0; channel < 3; ++channel) {
        auto source = hn::Mul(color[channel], alpha);
        if constexpr (kClamped) source = convert::VectorSaturate(d, source);
        const auto before = hn::Load(d, tile.mChannels[channel] + at);
        const auto after = Rounded<kRounding>(hn::Add(hn::Mul(source, share), before));
        hn::Store(hn::IfThenElse(shown, after, before), d, tile.mChannels[channel] + at);
    }
    const auto after = Rounded<kRounding>(hn::Add(hn::Mul(alpha, share), alphaBefore));
    hn::Store(hn::IfThenElse(shown, after, alphaBefore), d, tile.mChannels[3] + at);
}

template <TileRounding kRounding, bool kClamped>
HWY_INLINE void BlendFaded(SplatTile& tile, const Floats (&color)[3], const FadedPixels& faded) {
    const FloatTag d;
    for (std::size_t i = 0; i < faded.mCount; ++i) {
        const auto alpha = hn::Load(d, faded.mAlpha + i * kLanes);
        BlendPixels<kRounding, kClamped>(tile, faded.mFirst[i], color, alpha, hn::Gt(alpha, hn::Zero(d)));
    }
}

template <TileRounding kRounding>
HWY_INLINE void DrawSplat(SplatTile& tile, const SplatSource& source, const PreparedSplat& splat, std::uint64_t blocks,
                          FadedPixels& faded) {
    constexpr bool kNormalised = kIsNormalised<kRounding>;
    const FloatTag d;
    const bool isWithin = splat.mInner == PreparedSplat::kWithin;
    const Floats color[3] = {hn::Set(d, splat.mColor[0]), hn::Set(d, splat.mColor[1]), hn::Set(d, splat.mColor[2])};
    if (kRounding == TileRounding::None && isWithin) {
        // Blending costs less than what it takes to leave pixels out.
        FadePixels<kNormalised, false>(tile, splat, blocks,
                                       [&](std::size_t at, Floats alpha, PixelMask shown)
                                           HWY_ATTR { BlendPixels<kRounding, false>(tile, at, color, alpha, shown); });
        return;
    }
    std::size_t count = 0;
    const auto keep = [&](std::size_t at, Floats alpha, PixelMask shown) HWY_ATTR {
        hn::Store(hn::IfThenElseZero(shown, alpha), d, faded.mAlpha + count * kLanes);
        faded.mFirst[count] = static_cast<std::uint16_t>(at);
        count += hn::AllFalse(d, shown) ? 0 : 1;
    };
    const bool isUnsure = isWithin ? FadePixels<kNormalised, false>(tile, splat, blocks, keep)
                                   : FadePixels<kNormalised, true>(tile, splat, blocks, keep);
    faded.mCount = count;
    if (HWY_UNLIKELY(isUnsure)) KeepCovered(tile, source, splat, faded);
    const auto inRange = [](float value) { return value >= 0.0F && value <= 1.0F; };
    if (kNormalised && !(inRange(splat.mColor[0]) && inRange(splat.mColor[1]) && inRange(splat.mColor[2])))
        BlendFaded<kRounding, kNormalised>(tile, color, faded);
    else
        BlendFaded<kRounding, false>(tile, color, faded);
}

/// The largest share of each block's pixels that is still free, 1 for what is no number.
HWY_INLINE void FindShares(const SplatTile& tile, float (&shares)[kSplatTileBlockCount]) {
    const FloatTag d;
    const auto one = hn::Set(d, 1.0F);
    for (std::size_t block = 0; block < kSplatTileBlockCount; ++block) {
        auto most = hn::Zero(d);
        for (std::size_t at = block * kBlockPixels; at < (block + 1) * kBlockPixels; at += kLanes) {
            const auto share = hn::Abs(hn::Sub(one, hn::Load(d, tile.mChannels[3] + at)));
            most = hn::Max(most, hn::IfThenElse(hn::Eq(share, share), share, one));
        }
        shares[block] = hn::GetLane(hn::MaxOfLanes(d, most));
    }
}

/// Blocks whose share times `weight` is at least `least`, a bit each.
HWY_INLINE std::uint64_t FindLiveBlocks(const float (&shares)[kSplatTileBlockCount], float weight, float least) {
    const FloatTag d;
    std::uint64_t live = 0;
    for (std::size_t block = 0; block < kSplatTileBlockCount; block += kLanes) {
        const auto change = hn::Mul(hn::Load(d, shares + block), hn::Set(d, weight));
        std::uint8_t bytes[8] = {};
        hn::StoreMaskBits(d, hn::Ge(change, hn::Set(d, least)), bytes);
        std::uint16_t bits = 0;
        std::memcpy(&bits, bytes, sizeof bits);
        live |= std::uint64_t{bits} << block;
    }
    return live;
}

template <TileRounding kRounding>
std::size_t DrawRounded(SplatTile& tile, const SplatSource& source, std::span<const std::uint32_t> entries,
                        const PreparedSplat* splats) {
    constexpr std::size_t kAhead = 8;
    alignas(64) float shares[kSplatTileBlockCount];
    bool isAnyLive = true;
    FadedPixels faded;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i % kShareInterval == 0) {
            constexpr float kAny = std::numeric_limits<float>::min();
            FindShares(tile, shares);
            isAnyLive = FindLiveBlocks(shares, 1.0F, kIsNormalised<kRounding> ? kAny : tile.mLeastChange) != 0;
        }
        if (!isAnyLive && !tile.mExpectScalar) break;
        if (i + kAhead < entries.size()) hwy::Prefetch(splats + entries[i + kAhead]);
        const PreparedSplat& splat = splats[entries[i]];
        if (splat.IsScalar()) return i;
        if (!isAnyLive) continue;
        const float weight = kIsNormalised<kRounding> ? std::min(splat.mColor[3], 1.0F) * FindBrightest(splat) : 1.0F;
        const std::uint64_t live = FindLiveBlocks(shares, weight, tile.mLeastChange);
        if (live == 0) continue;
        const std::uint64_t blocks = FindBlocks(tile, splat) & live;
        if (blocks != 0) DrawSplat<kRounding>(tile, source, splat, blocks, faded);
    }
    return entries.size();
}

std::size_t DrawSplats(SplatTile& tile, const SplatSource& source, std::span<const std::uint32_t> entries,
                       const PreparedSplat* splats) {
    switch (tile.mRounding) {
        case TileRounding::None: return DrawRounded<TileRounding::None>(tile, source, entries, splats);
        case TileRounding::Unorm8: return DrawRounded<TileRounding::Unorm8>(tile, source, entries, splats);
        case TileRounding::Unorm16: return DrawRounded<TileRounding::Unorm16>(tile, source, entries, splats);
        case TileRounding::Half: return DrawRounded<TileRounding::Half>(tile, source, entries, splats);
    }
    return entries.size();
}

/// Colours of a row: one row of each of its blocks is one vector a channel, at most.
using RowTag = hn::CappedTag<float, kSplatBlockSize>;

HWY_INLINE std::size_t GetPlace(std::int32_t x, std::int32_t y) {
    const std::int32_t block = y / kSplatBlockSize * kSplatTileBlocks + x / kSplatBlockSize;
    const std::int32_t pixel = y % kSplatBlockSize * kSplatBlockSize + x % kSplatBlockSize;
    return static_cast<std::size_t>(block) * kBlockPixels + static_cast<std::size_t>(pixel);
}

void LoadRow(const float* rgba, std::int32_t y, SplatTile& tile) {
    const RowTag d;
    for (std::int32_t x = 0; x < kSplatTileSize; x += static_cast<std::int32_t>(hn::Lanes(d))) {
        const std::size_t at = GetPlace(x, y);
        hn::Vec<RowTag> r, g, b, a;
        hn::LoadInterleaved4(d, rgba + 4 * x, r, g, b, a);
        hn::Store(r, d, tile.mChannels[0] + at);
        hn::Store(g, d, tile.mChannels[1] + at);
        hn::Store(b, d, tile.mChannels[2] + at);
        hn::Store(a, d, tile.mChannels[3] + at);
    }
}

void StoreRow(const SplatTile& tile, std::int32_t y, float* rgba) {
    const RowTag d;
    for (std::int32_t x = 0; x < kSplatTileSize; x += static_cast<std::int32_t>(hn::Lanes(d))) {
        const std::size_t at = GetPlace(x, y);
        hn::StoreInterleaved4(hn::Load(d, tile.mChannels[0] + at), hn::Load(d, tile.mChannels[1] + at),
                              hn::Load(d, tile.mChannels[2] + at), hn::Load(d, tile.mChannels[3] + at), d,
                              rgba + 4 * x);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace nimbrel::cpu {

HWY_EXPORT(DrawSplats);
HWY_EXPORT(LoadRow);
HWY_EXPORT(StoreRow);

std::size_t DrawSplatsInTile(SplatTile& tile, const SplatSource& source, std::span<const std::uint32_t> entries,
                             const PreparedSplat* splats) {
    return HWY_DYNAMIC_DISPATCH(DrawSplats)(tile, source, entries, splats);
}

void LoadTileRow(const float* rgba, std::int32_t y, SplatTile& tile) { HWY_DYNAMIC_DISPATCH(LoadRow)(rgba, y, tile); }

void StoreTileRow(const SplatTile& tile, std::int32_t y, float* rgba) { HWY_DYNAMIC_DISPATCH(StoreRow)(tile, y, rgba); }

}  // namespace nimbrel::cpu
#endif
