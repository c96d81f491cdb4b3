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

/// A vector of pixels that a splat may show in.
struct FadingPixels {
    float mX, mY;          ///< from the splat's middle to the centre of the first, in steps
    std::uint16_t mFirst;  ///< of the tile's pixels
    std::uint16_t mSplat;  ///< of the batch
};

/// Splats that are drawn together into a tile: the alpha of all their pixels is worked out before they are blended, so
/// that no branch of the one waits for the other. Half of a core's first cache.
struct SplatBatch {
    static constexpr std::size_t kMostSplats = 32;
    static constexpr std::size_t kMostVectors = 192 * kVectors;

    bool HasRoom() const {
        return mSplatCount < kMostSplats && mVectorCount + kSplatTileBlockCount * kVectors <= kMostVectors;
    }

    const PreparedSplat* mSplats[kMostSplats];
    float mLeastChange[kMostSplats];
    std::size_t mSplatCount = 0;
    FadingPixels mVectors[kMostVectors];
    std::size_t mVectorCount = 0;
    /// Those of mVectors that are changed, and alpha of their pixels, 0 where left alone. One more than there can be:
    /// one is written before it is known to count.
    std::uint16_t mChanged[kMostVectors + 1];
    alignas(64) float mAlpha[(kMostVectors + 1) * kLanes];
    std::size_t mChangedCount = 0;
    std::uint16_t mUnsure[kMostVectors + 1];  ///< those of mChanged where the quad's edge leaves pixels unsure
    std::size_t mUnsureCount = 0;
    bool mIsClamped = false;  ///< a colour lies outside 0 to 1
};

template <bool kNormalised>
HWY_INLINE void AddSplat(const SplatTile& tile, const PreparedSplat& splat, std::uint64_t blocks, SplatBatch& batch) {
    constexpr std::int32_t kBlockSteps = kSplatBlockSize * kSplatSteps;
    const std::int32_t firstX = kSplatSteps * tile.mLeft + kSplatSteps / 2 - splat.mMiddleX;
    const std::int32_t firstY = kSplatSteps * tile.mTop + kSplatSteps / 2 - splat.mMiddleY;
    const std::size_t index = batch.mSplatCount++;
    batch.mSplats[index] = &splat;
    batch.mLeastChange[index] = kNormalised ? tile.mLeastChange / FindBrightest(splat) : tile.mLeastChange;
    for (int channel = 0; channel < 3; ++channel) {
        const float value = splat.mColor[channel];
        batch.mIsClamped = batch.mIsClamped || !(value >= 0.0F && value <= 1.0F);
    }
    std::size_t count = batch.mVectorCount;
    for (; blocks != 0; blocks &= blocks - 1) {
        const int block = std::countr_zero(blocks);
        const std::int32_t x = firstX + kBlockSteps * (block % kSplatTileBlocks);
        const std::int32_t y = firstY + kBlockSteps * (block / kSplatTileBlocks);
        for (std::size_t pixel = 0; pixel < kBlockPixels; pixel += kLanes) {
            const auto column = static_cast<std::int32_t>(pixel % kSplatBlockSize);
            const auto row = static_cast<std::int32_t>(pixel / kSplatBlockSize);
            batch.mVectors[count++] = {
                static_cast<float>(x + kSplatSteps * column), static_cast<float>(y + kSplatSteps * row),
                static_cast<std::uint16_t>(static_cast<std::size_t>(block) * kBlockPixels + pixel),
                static_cast<std::uint16_t>(index)};
        }
    }
    batch.mVectorCount = count;
}

/// Where pixels lie in a splat's quad.
HWY_INLINE PlaceInQuad<Lanes> FindPlaces(const FadingPixels& pixels, const PreparedSplat& splat) {
    constexpr int kShift = std::countr_zero(std::uint32_t{kSplatSteps});
    const FloatTag d;
    const IntTag di;
    const auto lanes = hn::Iota(di, 0);
    const auto columns = hn::ConvertTo(d, hn::ShiftLeft<kShift>(hn::And(lanes, hn::Set(di, kSplatBlockSize - 1))));
    const auto rows = hn::ConvertTo(d, hn::ShiftLeft<kShift>(hn::ShiftRight<2>(lanes)));
    const auto x = hn::Add(hn::Set(d, pixels.mX), columns);
    const auto y = hn::Add(hn::Set(d, pixels.mY), rows);
    return FindPlaceInQuad<Lanes>(x, y, splat.mAlongXx, splat.mAlongXy, splat.mAlongYx, splat.mAlongYy);
}

HWY_INLINE Floats FindFarther(const PlaceInQuad<Lanes>& q) { return hn::Max(hn::Abs(q.x.mLanes), hn::Abs(q.y.mLanes)); }

/// Works out the alpha of a batch, without a branch that depends on a pixel.
template <bool kNormalised>
HWY_INLINE void FadePixels(const SplatTile& tile, SplatBatch& batch) {
    const FloatTag d;
    const auto one = hn::Set(d, 1.0F);
    std::size_t count = 0;
    std::size_t unsureCount = 0;
    for (std::size_t i = 0; i < batch.mVectorCount; ++i) {
        const FadingPixels& pixels = batch.mVectors[i];
        const PreparedSplat& splat = *batch.mSplats[pixels.mSplat];
        const PlaceInQuad<Lanes> place = FindPlaces(pixels, splat);
        const auto farther = FindFarther(place);
        const auto alpha = hn::Min((FindGaussianNear(place) * Lanes(splat.mColor[3])).mLanes, one);
        const auto share = hn::Sub(one, hn::Load(d, tile.mChannels[3] + pixels.mFirst));
        auto shown = hn::And(hn::Ge(alpha, hn::Set(d, kLeastAlpha)), hn::Lt(farther, hn::Set(d, 4.0F - splat.mInner)));
        shown = KeepChanged<kNormalised>(shown, alpha, share, hn::Set(d, batch.mLeastChange[pixels.mSplat]));
        hn::Store(hn::IfThenElseZero(shown, alpha), d, batch.mAlpha + count * kLanes);
        batch.mChanged[count] = static_cast<std::uint16_t>(i);
        batch.mUnsure[unsureCount] = static_cast<std::uint16_t>(count);
        const auto unsure = hn::And(shown, hn::Gt(farther, hn::Set(d, splat.mInner)));
        unsureCount += hn::AllFalse(d, unsure) ? 0 : 1;
        count += hn::AllFalse(d, shown) ? 0 : 1;
    }
    batch.mChangedCount = count;
    batch.mUnsureCount = unsureCount;
}

/// Takes out the pixels that a quad does not cover, by its corners, where its places leave that unsure.
HWY_NOINLINE void KeepCovered(const SplatTile& tile, const SplatSource& source, SplatBatch& batch) {
    const FloatTag d;
    SplatQuad quad;
    const PreparedSplat* made = nullptr;
    for (std::size_t i = 0; i < batch.mUnsureCount; ++i) {
        const FadingPixels& pixels = batch.mVectors[batch.mChanged[batch.mUnsure[i]]];
        const PreparedSplat& splat = *batch.mSplats[pixels.mSplat];
        if (made != &splat) MakeSplatQuad(source.mRecords[splat.mRecord], source.mConstants, source.mViewport, quad);
        made = &splat;
        HWY_ALIGN float farther[kLanes];
        hn::Store(FindFarther(FindPlaces(pixels, splat)), d, farther);
        float* const alpha = batch.mAlpha + batch.mUnsure[i] * kLanes;
        const auto block = static_cast<std::int32_t>(pixels.mFirst / kBlockPixels);
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            const auto pixel = static_cast<std::int32_t>((pixels.mFirst + lane) % kBlockPixels);
            const std::int32_t x = block % kSplatTileBlocks * kSplatBlockSize + pixel % kSplatBlockSize;
            const std::int32_t y = block / kSplatTileBlocks * kSplatBlockSize + pixel / kSplatBlockSize;
            const bool isSure = farther[lane] <= splat.mInner || alpha[lane] == 0.0F;
            if (!isSure && !quad.Covers(tile.mLeft + x, tile.mTop + y)) alpha[lane] = 0.0F;
        }
    }
}

/// Source times inverse destination alpha, plus destination. `kClamped`: the source may lie outside 0 to 1.
template <TileRounding kRounding, bool kClamped>
HWY_INLINE void BlendPixels(SplatTile& tile, const SplatBatch& batch) {
    const FloatTag d;
    const auto one = hn::Set(d, 1.0F);
    for (std::size_t i = 0; i < batch.mChangedCount; ++i) {
        const FadingPixels& pixels = batch.mVectors[batch.mChanged[i]];
        const PreparedSplat& splat = *batch.mSplats[pixels.mSplat];
        float* const target = tile.mChannels[0] + pixels.mFirst;
        const auto alpha = hn::Load(d, batch.mAlpha + i * kLanes);
        const auto alphaBefore = hn::Load(d, target + 3 * kSplatTilePixels);
        const auto share = hn::Sub(one, alphaBefore);
        auto shown = hn::Gt(alpha, hn::Zero(d));
        // Steps stay where they are by themselves.
        if constexpr (!kIsNormalised<kRounding>)
            shown = KeepChanged<false>(shown, alpha, share, hn::Set(d, tile.mLeastChange));
        const auto blend = [&](std::size_t channel) HWY_ATTR {
            auto color = hn::Mul(hn::Set(d, splat.mColor[channel]), alpha);
            if constexpr (kClamped) color = convert::VectorSaturate(d, color);
            const auto before = hn::Load(d, target + channel * kSplatTilePixels);
            const auto after = Rounded<kRounding>(hn::Add(hn::Mul(color, share), before));
            hn::Store(hn::IfThenElse(shown, after, before), d, target + channel * kSplatTilePixels);
        };
        blend(0);
        blend(1);
        blend(2);
        const auto after = Rounded<kRounding>(hn::Add(hn::Mul(alpha, share), alphaBefore));
        hn::Store(hn::IfThenElse(shown, after, alphaBefore), d, target + 3 * kSplatTilePixels);
    }
}

template <TileRounding kRounding>
HWY_INLINE void DrawBatch(SplatTile& tile, const SplatSource& source, SplatBatch& batch) {
    constexpr bool kNormalised = kIsNormalised<kRounding>;
    FadePixels<kNormalised>(tile, batch);
    if (batch.mUnsureCount != 0) KeepCovered(tile, source, batch);
    if (kNormalised && batch.mIsClamped)
        BlendPixels<kRounding, kNormalised>(tile, batch);
    else
        BlendPixels<kRounding, false>(tile, batch);
    batch.mSplatCount = 0;
    batch.mVectorCount = 0;
    batch.mIsClamped = false;
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
    constexpr bool kNormalised = kIsNormalised<kRounding>;
    constexpr std::size_t kAhead = 8;
    alignas(64) float shares[kSplatTileBlockCount];
    bool isAnyLive = true;
    std::size_t i = 0;
    SplatBatch batch;
    for (; i < entries.size(); ++i) {
        if (i % kShareInterval == 0) {
            constexpr float kAny = std::numeric_limits<float>::min();
            DrawBatch<kRounding>(tile, source, batch);
            FindShares(tile, shares);
            isAnyLive = FindLiveBlocks(shares, 1.0F, kNormalised ? kAny : tile.mLeastChange) != 0;
        }
        if (!isAnyLive && !tile.mExpectScalar) return entries.size();
        if (i + kAhead < entries.size()) hwy::Prefetch(splats + entries[i + kAhead]);
        const PreparedSplat& splat = splats[entries[i]];
        if (splat.IsScalar()) break;
        if (!isAnyLive) continue;
        const float weight = kNormalised ? std::min(splat.mColor[3], 1.0F) * FindBrightest(splat) : 1.0F;
        const std::uint64_t live = FindLiveBlocks(shares, weight, tile.mLeastChange);
        const std::uint64_t blocks = live == 0 ? 0 : FindBlocks(tile, splat) & live;
        if (blocks == 0) continue;
        if (!batch.HasRoom()) DrawBatch<kRounding>(tile, source, batch);
        AddSplat<kNormalised>(tile, splat, blocks, batch);
    }
    DrawBatch<kRounding>(tile, source, batch);
    return i;
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
