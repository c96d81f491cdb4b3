#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "Nimbrel/CPU/RenderGaussianSplats.h"
#include "Nimbrel/CPU/SplatTileKernel.h"
#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/SplatPreparation.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "Render/CPU/VectorConversion-inl.h"

#ifndef NIMBREL_SPLAT_PREPARATION_ONCE
#define NIMBREL_SPLAT_PREPARATION_ONCE
namespace nimbrel::cpu {

/// Splats that a vector leaves to PrepareScalar, a bit each.
using LaneBits = std::uint32_t;

inline constexpr std::size_t kRecordWords = sizeof(gpu::SplatViewData) / 4;

/// Tiles over pixels [left, right) x [top, bottom), which lie inside the target.
inline TileBox GetTiles(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) {
    if (left >= right || top >= bottom) return {};
    const auto tile = [](std::int32_t pixel) { return static_cast<std::uint16_t>(pixel / kSplatTileSize); };
    const auto end = [&](std::int32_t pixel) { return static_cast<std::uint16_t>(tile(pixel - 1) + 1); };
    return {tile(left), tile(top), end(right), end(bottom)};
}

}  // namespace nimbrel::cpu
#endif

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
namespace convert = zeb::render::cpu::HWY_NAMESPACE;

// As many splats at a time as a vector holds doubles, which hold products of grid coordinates exactly.
using DoubleTag = hn::CappedTag<double, 8>;
using FloatTag = hn::Rebind<float, DoubleTag>;
using IntTag = hn::RebindToSigned<FloatTag>;
using WordTag = hn::RebindToUnsigned<FloatTag>;
using Doubles = hn::Vec<DoubleTag>;
using Floats = hn::Vec<FloatTag>;
using FloatMask = hn::Mask<FloatTag>;

constexpr std::size_t kMostLanes = hn::MaxLanes(DoubleTag());

HWY_INLINE Floats ToFloats(Doubles v) { return hn::DemoteTo(FloatTag(), v); }
HWY_INLINE FloatMask ToFloatMask(hn::Mask<DoubleTag> mask) {
    const DoubleTag d;
    return hn::Gt(ToFloats(hn::IfThenElseZero(mask, hn::Set(d, 1.0))), hn::Zero(FloatTag()));
}

/// The fields of a record, each of several splats.
struct Records {
    Floats mX, mY, mZ, mW;
    Floats mAxis1X, mAxis1Y, mAxis2X, mAxis2Y;
    Floats mColor[4];
};

HWY_INLINE Records LoadRecords(const SplatSource& source, const std::int32_t* indices) {
    const FloatTag d;
    const IntTag di;
    const WordTag dw;
    const auto* const base = reinterpret_cast<const float*>(source.mRecords.data());
    const auto places = hn::Mul(hn::LoadU(di, indices), hn::Set(di, static_cast<std::int32_t>(kRecordWords)));
    const auto field = [&](std::size_t i) HWY_ATTR { return hn::GatherIndex(d, base + i, places); };
    const auto redGreen = hn::BitCast(dw, field(8));
    const auto blueOpacity = hn::BitCast(dw, field(9));
    const auto high = [&](hn::Vec<WordTag> words)
                          HWY_ATTR { return convert::VectorFromHalfBits(d, hn::ShiftRight<16>(words)); };
    const auto low = [&](hn::Vec<WordTag> words)
                         HWY_ATTR { return convert::VectorFromHalfBits(d, hn::And(words, hn::Set(dw, 0xFFFFU))); };
    return {field(0), field(1), field(2),
            field(3), field(4), field(5),
            field(6), field(7), {high(redGreen), low(redGreen), high(blueOpacity), low(blueOpacity)}};
}

/// The corners of quads on the pixel grid in the order of the vertex stage; `mInside`: all lie where MakeSplatQuad
/// makes a quad of them.
struct Corners {
    Doubles mX[4];
    Doubles mY[4];
    FloatMask mInside;
};

HWY_INLINE Corners FindCorners(const SplatSource& source, const Records& r) {
    constexpr float kGuardBand = zeb::render::cpu::kGuardBand;
    constexpr float kFarthest = 1 << 24;
    const FloatTag d;
    const DoubleTag dd;
    const zeb::render::cpu::Viewport& viewport = source.mViewport;
    const auto two = hn::Set(d, 2.0F);
    const auto guard = hn::Mul(hn::Set(d, kGuardBand), r.mW);
    const auto inverseW = hn::Div(hn::Set(d, 1.0F), r.mW);
    const auto zero = hn::Zero(d);
    Corners corners;
    corners.mInside = hn::Le(r.mW, hn::Set(d, std::numeric_limits<float>::max()));
    /// One coordinate of a corner; `half` is half the viewport's size, negative where it runs against the target's.
    const auto toGrid = [&](Floats position, Floats axis1, Floats axis2, float q1, float q2, float screen, float half,
                            float middle) HWY_ATTR {
        const auto offset = hn::Add(hn::Mul(axis1, hn::Set(d, q1)), hn::Mul(axis2, hn::Set(d, q2)));
        const auto clip = hn::Add(position, hn::Mul(hn::Div(hn::Mul(two, offset), hn::Set(d, screen)), r.mW));
        const auto inside = hn::And(hn::Ge(hn::Add(guard, clip), zero), hn::Ge(hn::Sub(guard, clip), zero));
        const auto pixels = hn::Add(hn::Mul(hn::Mul(clip, inverseW), hn::Set(d, half)), hn::Set(d, middle));
        const auto snapped = hn::Round(hn::Mul(pixels, hn::Set(d, 256.0F)));
        const auto near = hn::Le(hn::Abs(snapped), hn::Set(d, kFarthest));
        corners.mInside = hn::And(corners.mInside, hn::And(inside, near));
        return hn::PromoteTo(dd, hn::IfThenElseZero(near, snapped));
    };
    const float halfWidth = viewport.mWidth * 0.5F;
    const float halfHeight = viewport.mHeight * 0.5F;
    const auto& screen = source.mConstants._ScreenParams;
    for (int corner = 0; corner < 4; ++corner) {
        const float q1 = corner % 2 == 0 ? -2.0F : 2.0F;
        const float q2 = corner / 2 == 0 ? -2.0F : 2.0F;
        corners.mX[corner] = toGrid(r.mX, r.mAxis1X, r.mAxis2X, q1, q2, screen.x, halfWidth, viewport.mX + halfWidth);
        corners.mY[corner] =
            toGrid(r.mY, r.mAxis1Y, r.mAxis2Y, q1, q2, screen.y, -halfHeight, viewport.mY + halfHeight);
    }
    return corners;
}

HWY_INLINE Doubles Turn(Doubles ax, Doubles ay, Doubles bx, Doubles by, Doubles cx, Doubles cy) {
    return hn::Sub(hn::Mul(hn::Sub(bx, ax), hn::Sub(cy, ay)), hn::Mul(hn::Sub(by, ay), hn::Sub(cx, ax)));
}

/// Whether the outline turns the same way at all corners.
HWY_INLINE FloatMask IsConvex(const Corners& c) {
    const auto zero = hn::Zero(DoubleTag());
    const auto ahead = hn::Gt(Turn(c.mX[0], c.mY[0], c.mX[1], c.mY[1], c.mX[2], c.mY[2]), zero);
    const auto ax = hn::IfThenElse(ahead, c.mX[1], c.mX[2]);
    const auto ay = hn::IfThenElse(ahead, c.mY[1], c.mY[2]);
    const auto bx = hn::IfThenElse(ahead, c.mX[2], c.mX[1]);
    const auto by = hn::IfThenElse(ahead, c.mY[2], c.mY[1]);
    const auto first =
        hn::Min(Turn(c.mX[0], c.mY[0], ax, ay, c.mX[3], c.mY[3]), Turn(ax, ay, c.mX[3], c.mY[3], bx, by));
    const auto second =
        hn::Min(Turn(c.mX[3], c.mY[3], bx, by, c.mX[0], c.mY[0]), Turn(bx, by, c.mX[0], c.mY[0], ax, ay));
    return ToFloatMask(hn::Gt(hn::Min(first, second), zero));
}

/// What MakeSplatQuad knows of a splat's middle and axes, and as floats in pixels.
struct Places {
    hn::Vec<IntTag> mMiddleX, mMiddleY;
    Floats mAlongXx, mAlongXy, mAlongYx, mAlongYy;
    Floats mX, mY;              ///< the middle
    Floats mUx, mUy, mVx, mVy;  ///< along one unit of q
    Floats mOffX, mOffY;        ///< how far corners on the grid lie from their true places at most
};

/// The longest way from corners on the grid to the middle and two units of q each way, in pixels.
HWY_INLINE Doubles FindFarthest(const Doubles (&corners)[4], Doubles middle, Doubles u, Doubles v) {
    const DoubleTag d;
    const auto sum = hn::Mul(hn::Set(d, 2.0), hn::Add(u, v));
    const auto difference = hn::Mul(hn::Set(d, 2.0), hn::Sub(u, v));
    const Doubles ways[4] = {hn::Neg(sum), difference, hn::Neg(difference), sum};
    auto farthest = hn::Zero(d);
    for (int i = 0; i < 4; ++i) {
        const auto corner = hn::Mul(corners[i], hn::Set(d, 1.0 / 256.0));
        farthest = hn::Max(farthest, hn::Abs(hn::Sub(corner, hn::Add(middle, ways[i]))));
    }
    return farthest;
}

HWY_INLINE Places FindPlaces(const SplatSource& source, const Records& r, const Corners& corners) {
    const DoubleTag d;
    const auto& viewport = source.mViewport;
    const double halfWidth = 0.5 * static_cast<double>(viewport.mWidth);
    const double halfHeight = -0.5 * static_cast<double>(viewport.mHeight);
    const auto widen = [&](Floats v) HWY_ATTR { return hn::PromoteTo(d, v); };
    const auto w = widen(r.mW);
    const auto x =
        hn::Add(hn::Mul(hn::Div(widen(r.mX), w), hn::Set(d, halfWidth)), hn::Set(d, viewport.mX + halfWidth));
    const auto y =
        hn::Add(hn::Mul(hn::Div(widen(r.mY), w), hn::Set(d, halfHeight)), hn::Set(d, viewport.mY - halfHeight));
    const auto scaleX = hn::Set(d, 2.0 * halfWidth / source.mConstants._ScreenParams.x);
    const auto scaleY = hn::Set(d, 2.0 * halfHeight / source.mConstants._ScreenParams.y);
    const auto ux = hn::Mul(widen(r.mAxis1X), scaleX);
    const auto uy = hn::Mul(widen(r.mAxis1Y), scaleY);
    const auto vx = hn::Mul(widen(r.mAxis2X), scaleX);
    const auto vy = hn::Mul(widen(r.mAxis2Y), scaleY);
    const auto area = hn::Sub(hn::Mul(ux, vy), hn::Mul(uy, vx));
    const auto scale = hn::Div(hn::Set(d, 1.0 / kSplatSteps), area);
    const auto steps = [&](Doubles v)
                           HWY_ATTR { return hn::DemoteTo(IntTag(), hn::Round(hn::Mul(v, hn::Set(d, kSplatSteps)))); };
    return {steps(x),
            steps(y),
            ToFloats(hn::Mul(vy, scale)),
            ToFloats(hn::Mul(hn::Neg(uy), scale)),
            ToFloats(hn::Mul(hn::Neg(vx), scale)),
            ToFloats(hn::Mul(ux, scale)),
            ToFloats(x),
            ToFloats(y),
            ToFloats(ux),
            ToFloats(uy),
            ToFloats(vx),
            ToFloats(vy),
            ToFloats(FindFarthest(corners.mX, x, ux, vx)),
            ToFloats(FindFarthest(corners.mY, y, uy, vy))};
}

/// How far |qx| and |qy| on the outline may be from 2: by corners off their places, and by the rounding of q, which is
/// a step of the middle and some units in the last place of its summands.
HWY_INLINE Floats FindMargin(const Places& p) {
    const FloatTag d;
    const auto reach = [&](Floats off, Floats u, Floats v) HWY_ATTR {
        const auto extent = hn::Add(hn::Abs(u), hn::Abs(v));
        const auto pixels = hn::Add(off, hn::Mul(extent, hn::Set(d, 1e-6F)));
        return hn::Add(hn::Mul(pixels, hn::Set(d, kSplatSteps)), hn::Set(d, 1.0F));
    };
    const auto reachX = reach(p.mOffX, p.mUx, p.mVx);
    const auto reachY = reach(p.mOffY, p.mUy, p.mVy);
    const auto along = [&](Floats alongX, Floats alongY) HWY_ATTR {
        return hn::Add(hn::Mul(reachX, hn::Abs(alongX)), hn::Mul(reachY, hn::Abs(alongY)));
    };
    const auto most = hn::Max(along(p.mAlongXx, p.mAlongYx), along(p.mAlongXy, p.mAlongYy));
    return hn::Add(hn::Mul(most, hn::Set(d, 1.01F)), hn::Set(d, 1e-5F));
}

/// Not below the natural logarithm, above it by 0.02 at most; of positive numbers.
HWY_INLINE Floats LogarithmAbove(Floats v) {
    const FloatTag d;
    const IntTag di;
    const auto bits = hn::BitCast(di, v);
    const auto exponent = hn::Sub(hn::ShiftRight<23>(bits), hn::Set(di, 127));
    const auto mantissa = hn::BitCast(d, hn::Or(hn::And(bits, hn::Set(di, 0x7FFFFF)), hn::Set(di, 0x3F800000)));
    // Log2 of 1 to 2 by a parabola that touches it from above.
    const auto square = hn::Mul(mantissa, hn::Sub(hn::Set(d, 2.0246658F), hn::Mul(mantissa, hn::Set(d, 0.34484843F))));
    const auto log2 = hn::Add(hn::ConvertTo(d, exponent), hn::Sub(square, hn::Set(d, 1.6698776F)));
    return hn::Add(hn::Mul(log2, hn::Set(d, 0.69314718F)), hn::Set(d, 0.01F));
}

/// The vectors that become PreparedSplat, and the box of pixels.
struct Prepared {
    Floats mHalfWidth, mShear, mInverseHeight, mRightRow;
    Floats mSquared;  ///< |q|^2 of the ellipse
    hn::Vec<IntTag> mLeft, mTop, mRight, mBottom;
};

HWY_INLINE Prepared FindEllipse(const Places& p, Floats margin, Floats opacity,
                                const zeb::render::cpu::Scissor& scissor) {
    const FloatTag d;
    const IntTag di;
    const Floats ux = p.mUx;
    const Floats uy = p.mUy;
    const Floats vx = p.mVx;
    const Floats vy = p.mVy;
    const auto xx = hn::Add(hn::Mul(ux, ux), hn::Mul(vx, vx));
    const auto xy = hn::Add(hn::Mul(ux, uy), hn::Mul(vx, vy));
    const auto yy = hn::Add(hn::Mul(uy, uy), hn::Mul(vy, vy));
    const auto cross = hn::Abs(hn::Sub(hn::Mul(ux, vy), hn::Mul(uy, vx)));
    const auto side = hn::Add(hn::Set(d, 2.0F), margin);
    Prepared result;
    const auto faded = LogarithmAbove(hn::Mul(opacity, hn::Set(d, 255.0F)));
    const auto squared = hn::Mul(hn::Min(hn::Mul(hn::Set(d, 2.0F), hn::Mul(side, side)), faded), hn::Set(d, 1.001F));
    const auto radius = hn::Sqrt(squared);
    result.mSquared = squared;
    const auto height = hn::Sqrt(yy);
    const auto width = hn::Sqrt(xx);
    const auto one = hn::Set(d, 1.0F);
    result.mHalfWidth = hn::Mul(hn::Div(cross, height), radius);
    result.mShear = hn::Div(xy, yy);
    result.mInverseHeight = hn::Div(one, hn::Mul(yy, squared));
    result.mRightRow = hn::Mul(hn::Div(xy, width), radius);

    // The quad may end before the ellipse does.
    const auto room = hn::Set(d, 0.0625F);
    const auto reachX = hn::Min(hn::Mul(radius, width), hn::Mul(side, hn::Add(hn::Abs(ux), hn::Abs(vx))));
    const auto reachY = hn::Min(hn::Mul(radius, height), hn::Mul(side, hn::Add(hn::Abs(uy), hn::Abs(vy))));
    const auto pixel = [&](Floats middle, Floats reach, float last, std::int32_t low, std::int32_t high) HWY_ATTR {
        const auto place = hn::Add(hn::Add(middle, reach), hn::Set(d, last - 0.5F));
        const auto lowest = hn::Set(d, static_cast<float>(low));
        const auto highest = hn::Set(d, static_cast<float>(high));
        return hn::ConvertTo(di, hn::Floor(hn::Min(hn::Max(place, lowest), highest)));
    };
    const auto extentX = hn::Add(hn::Mul(reachX, hn::Set(d, 1.0005F)), room);
    const auto extentY = hn::Add(hn::Mul(reachY, hn::Set(d, 1.0005F)), room);
    result.mLeft = pixel(p.mX, hn::Neg(extentX), 0.0F, scissor.mLeft, scissor.mRight);
    result.mTop = pixel(p.mY, hn::Neg(extentY), 0.0F, scissor.mTop, scissor.mBottom);
    result.mRight = pixel(p.mX, extentX, 1.0F, scissor.mLeft, scissor.mRight);
    result.mBottom = pixel(p.mY, extentY, 1.0F, scissor.mTop, scissor.mBottom);
    return result;
}

HWY_INLINE LaneBits GetBits(FloatMask mask) {
    const FloatTag d;
    HWY_ALIGN float lanes[kMostLanes];
    hn::Store(hn::IfThenElseZero(mask, hn::Set(d, 1.0F)), d, lanes);
    LaneBits bits = 0;
    for (std::size_t lane = 0; lane < hn::Lanes(d); ++lane) bits |= LaneBits{lanes[lane] != 0.0F} << lane;
    return bits;
}

/// Transposes fields of all lanes into the splats and boxes of those in `shown`; the others get empty boxes.
HWY_INLINE void StorePrepared(const Records& r, const Places& s, const Prepared& p, Floats inner, LaneBits shown,
                              const std::int32_t* indices, PreparedSplat* splats, TileBox* boxes) {
    const FloatTag d;
    const IntTag di;
    constexpr std::size_t kFields = 15;
    static_assert(sizeof(PreparedSplat) == 4 * (kFields + 1));
    HWY_ALIGN float fields[kFields][kMostLanes];
    const Floats vectors[kFields] = {s.mAlongXx,
                                     s.mAlongXy,
                                     s.mAlongYx,
                                     s.mAlongYy,
                                     r.mColor[0],
                                     r.mColor[1],
                                     r.mColor[2],
                                     r.mColor[3],
                                     hn::BitCast(d, s.mMiddleX),
                                     hn::BitCast(d, s.mMiddleY),
                                     inner,
                                     p.mShear,
                                     p.mHalfWidth,
                                     p.mInverseHeight,
                                     p.mRightRow};
    for (std::size_t i = 0; i < kFields; ++i) hn::Store(vectors[i], d, fields[i]);
    HWY_ALIGN std::int32_t edges[4][kMostLanes];
    hn::Store(p.mLeft, di, edges[0]);
    hn::Store(p.mTop, di, edges[1]);
    hn::Store(p.mRight, di, edges[2]);
    hn::Store(p.mBottom, di, edges[3]);
    for (std::size_t lane = 0; lane < hn::Lanes(d); ++lane) {
        boxes[lane] = {};
        if ((shown >> lane & 1U) == 0) continue;
        float words[kFields];
        for (std::size_t i = 0; i < kFields; ++i) words[i] = fields[i][lane];
        std::memcpy(&splats[lane], words, sizeof words);
        splats[lane].mRecord = static_cast<std::uint32_t>(indices[lane]);
        boxes[lane] = GetTiles(edges[0][lane], edges[1][lane], edges[2][lane], edges[3][lane]);
    }
}

/// As many splats as a vector holds, indices inside the records; returns those that are left to the scalar form.
HWY_INLINE LaneBits PrepareVector(const SplatSource& source, const zeb::render::cpu::Scissor& scissor,
                                  const std::int32_t* indices, PreparedSplat* splats, TileBox* boxes) {
    const FloatTag d;
    const Records r = LoadRecords(source, indices);
    const auto zero = hn::Zero(d);
    const auto inDepth = hn::And(hn::Ge(r.mW, hn::Set(d, std::numeric_limits<float>::min())),
                                 hn::And(hn::Ge(r.mZ, zero), hn::Ge(hn::Sub(r.mW, r.mZ), zero)));
    const Corners corners = FindCorners(source, r);
    const auto finite = [&](Floats v)
                            HWY_ATTR { return hn::Le(hn::Abs(v), hn::Set(d, std::numeric_limits<float>::max())); };
    const Places places = FindPlaces(source, r, corners);
    const Floats margin = FindMargin(places);
    const Prepared prepared = FindEllipse(places, margin, r.mColor[3], scissor);
    const Floats sure = hn::Sub(hn::Set(d, 2.0F), margin);
    const auto isWithin = hn::Le(prepared.mSquared, hn::Mul(sure, sure));
    const Floats inner = hn::IfThenElse(isWithin, hn::Set(d, 2.0F), sure);
    auto plain = hn::And(corners.mInside, IsConvex(corners));
    plain = hn::And(plain, hn::And(hn::Le(margin, hn::Set(d, 1.0F)), hn::Ge(r.mColor[3], zero)));
    for (const Floats& channel : r.mColor) plain = hn::And(plain, finite(channel));
    const auto visible = hn::And(plain, hn::Ge(r.mColor[3], hn::Set(d, 1.0F / 255.0F)));
    const LaneBits depthBits = GetBits(inDepth);
    StorePrepared(r, places, prepared, inner, depthBits & GetBits(visible), indices, splats, boxes);
    return depthBits & ~GetBits(plain);
}

/// All of `count` splats, with `left` told those that are for the scalar form.
void PrepareAll(const SplatSource& source, const zeb::render::cpu::Scissor& scissor, const std::uint32_t* order,
                std::size_t count, PreparedSplat* splats, TileBox* boxes, std::uint8_t* left) {
    constexpr std::size_t kAhead = 32;
    const std::size_t lanes = hn::Lanes(FloatTag());
    const std::size_t records = source.mRecords.size();
    for (std::size_t i = 0; i < count; i += lanes) {
        std::int32_t indices[kMostLanes];
        PreparedSplat rest[kMostLanes];
        TileBox restBoxes[kMostLanes];
        LaneBits known = 0;
        const std::size_t here = std::min(lanes, count - i);
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            const std::size_t place = i + std::min(lane, here - 1);
            const bool isKnown = lane < here && order[place] < records;
            indices[lane] = order[place] < records ? static_cast<std::int32_t>(order[place]) : 0;
            known |= LaneBits{isKnown} << lane;
            if (place + kAhead < count && order[place + kAhead] < records) {
                // A record may lie in two cache lines.
                const auto* const ahead = reinterpret_cast<const std::byte*>(&source.mRecords[order[place + kAhead]]);
                hwy::Prefetch(ahead);
                hwy::Prefetch(ahead + sizeof(gpu::SplatViewData) - 1);
            }
        }
        const bool whole = here == lanes;
        TileBox* const ownBoxes = whole ? boxes + i : restBoxes;
        const LaneBits scalar = PrepareVector(source, scissor, indices, whole ? splats + i : rest, ownBoxes) & known;
        if (!whole) {
            std::copy(rest, rest + here, splats + i);
            std::copy(restBoxes, restBoxes + here, boxes + i);
        }
        for (std::size_t lane = 0; lane < here; ++lane) {
            if ((known >> lane & 1U) == 0) boxes[i + lane] = {};
            left[i + lane] = static_cast<std::uint8_t>(scalar >> lane & 1U);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace nimbrel::cpu {

using namespace zeb::render::cpu;

HWY_EXPORT(PrepareAll);

namespace {

/// Pixels that a splat for the scalar form may show in: those between its corners, or all where a corner is no number.
TileBox FindScalarBox(const SplatSource& source, const Scissor& scissor, const gpu::SplatViewData& record) {
    float low[2] = {std::numeric_limits<float>::max(), std::numeric_limits<float>::max()};
    float high[2] = {-low[0], -low[1]};
    bool isFinite = true;
    for (std::uint32_t corner = 0; corner < 4; ++corner) {
        const glm::vec4 position = RenderGaussianSplatsVertex(record, corner, source.mConstants).mPosition;
        isFinite = isFinite && IsFinite(position);
        if (!isFinite) break;
        const Viewport& viewport = source.mViewport;
        const float pixels[2] = {viewport.mX + (position.x / position.w + 1.0F) * 0.5F * viewport.mWidth,
                                 viewport.mY + (1.0F - position.y / position.w) * 0.5F * viewport.mHeight};
        for (int i = 0; i < 2; ++i) {
            low[i] = std::min(low[i], pixels[i]);
            high[i] = std::max(high[i], pixels[i]);
        }
    }
    if (!isFinite) return GetTiles(scissor.mLeft, scissor.mTop, scissor.mRight, scissor.mBottom);
    const auto edge = [](float pixel, float room, std::int32_t least, std::int32_t most) {
        // A share of the distance, for the rounding of what lies far off the screen.
        const float place = pixel + room * (2.0F + 1e-4F * std::abs(pixel));
        return static_cast<std::int32_t>(std::clamp(place, static_cast<float>(least), static_cast<float>(most)));
    };
    return GetTiles(
        edge(low[0], -1.0F, scissor.mLeft, scissor.mRight), edge(low[1], -1.0F, scissor.mTop, scissor.mBottom),
        edge(high[0], 1.0F, scissor.mLeft, scissor.mRight), edge(high[1], 1.0F, scissor.mTop, scissor.mBottom));
}

void PrepareScalar(const SplatSource& source, const Scissor& scissor, std::uint32_t index, PreparedSplat& splat,
                   TileBox& box) {
    SplatQuad quad;
    const gpu::SplatViewData& record = source.mRecords[index];
    box = {};
    if (MakeSplatQuad(record, source.mConstants, source.mViewport, quad) == SplatQuadKind::Nothing) return;
    box = FindScalarBox(source, scissor, record);
    splat.mInner = PreparedSplat::kScalar;
    splat.mRecord = index;
}

}  // namespace

void PrepareSplats(const SplatSource& source, const Scissor& scissor, std::span<const std::uint32_t> order,
                   PreparedSplat* splats, TileBox* boxes) {
    constexpr std::size_t kPart = 256;
    // Gathers count words in 31 bits; no device hands over so many.
    const bool addressable = source.mRecords.size() < (std::size_t{1} << 31) / kRecordWords;
    std::uint8_t left[kPart];
    for (std::size_t begin = 0; begin < order.size(); begin += kPart) {
        const std::size_t count = std::min(kPart, order.size() - begin);
        if (addressable && !source.mRecords.empty()) {
            HWY_DYNAMIC_DISPATCH(PrepareAll)
            (source, scissor, order.data() + begin, count, splats + begin, boxes + begin, left);
        } else {
            std::fill_n(left, count, std::uint8_t{1});
        }
        for (std::size_t i = begin; i < begin + count; ++i) {
            if (left[i - begin] == 0) continue;
            boxes[i] = {};
            if (order[i] < source.mRecords.size()) PrepareScalar(source, scissor, order[i], splats[i], boxes[i]);
        }
    }
}

}  // namespace nimbrel::cpu
#endif
