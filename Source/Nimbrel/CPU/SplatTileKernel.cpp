#include "Nimbrel/CPU/SplatTileKernel.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

#include "Nimbrel/CPU/Exp2.h"
#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/SplatTileKernel.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "Render/CPU/VectorConversion-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
namespace convert = zeb::render::cpu::HWY_NAMESPACE;

/// At most one block.
using FloatTag = hn::CappedTag<float, 16>;
using IntTag = hn::RebindToSigned<FloatTag>;
using WordTag = hn::RebindToUnsigned<FloatTag>;
using Floats = hn::Vec<FloatTag>;
using PixelMask = hn::Mask<FloatTag>;

constexpr float kLeastAlpha = 0.00392156886F;  // 1/255
constexpr float kMinusLog2E = -1.44269502F;
/// Splats between two looks at how much the blocks still let through.
constexpr std::size_t kShareInterval = 32;
constexpr std::size_t kBlockPixels = 16;
constexpr std::size_t kLanes = hn::MaxLanes(FloatTag());
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
    std::int32_t begins[kSplatTileBlocks];
    std::int32_t ends[kSplatTileBlocks];
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
        hn::StoreU(begin, di, begins + row);
        hn::StoreU(hn::IfThenElseZero(reached, hn::Max(begin, end)), di, ends + row);
    }
    std::uint64_t blocks = 0;
    for (int row = 0; row < kSplatTileBlocks; ++row) {
        const std::uint32_t bits = (1U << ends[row]) - (1U << std::min(begins[row], ends[row]));
        blocks |= std::uint64_t{bits} << (row * kSplatTileBlocks);
    }
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

/// Exp2 of numbers above kExp2Least.
HWY_INLINE Floats Exp2Of(Floats t) {
    const FloatTag d;
    const WordTag dw;
    const auto magic = hn::Set(d, kExp2Round);
    const auto rounded = hn::Add(t, magic);
    const auto f = hn::Sub(t, hn::Sub(rounded, magic));
    auto sum = hn::Set(d, kExp2Coefficients[5]);
    for (int i = 4; i >= 0; --i) sum = hn::Add(hn::Mul(sum, f), hn::Set(d, kExp2Coefficients[i]));
    const auto mantissa = hn::Add(hn::Set(d, 1.0F), hn::Mul(f, sum));
    const auto exponent = hn::ShiftLeft<23>(hn::BitCast(dw, rounded));
    return hn::BitCast(d, hn::Add(hn::BitCast(dw, mantissa), exponent));
}

/// One splat's values, each in all lanes.
struct Shade {
    Floats mColor[3];
    Floats mOpacity;
    Floats mInner;
    Floats mOuter;
    Floats mLeastChange;
};

/// What a splat's brightest channel is of its alpha: sources are clamped to 1, and none is brighter than that.
HWY_INLINE float FindBrightest(const PreparedSplat& splat) {
    return std::max({1.0F, splat.mColor[0], splat.mColor[1], splat.mColor[2]});
}

/// Those of `shown` that a splat changes, by its alpha and the share that it is blended with. Bytes and words keep
/// their value where all that is added is less than half a step; floats are left alone where next to nothing shines
/// through.
template <TileRounding kRounding>
HWY_INLINE PixelMask KeepChanged(PixelMask shown, Floats alpha, Floats share, Floats leastChange) {
    if constexpr (kIsNormalised<kRounding>) return hn::And(shown, hn::Ge(hn::Mul(alpha, share), leastChange));
    return hn::AndNot(hn::Lt(hn::Abs(share), leastChange), shown);
}

/// Those of `pixels` that the quad covers, by its corners. `at` is the vector's first pixel in the tile.
HWY_NOINLINE PixelMask KeepCovered(const SplatTile& tile, const SplatQuad& quad, std::size_t at, PixelMask pixels) {
    const FloatTag d;
    HWY_ALIGN float lanes[kLanes];
    hn::Store(hn::IfThenElseZero(pixels, hn::Set(d, 1.0F)), d, lanes);
    const auto block = static_cast<std::int32_t>(at / kBlockPixels);
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
        const auto pixel = static_cast<std::int32_t>((at + lane) % kBlockPixels);
        const std::int32_t x = block % kSplatTileBlocks * kSplatBlockSize + pixel % kSplatBlockSize;
        const std::int32_t y = block / kSplatTileBlocks * kSplatBlockSize + pixel / kSplatBlockSize;
        if (lanes[lane] != 0.0F && !quad.Covers(tile.mLeft + x, tile.mTop + y)) lanes[lane] = 0.0F;
    }
    return hn::Gt(hn::Load(d, lanes), hn::Zero(d));
}

/// Source times inverse destination alpha, plus destination. `kClamped`: the source may lie outside 0 to 1.
template <TileRounding kRounding, bool kClamped, class KeepCoveredPixels>
HWY_INLINE void BlendPixels(SplatTile& tile, std::size_t at, const Shade& shade, Floats qx, Floats qy,
                            const KeepCoveredPixels& keepCovered) {
    const FloatTag d;
    const auto one = hn::Set(d, 1.0F);
    const auto farther = hn::Max(hn::Abs(qx), hn::Abs(qy));
    const auto alphaBefore = hn::Load(d, tile.mChannels[3] + at);
    const auto distance = hn::Add(hn::Mul(qx, qx), hn::Mul(qy, qy));
    const auto gaussian = Exp2Of(hn::Mul(distance, hn::Set(d, kMinusLog2E)));
    const auto alpha = hn::Min(hn::Mul(gaussian, shade.mOpacity), one);
    // Outside the quad the power may have run over: the first condition must hold alone.
    auto shown = hn::And(hn::Lt(farther, shade.mOuter), hn::Ge(alpha, hn::Set(d, kLeastAlpha)));
    const auto share = hn::Sub(one, alphaBefore);
    shown = KeepChanged<kRounding>(shown, alpha, share, shade.mLeastChange);
    if (hn::AllFalse(d, shown)) return;
    const auto unsure = hn::And(hn::Gt(farther, shade.mInner), shown);
    if (HWY_UNLIKELY(!hn::AllFalse(d, unsure))) {
        const auto covered = keepCovered(at, unsure);
        shown = hn::Or(hn::AndNot(unsure, shown), covered);
    }
    for (int channel = 0; channel < 3; ++channel) {
        auto source = hn::Mul(shade.mColor[channel], alpha);
        if constexpr (kClamped) source = convert::VectorSaturate(d, source);
        const auto before = hn::Load(d, tile.mChannels[channel] + at);
        const auto after = Rounded<kRounding>(hn::Add(hn::Mul(source, share), before));
        hn::Store(hn::IfThenElse(shown, after, before), d, tile.mChannels[channel] + at);
    }
    const auto after = Rounded<kRounding>(hn::Add(hn::Mul(alpha, share), alphaBefore));
    hn::Store(hn::IfThenElse(shown, after, alphaBefore), d, tile.mChannels[3] + at);
}

template <TileRounding kRounding, bool kClamped>
HWY_INLINE void DrawSplat(SplatTile& tile, const SplatSource& source, const PreparedSplat& splat,
                          std::uint64_t blocks) {
    const FloatTag d;
    const IntTag di;
    const float* const color = splat.mColor;
    const float least = kIsNormalised<kRounding> ? tile.mLeastChange / FindBrightest(splat) : tile.mLeastChange;
    const Shade shade{{hn::Set(d, color[0]), hn::Set(d, color[1]), hn::Set(d, color[2])},
                      hn::Set(d, color[3]),
                      hn::Set(d, splat.mInner),
                      hn::Set(d, 4.0F - splat.mInner),
                      hn::Set(d, least)};
    const auto alongXx = hn::Set(d, splat.mAlongXx);
    const auto alongXy = hn::Set(d, splat.mAlongXy);
    const auto alongYx = hn::Set(d, splat.mAlongYx);
    const auto alongYy = hn::Set(d, splat.mAlongYy);
    constexpr std::int32_t kBlockSteps = kSplatBlockSize * kSplatSteps;
    constexpr int kShift = std::countr_zero(std::uint32_t{kSplatSteps});
    const std::int32_t firstX = kSplatSteps * tile.mLeft + kSplatSteps / 2 - splat.mMiddleX;
    const std::int32_t firstY = kSplatSteps * tile.mTop + kSplatSteps / 2 - splat.mMiddleY;
    SplatQuad quad;
    bool hasQuad = false;
    const auto keepCovered = [&](std::size_t at, PixelMask pixels) HWY_ATTR {
        if (!hasQuad) MakeSplatQuad(source.mRecords[splat.mRecord], source.mConstants, source.mViewport, quad);
        hasQuad = true;
        return KeepCovered(tile, quad, at, pixels);
    };
    while (blocks != 0) {
        const int row = std::countr_zero(blocks) / kSplatTileBlocks;
        auto columns = static_cast<std::uint32_t>(blocks >> (row * kSplatTileBlocks)) & 0xFFU;
        blocks &= ~(std::uint64_t{0xFF} << (row * kSplatTileBlocks));
        for (std::size_t vector = 0; vector < kVectors; ++vector) {
            const auto pixels = hn::Iota(di, static_cast<std::int32_t>(vector * kLanes));
            const auto rows = hn::ShiftLeft<kShift>(hn::ShiftRight<2>(pixels));
            const auto fromMiddleY = hn::ConvertTo(d, hn::Add(hn::Set(di, firstY + kBlockSteps * row), rows));
            const auto rowX = hn::Mul(fromMiddleY, alongYx);
            const auto rowY = hn::Mul(fromMiddleY, alongYy);
            const auto columnsX = hn::ShiftLeft<kShift>(hn::And(pixels, hn::Set(di, 3)));
            for (std::uint32_t rest = columns; rest != 0; rest &= rest - 1) {
                const int column = std::countr_zero(rest);
                const auto fromMiddleX =
                    hn::ConvertTo(d, hn::Add(hn::Set(di, firstX + kBlockSteps * column), columnsX));
                const auto qx = hn::Add(hn::Mul(fromMiddleX, alongXx), rowX);
                const auto qy = hn::Add(hn::Mul(fromMiddleX, alongXy), rowY);
                const auto block = static_cast<std::size_t>(row * kSplatTileBlocks + column);
                BlendPixels<kRounding, kClamped>(tile, block * kBlockPixels + vector * kLanes, shade, qx, qy,
                                                 keepCovered);
            }
        }
    }
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
        const auto inRange = [](float value) { return value >= 0.0F && value <= 1.0F; };
        const float* const color = splat.mColor;
        const bool clamped = kIsNormalised<kRounding> && !(inRange(color[0]) && inRange(color[1]) && inRange(color[2]));
        if (clamped)
            DrawSplat<kRounding, kIsNormalised<kRounding>>(tile, source, splat, blocks);
        else
            DrawSplat<kRounding, false>(tile, source, splat, blocks);
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
