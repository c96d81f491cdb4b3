#include "Nimbrel/CPU/SplatTileKernel.h"

#include <algorithm>

#include "Nimbrel/CPU/Exp2.h"
#include "Nimbrel/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/SplatTileKernel.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using FloatTag = hn::CappedTag<float, 16>;
using IntTag = hn::RebindToSigned<FloatTag>;
using WordTag = hn::RebindToUnsigned<FloatTag>;
using Floats = hn::Vec<FloatTag>;
using DoubleTag = hn::CappedTag<double, 8>;

constexpr float kLeastAlpha = 0.00392156886F;  // 1/255
constexpr float kMinusLog2E = -1.44269502F;
constexpr std::size_t kFullTestInterval = 64;

/// Columns [mBegin, mEnd) of each row of the tile. Rows are worked out several at a time, past the last one too.
struct Spans {
    static constexpr std::size_t kRows = kSplatTileSize + 16;
    alignas(64) double mLow[kRows];
    alignas(64) double mHigh[kRows];
};

/// Columns that the quad covers by the top-left rule, in rows [top, bottom) of the tile. Values on an edge are whole
/// numbers below 2^53, so that doubles hold them, and columns in the tile are so few that a rounded quotient lies on
/// the same side of the next whole number as the exact one.
HWY_INLINE void FindSpans(const SplatTile& tile, const SplatQuad& quad, const PixelBox& box, Spans& spans) {
    const DoubleTag d;
    const std::size_t lanes = hn::Lanes(d);
    const auto left = hn::Set(d, static_cast<double>(box.mLeft));
    const auto right = hn::Set(d, static_cast<double>(box.mRight));
    for (auto row = static_cast<std::size_t>(box.mTop); row < static_cast<std::size_t>(box.mBottom); row += lanes) {
        hn::StoreU(left, d, spans.mLow + row);
        hn::StoreU(right, d, spans.mHigh + row);
    }
    for (int corner = 0; corner < 4; ++corner) {
        const int next = (corner + 1) & 3;
        const std::int64_t dx = quad.mX[next] - quad.mX[corner];
        const std::int64_t dy = quad.mY[next] - quad.mY[corner];
        const std::int64_t fromX = quad.mX[corner] - 256 * tile.mLeft;
        const std::int64_t fromY = quad.mY[corner] - 256 * tile.mTop;
        const std::int64_t bias = (dy == 0 && dx > 0) || dy < 0 ? 0 : -1;
        const auto atOrigin = hn::Set(d, static_cast<double>(dx * (128 - fromY) - dy * (128 - fromX) + bias));
        const auto stepY = hn::Set(d, static_cast<double>(dx * 256));
        const auto divisor = hn::Set(d, static_cast<double>(dy * 256));
        for (auto row = static_cast<std::size_t>(box.mTop); row < static_cast<std::size_t>(box.mBottom); row += lanes) {
            const auto y = hn::Iota(d, static_cast<double>(row));
            const auto value = hn::Add(atOrigin, hn::Mul(stepY, y));
            if (dy < 0) {
                const auto low = hn::LoadU(d, spans.mLow + row);
                hn::StoreU(hn::Max(low, hn::Ceil(hn::Div(value, divisor))), d, spans.mLow + row);
            } else if (dy > 0) {
                const auto high = hn::LoadU(d, spans.mHigh + row);
                const auto end = hn::Add(hn::Floor(hn::Div(value, divisor)), hn::Set(d, 1.0));
                hn::StoreU(hn::Min(high, end), d, spans.mHigh + row);
            } else {
                const auto high = hn::LoadU(d, spans.mHigh + row);
                const auto outside = hn::Lt(value, hn::Zero(d));
                hn::StoreU(hn::IfThenElse(outside, hn::Zero(d), high), d, spans.mHigh + row);
            }
        }
    }
}

/// 0 to 1; NaN gives 0.
HWY_INLINE Floats Clamped(Floats v) {
    const FloatTag d;
    const auto one = hn::Set(d, 1.0F);
    const auto positive = hn::IfThenElseZero(hn::Gt(v, hn::Zero(d)), v);
    return hn::IfThenElse(hn::Lt(positive, one), positive, one);
}

/// The nearest half, ties to even, as a float.
HWY_INLINE Floats ToNearestHalf(Floats v) {
    const FloatTag d;
    const WordTag dw;
    const auto bits = hn::BitCast(dw, v);
    const auto sign = hn::And(bits, hn::Set(dw, 0x80000000U));
    const auto magnitude = hn::AndNot(hn::Set(dw, 0x80000000U), bits);
    const auto odd = hn::And(hn::ShiftRight<13>(magnitude), hn::Set(dw, 1U));
    const auto raised = hn::Add(magnitude, hn::Add(odd, hn::Set(dw, 0xFFFU)));
    const auto normal = hn::And(raised, hn::Set(dw, 0xFFFFE000U));
    const auto absolute = hn::BitCast(d, magnitude);
    // Between 0.5 and 1 floats are 2^-24 apart, the step of subnormal halves.
    const auto half = hn::Set(d, 0.5F);
    const auto subnormal = hn::Sub(hn::Add(absolute, half), half);
    auto result = hn::IfThenElse(hn::Lt(absolute, hn::Set(d, 0x1p-14F)), subnormal, hn::BitCast(d, normal));
    const auto infinite = hn::BitCast(d, hn::Set(dw, 0x7F800000U));
    result = hn::IfThenElse(hn::Ge(absolute, hn::Set(d, 65520.0F)), infinite, result);
    const auto nan = hn::BitCast(d, hn::Set(dw, 0x7FC00000U));
    result = hn::IfThenElse(hn::Eq(absolute, absolute), result, nan);
    return hn::BitCast(d, hn::Or(hn::BitCast(dw, result), sign));
}

template <TileRounding kRounding>
HWY_INLINE Floats Rounded(Floats v) {
    const FloatTag d;
    const IntTag di;
    if constexpr (kRounding == TileRounding::None) return v;
    if constexpr (kRounding == TileRounding::Half) return ToNearestHalf(v);
    if constexpr (kRounding == TileRounding::Unorm8 || kRounding == TileRounding::Unorm16) {
        const auto steps = hn::Set(d, kRounding == TileRounding::Unorm8 ? 255.0F : 65535.0F);
        const auto scaled = hn::Add(hn::Mul(Clamped(v), steps), hn::Set(d, 0.5F));
        return hn::Div(hn::ConvertTo(d, hn::ConvertTo(di, scaled)), steps);
    }
}

HWY_INLINE Floats Exp2Of(Floats value) {
    const FloatTag d;
    const WordTag dw;
    const auto magic = hn::Set(d, kExp2Round);
    const auto t = hn::Max(value, hn::Set(d, kExp2Least));
    const auto rounded = hn::Add(t, magic);
    const auto f = hn::Sub(t, hn::Sub(rounded, magic));
    auto sum = hn::Set(d, kExp2Coefficients[5]);
    for (int i = 4; i >= 0; --i) sum = hn::Add(hn::Mul(sum, f), hn::Set(d, kExp2Coefficients[i]));
    const auto mantissa = hn::Add(hn::Set(d, 1.0F), hn::Mul(f, sum));
    const auto exponent = hn::ShiftLeft<23>(hn::BitCast(dw, rounded));
    return hn::BitCast(d, hn::Add(hn::BitCast(dw, mantissa), exponent));
}

/// One quad's colour, each value in all lanes.
struct Shade {
    Floats mAlongXx, mAlongXy;
    Floats mColor[3];
    Floats mOpacity;
    Floats mFull;
};

/// Source times inverse destination alpha, plus destination, where `inside` holds.
template <TileRounding kRounding>
HWY_INLINE void BlendPixels(SplatTile& tile, std::size_t at, const Shade& shade, Floats qx, Floats qy,
                            hn::Mask<FloatTag> inside) {
    const FloatTag d;
    const auto one = hn::Set(d, 1.0F);
    const auto alphaBefore = hn::Load(d, tile.mChannels[3] + at);
    // Not Ne: whether that holds for NaN differs between processors.
    inside = hn::AndNot(hn::Eq(alphaBefore, shade.mFull), inside);
    const auto distance = hn::Add(hn::Mul(qx, qx), hn::Mul(qy, qy));
    const auto gaussian = Exp2Of(hn::Mul(distance, hn::Set(d, kMinusLog2E)));
    const auto product = hn::Mul(gaussian, shade.mOpacity);
    const auto alpha = hn::IfThenElse(hn::Lt(product, one), product, one);
    inside = hn::And(inside, hn::Ge(alpha, hn::Set(d, kLeastAlpha)));
    if (hn::AllFalse(d, inside)) return;
    const auto share = hn::Sub(one, alphaBefore);
    for (int channel = 0; channel < 3; ++channel) {
        auto source = hn::Mul(shade.mColor[channel], alpha);
        if constexpr (kRounding == TileRounding::Unorm8 || kRounding == TileRounding::Unorm16) source = Clamped(source);
        const auto before = hn::Load(d, tile.mChannels[channel] + at);
        const auto after = Rounded<kRounding>(hn::Add(hn::Mul(source, share), before));
        hn::Store(hn::IfThenElse(inside, after, before), d, tile.mChannels[channel] + at);
    }
    const auto after = Rounded<kRounding>(hn::Add(hn::Mul(alpha, share), alphaBefore));
    hn::Store(hn::IfThenElse(inside, after, alphaBefore), d, tile.mChannels[3] + at);
}

template <TileRounding kRounding>
HWY_INLINE void DrawQuad(SplatTile& tile, const BinnedSplat& splat) {
    const FloatTag d;
    const IntTag di;
    const std::size_t lanes = hn::Lanes(d);
    const SplatQuad& quad = splat.mQuad;
    const PixelBox box = {std::max(splat.mBox.mLeft - tile.mLeft, 0), std::max(splat.mBox.mTop - tile.mTop, 0),
                          std::min(splat.mBox.mRight - tile.mLeft, kSplatTileSize),
                          std::min(splat.mBox.mBottom - tile.mTop, kSplatTileSize)};
    Spans spans;
    FindSpans(tile, quad, box, spans);
    const glm::vec4& color = quad.mColor;
    const Shade shade{hn::Set(d, quad.mAlongX.x),
                      hn::Set(d, quad.mAlongX.y),
                      {hn::Set(d, color.x), hn::Set(d, color.y), hn::Set(d, color.z)},
                      hn::Set(d, color.w),
                      hn::Set(d, tile.mFull)};
    const auto columns = hn::Iota(d, 0.0F);
    const auto middles = hn::Mul(hn::Iota(di, 0), hn::Set(di, 1024));
    const std::int32_t sumX = quad.mX[0] + quad.mX[1] + quad.mX[2] + quad.mX[3];
    const std::int32_t firstX = 1024 * tile.mLeft + 512 - sumX;
    for (std::int32_t y = box.mTop; y < box.mBottom; ++y) {
        const double low = spans.mLow[y];
        const double high = spans.mHigh[y];
        if (!(low < high)) continue;
        const auto end = static_cast<std::size_t>(high);
        const float fromMiddleY = quad.FromMiddleY(tile.mTop + y);
        const auto rowX = hn::Set(d, fromMiddleY * quad.mAlongY.x);
        const auto rowY = hn::Set(d, fromMiddleY * quad.mAlongY.y);
        const auto begins = hn::Set(d, static_cast<float>(low));
        const auto ends = hn::Set(d, static_cast<float>(high));
        for (std::size_t x = static_cast<std::size_t>(low) & ~(lanes - 1); x < end; x += lanes) {
            const auto column = hn::Add(columns, hn::Set(d, static_cast<float>(x)));
            const auto inside = hn::And(hn::Ge(column, begins), hn::Lt(column, ends));
            const auto first = hn::Set(di, firstX + 1024 * static_cast<std::int32_t>(x));
            const auto fromMiddle = hn::ConvertTo(d, hn::Add(first, middles));
            const auto qx = hn::Add(hn::Mul(fromMiddle, shade.mAlongXx), rowX);
            const auto qy = hn::Add(hn::Mul(fromMiddle, shade.mAlongXy), rowY);
            BlendPixels<kRounding>(tile, static_cast<std::size_t>(y * kSplatTileSize) + x, shade, qx, qy, inside);
        }
    }
}

HWY_INLINE bool IsFull(const SplatTile& tile) {
    const FloatTag d;
    const auto full = hn::Set(d, tile.mFull);
    for (std::size_t at = 0; at < kSplatTilePixels; at += hn::Lanes(d)) {
        if (!hn::AllTrue(d, hn::Eq(hn::Load(d, tile.mChannels[3] + at), full))) return false;
    }
    return true;
}

template <TileRounding kRounding>
std::size_t DrawRounded(SplatTile& tile, std::span<const std::uint32_t> entries, const BinnedSplat* splats) {
    bool full = false;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        full = full || (i % kFullTestInterval == 0 && IsFull(tile));
        const BinnedSplat& splat = splats[entries[i]];
        if (splat.mScalar) return i;
        if (!full) DrawQuad<kRounding>(tile, splat);
    }
    return entries.size();
}

std::size_t DrawQuads(SplatTile& tile, std::span<const std::uint32_t> entries, const BinnedSplat* splats) {
    switch (tile.mRounding) {
        case TileRounding::None: return DrawRounded<TileRounding::None>(tile, entries, splats);
        case TileRounding::Unorm8: return DrawRounded<TileRounding::Unorm8>(tile, entries, splats);
        case TileRounding::Unorm16: return DrawRounded<TileRounding::Unorm16>(tile, entries, splats);
        case TileRounding::Half: return DrawRounded<TileRounding::Half>(tile, entries, splats);
    }
    return entries.size();
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace nimbrel::cpu {

HWY_EXPORT(DrawQuads);

std::size_t DrawQuadsInTile(SplatTile& tile, std::span<const std::uint32_t> entries, const BinnedSplat* splats) {
    return HWY_DYNAMIC_DISPATCH(DrawQuads)(tile, entries, splats);
}

}  // namespace nimbrel::cpu
#endif
