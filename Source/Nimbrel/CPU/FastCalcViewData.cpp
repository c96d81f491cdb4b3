#include "Nimbrel/CPU/FastCalcViewData.h"

#include <algorithm>
#include <cstring>

#include "Nimbrel/CPU/EffectPosition.h"
#include "Nimbrel/CPU/SplatDecoding.h"
#include "Nimbrel/CPU/SplatShape.h"
#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/FastCalcViewData.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/highway.h>

#include "Nimbrel/CPU/SplatLanes-inl.h"
#include "Render/CPU/VectorConversion-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
namespace convert = zeb::render::cpu::HWY_NAMESPACE;

constexpr std::size_t kSHWords = 8;

HWY_INLINE Value Map(const HalfRange& range, Value value) {
    return Value(range.mLow) + value * Value(range.mHigh - range.mLow);
}
HWY_INLINE Value PowerOf8(Value value) {
    const Value squared = value * value;
    const Value fourth = squared * squared;
    return fourth * fourth;
}

/// Columns of the splats' axes by rows, as MakeSplatAxes.
struct Axes {
    Vector mRows[3];
};

HWY_INLINE Value Select(Lanes mask, Value yes, Value no) { return hn::IfThenElse(mask, yes.mLanes, no.mLanes); }

HWY_INLINE Axes DecodeAxes(Words rotation, Vector scale) {
    const FloatTag f;
    const Value a = Field<0, 1023>(rotation) * 0.00138241798F - 0.707106769F;
    const Value b = Field<10, 1023>(rotation) * 0.00138241798F - 0.707106769F;
    const Value c = Field<20, 1023>(rotation) * 0.00138241798F - 0.707106769F;
    const Value dropped = Sqrt(Value(1.0F) - Min(Max(a * a + b * b + c * c, 0.0F), 1.0F));
    const Value place = Field<30, 3>(rotation);
    const auto at = [&](float i) { return hn::Eq(place.mLanes, hn::Set(f, i)); };
    const Value x = Select(at(0.0F), dropped, a);
    const Value y = Select(at(0.0F), a, Select(at(1.0F), dropped, b));
    const Value z = Select(at(2.0F), dropped, Select(at(3.0F), c, b));
    const Value w = Select(at(3.0F), dropped, c);
    const Value one(1.0F);
    const Value two(2.0F);
    return {{{scale.x * (one - two * (y * y + z * z)), scale.y * (two * (x * y - w * z)),
              scale.z * (two * (x * z + w * y))},
             {scale.x * (two * (x * y + w * z)), scale.y * (one - two * (x * x + z * z)),
              scale.z * (two * (y * z - w * x))},
             {scale.x * (two * (x * z - w * y)), scale.y * (two * (y * z + w * x)),
              scale.z * (one - two * (x * x + y * y))}}};
}

/// Elements 00, 01, 02, 11, 12, 22.
struct Covariance {
    Value m00, m01, m02, m11, m12, m22;

    HWY_INLINE Vector Multiply(Vector v) const {
        return {m00 * v.x + m01 * v.y + m02 * v.z, m01 * v.x + m11 * v.y + m12 * v.z,
                m02 * v.x + m12 * v.y + m22 * v.z};
    }
};

HWY_INLINE Covariance MakeCovariance(const Axes& axes, Value size) {
    const Value squared = size * size;
    const Vector* rows = axes.mRows;
    const Vector row0 = rows[0] * squared;
    const Vector row1 = rows[1] * squared;
    return {Dot(row0, rows[0]), Dot(row0, rows[1]), Dot(row0, rows[2]),
            Dot(row1, rows[1]), Dot(row1, rows[2]), Dot(rows[2] * squared, rows[2])};
}

struct Screen {
    Value mMajorX, mMajorY, mMinorX, mMinorY;
};

/// The first two rows of the model's way to the camera, linearised for a perspective at `position`.
HWY_INLINE void LinearisePerspective(const gpu::CalcViewDataConstants& constants, Vector position, Vector& t0,
                                     Vector& t1) {
    const glm::mat4& modelView = constants._MatrixMV;
    const Vector view = TransformPoint(modelView, position);
    const float p00 = constants._MatrixP[0][0];
    const float p11 = constants._MatrixP[1][1];
    const float limitX = 1.3F / p00;
    const float limitY = 1.3F / ((p00 / p11) * p11);
    const Value focal((constants._VecScreenParams.x * 0.5F) * p00);
    const Value tx = Min(Max(view.x / view.z, -limitX), limitX);
    const Value ty = Min(Max(view.y / view.z, -limitY), limitY);
    const Value j02 = -(focal * view.z * tx) / (view.z * view.z);
    const Value j12 = -(focal * view.z * ty) / (view.z * view.z);
    const Value j = focal / view.z;
    const Vector w2 = Row3(modelView, 2);
    t0 = t0 * j + w2 * j02;
    t1 = t1 * j + w2 * j12;
}

/// ProjectCovariance, then MakeScreenAxes.
HWY_INLINE Screen ProjectAxes(const gpu::CalcViewDataConstants& constants, Vector position,
                              const Covariance& covariance) {
    Vector t0 = Row3(constants._MatrixMV, 0);
    Vector t1 = Row3(constants._MatrixMV, 1);
    if (constants._CameraType == 0) LinearisePerspective(constants, position, t0, t1);
    const Vector v0 = covariance.Multiply(t0);
    const Vector v1 = covariance.Multiply(t1);
    const Value a = Dot(t0, v0) + 0.3F;
    const Value b = Dot(t0, v1);
    const Value c = Dot(t1, v1) + 0.3F;

    const Value mid = (a + c) * 0.5F;
    const Value half = (a - c) * 0.5F;
    const Value radius = Sqrt(half * half + b * b);
    const Value l1 = mid + radius;
    const Value l2 = Max(mid - radius, 0.1F);
    const Value e = l1 - a;
    const Value r = Value(1.0F) / Sqrt(b * b + e * e);
    const Value dx = r * b;
    const Value dy = -(r * e);
    const Value m1 = Min(Sqrt(Value(2.0F) * l1), 4096.0F);
    const Value m2 = Min(Sqrt(Value(2.0F) * l2), 4096.0F);
    return {m1 * dx, m1 * dy, m2 * dy, -(m2 * dx)};
}

/// Coefficient `index` of all splats; each word has two.
HWY_INLINE Vector DecodeSH(const Words (&words)[kSHWords], const HalfRange (&ranges)[3], int index) {
    const Words pair = words[index / 2];
    const Words word = index % 2 == 0 ? pair : hn::ShiftRight<16>(pair);
    constexpr float kStep6 = 0.0158730168F;
    constexpr float kStep5 = 0.0322580636F;
    return {Map(ranges[0], Field<0, 31>(word) * kStep5), Map(ranges[1], Field<5, 63>(word) * kStep6),
            Map(ranges[2], Field<11, 31>(word) * kStep5)};
}

template <class Coefficient>
HWY_INLINE Vector EvaluateSH(Vector color, const Coefficient& sh, Vector direction, std::int32_t order) {
    const Value x = direction.x;
    const Value y = direction.y;
    const Value z = direction.z;
    Vector result = color;
    if (order > 0) result = result + (sh(0) * y - sh(1) * z + sh(2) * x) * 0.488602489F;
    const Value xx = x * x;
    const Value yy = y * y;
    const Value zz = z * z;
    const Value xy = x * y;
    if (order > 1) {
        result = result + sh(3) * (Value(1.09254837F) * xy);
        result = result + sh(4) * (Value(-1.09254837F) * z * y);
        result = result + sh(5) * (Value(0.3153916F) * (Value(2.0F) * zz - xx - yy));
        result = result + sh(6) * (Value(-1.09254837F) * z * x);
        result = result + sh(7) * (Value(0.546274185F) * (xx - yy));
    }
    if (order > 2) {
        const Value three(3.0F);
        const Value four(4.0F);
        result = result + sh(8) * (Value(0.590043604F) * y * (three * xx - yy));
        result = result + sh(9) * (Value(-2.89061141F) * z * xy);
        result = result + sh(10) * (Value(0.457045794F) * y * (four * zz - xx - yy));
        result = result + sh(11) * (Value(-0.373176306F) * z * (Value(2.0F) * zz - three * xx - three * yy));
        result = result + sh(12) * (Value(0.457045794F) * x * (four * zz - xx - yy));
        result = result + sh(13) * (Value(-1.44530571F) * z * (xx - yy));
        result = result + sh(14) * (Value(0.590043604F) * x * (xx - three * yy));
    }
    return {Max(result.x, 0.0F), Max(result.y, 0.0F), Max(result.z, 0.0F)};
}

/// What the blocks hold of as many splats as fill a vector.
struct Packed {
    Words mPositions, mRotations, mScales;
    Words mSH[kSHWords];
    hn::Vec<FloatTag> mTexels[4];
};

/// Words of a block, which starts and ends at a multiple of 4 bytes.
HWY_INLINE const std::uint32_t* ToWords(std::span<const std::byte> block) {
    return reinterpret_cast<const std::uint32_t*>(block.data());
}

/// Texels of a chunk lie in a block of 16 x 16 in Morton order, `texels` its first; see LoadColorTexel.
HWY_INLINE Words GatherTexels(const std::byte* texels, std::uint32_t width, std::uint32_t splat) {
    const WordTag d;
    const auto mask = [&](std::uint32_t bits) HWY_ATTR { return hn::Set(d, bits); };
    const auto index = hn::And(hn::Iota(d, splat), mask(255));
    const auto a = hn::Or(hn::And(index, mask(0x55)), hn::And(hn::ShiftLeft<7>(index), mask(0x5500)));
    const auto b = hn::And(hn::Or(a, hn::ShiftRight<1>(a)), mask(0x3333));
    const auto c = hn::Or(b, hn::ShiftRight<2>(b));
    const auto x = hn::And(c, mask(15));
    const auto y = hn::And(hn::ShiftRight<8>(c), mask(15));
    const auto place = hn::BitCast(IntTag(), hn::Add(x, hn::Mul(y, mask(width))));
    return hn::GatherIndex(d, reinterpret_cast<const std::uint32_t*>(texels), place);
}

HWY_INLINE void LoadPacked(const SplatBlocks& blocks, const std::byte* texels, std::uint32_t splat, bool withSH,
                           Packed& packed) {
    const WordTag d;
    packed.mPositions = hn::LoadU(d, ToWords(blocks.mPositions) + splat);
    hn::LoadInterleaved2(d, ToWords(blocks.mOther) + std::size_t{2} * splat, packed.mRotations, packed.mScales);
    if (withSH) {
        const auto places = hn::Mul(hn::Iota(IntTag(), 0), hn::Set(IntTag(), kSHWords));
        const std::uint32_t* const words = ToWords(blocks.mSH) + kSHWords * splat;
        for (std::size_t i = 0; i < kSHWords; ++i) packed.mSH[i] = hn::GatherIndex(d, words + i, places);
    }
    const Words texel = GatherTexels(texels, blocks.mColor.mWidth, splat);
    const auto channel = [](Value step) HWY_ATTR { return convert::VectorFromStep<255>(FloatTag(), step.mLanes); };
    packed.mTexels[0] = channel(Field<0, 255>(texel));
    packed.mTexels[1] = channel(Field<8, 255>(texel));
    packed.mTexels[2] = channel(Field<16, 255>(texel));
    packed.mTexels[3] = channel(Field<24, 255>(texel));
}

/// A splat out of sight keeps its position only.
HWY_INLINE void StoreRecords(const Value (&position)[4], const Screen& screen, Vector color, Value opacity,
                             Lanes hidden, gpu::SplatViewData* records) {
    const FloatTag d;
    const WordTag dw;
    constexpr std::size_t kHalf = sizeof(glm::vec4);
    HWY_ALIGN float positions[4 * kMostLanes];
    HWY_ALIGN float axes[4 * kMostLanes];
    HWY_ALIGN std::uint32_t colors[2 * kMostLanes];
    const auto shown = [&](Value v) HWY_ATTR { return hn::IfThenZeroElse(hidden, v.mLanes); };
    const auto pack = [&](Value high, Value low) HWY_ATTR {
        const auto bits = [&](Value v) HWY_ATTR { return convert::VectorToHalfBits(d, shown(v)); };
        return hn::Or(hn::ShiftLeft<16>(bits(high)), bits(low));
    };
    hn::StoreInterleaved4(position[0].mLanes, position[1].mLanes, position[2].mLanes, position[3].mLanes, d, positions);
    hn::StoreInterleaved4(shown(screen.mMajorX), shown(screen.mMajorY), shown(screen.mMinorX), shown(screen.mMinorY), d,
                          axes);
    hn::StoreInterleaved2(pack(color.x, color.y), pack(color.z, opacity), dw, colors);
    for (std::size_t i = 0; i < hn::Lanes(d); ++i) {
        auto* const bytes = reinterpret_cast<std::byte*>(records + i);
        std::memcpy(bytes, positions + 4 * i, kHalf);
        std::memcpy(bytes + kHalf, axes + 4 * i, kHalf);
        std::memcpy(bytes + 2 * kHalf, colors + 2 * i, sizeof records[i].color);
    }
}

HWY_INLINE Vector ViewDirection(const gpu::CalcViewDataConstants& constants, Vector world) {
    const glm::vec4& camera = constants._VecWorldSpaceCameraPos;
    const Vector toCamera = Vector{camera.x, camera.y, camera.z} - world;
    const glm::mat4& m = constants._MatrixWorldToObject;
    const Vector direction = {Dot(Row3(m, 0), toCamera), Dot(Row3(m, 1), toCamera), Dot(Row3(m, 2), toCamera)};
    return direction * (Value(1.0F) / Sqrt(Dot(direction, direction)));
}

HWY_INLINE Value Opacity(const gpu::CalcViewDataConstants& constants, const HalfRange& range, Value encoded,
                         Value factor) {
    const FloatTag d;
    const Value u = (Value(range.mLow - 0.5F) + encoded * Value(range.mHigh - range.mLow)) * 0.5F;
    const auto zero = hn::Zero(d);
    const Value sign = Select(hn::Gt(u.mLanes, zero), 1.0F, Select(hn::Lt(u.mLanes, zero), -1.0F, 0.0F));
    const Value opacity = sign * Sqrt(hn::Abs(u.mLanes)) + 0.5F;
    return Min(Value(constants._SplatOpacityScale) * opacity * factor, 65000.0F);
}

/// What the effects on places make of splats.
struct Placed {
    Vector mPosition;
    Value mSize, mOpacity;
    Lanes mCropped;
};

HWY_INLINE Placed ApplyEffects(const CalcViewDataInputs& inputs, Vector aligned) {
    const FloatTag d;
    const std::uint32_t instance = inputs.mConstants._DrawingIndex;
    Points points(aligned);
    HWY_ALIGN float sizes[kMostLanes];
    HWY_ALIGN float opacities[kMostLanes];
    HWY_ALIGN float cropped[kMostLanes];
    for (std::size_t i = 0; i < hn::Lanes(d); ++i) {
        const glm::vec3 place = points.Get(i);
        cropped[i] = IsCroppedByShape(inputs.mModel, place) ? 1.0F : 0.0F;
        const glm::vec3 effect = EffectPosition(inputs.mNoise, inputs.mCurves, instance, place);
        points.Set(i, effect);
        sizes[i] = ScaleFactor(inputs.mModel, inputs.mCurves, instance, effect);
        opacities[i] = OpacityFactor(inputs.mModel, inputs.mCurves, instance, effect);
    }
    return {points.Load(), hn::Load(d, sizes), hn::Load(d, opacities), hn::Gt(hn::Load(d, cropped), hn::Zero(d))};
}

HWY_INLINE Vector ApplyColorEffect(const CalcViewDataInputs& inputs, Vector position, Vector color) {
    const gpu::CalcViewDataConstants& constants = inputs.mConstants;
    if (inputs.mModel.model_effects_splatColor_enabled != 1) return color;
    const Points places(position);
    Points colors(color);
    for (std::size_t i = 0; i < hn::Lanes(FloatTag()); ++i) {
        colors.Set(i,
                   BlendedColor(inputs.mModel, inputs.mCurves, constants._DrawingIndex, places.Get(i), colors.Get(i)));
    }
    return colors.Load();
}

/// 1 at the near end of the range and in front of it.
HWY_INLINE Vector GetDepthColor(const gpu::CalcViewDataConstants& constants, Vector world) {
    const Value depth = RowTimesPoint(constants._MatrixCamera, 2, world) - constants._ZDepthNear;
    const Value shade = Value(1.0F) - depth / (constants._ZDepthFar - constants._ZDepthNear);
    const Value clamped = Min(Max(shade, 0.0F), 1.0F);
    return {clamped, clamped, clamped};
}

/// Splats that reach over the crop's plane.
HWY_INLINE Lanes FindAbovePlane(const CalcViewDataInputs& inputs, Vector position, const Axes& axes) {
    const FloatTag d;
    HWY_ALIGN float above[kMostLanes];
    const Points places(position);
    const Points rows[3] = {Points(axes.mRows[0]), Points(axes.mRows[1]), Points(axes.mRows[2])};
    for (std::size_t i = 0; i < hn::Lanes(d); ++i) {
        const SplatAxes own = {{rows[0].Get(i), rows[1].Get(i), rows[2].Get(i)}};
        const float highest = HighestCorner(inputs.mConstants._MatrixAlign, places.Get(i), own);
        above[i] = highest < inputs.mModel.model_crop_yPlane_altitude ? 0.0F : 1.0F;
    }
    return hn::Gt(hn::Load(d, above), hn::Zero(d));
}

/// The ranges that a chunk's numbers are stretched over.
struct ChunkRanges {
    explicit ChunkRanges(const gpu::SplatChunkInfo& chunk)
        : mChunk(chunk),
          mScales{HalfRange(chunk.sclX), HalfRange(chunk.sclY), HalfRange(chunk.sclZ)},
          mColors{HalfRange(chunk.colR), HalfRange(chunk.colG), HalfRange(chunk.colB)},
          mHarmonics{HalfRange(chunk.shR), HalfRange(chunk.shG), HalfRange(chunk.shB)},
          mOpacities(chunk.colA) {}

    HWY_INLINE Vector DecodeScale(Words words) const {
        const Vector v = UnpackNorm11(words);
        return {PowerOf8(Map(mScales[0], v.x)), PowerOf8(Map(mScales[1], v.y)), PowerOf8(Map(mScales[2], v.z))};
    }
    HWY_INLINE Vector DecodeColor(const hn::Vec<FloatTag> (&texels)[4]) const {
        return {Map(mColors[0], texels[0]), Map(mColors[1], texels[1]), Map(mColors[2], texels[2])};
    }

    gpu::SplatChunkInfo mChunk;
    HalfRange mScales[3], mColors[3], mHarmonics[3];
    HalfRange mOpacities;
};

/// Records of as many splats as a vector holds.
template <bool kEffects>
HWY_INLINE void CalcVector(const CalcViewDataInputs& inputs, const ChunkRanges& ranges, const Packed& packed,
                           std::int32_t order, gpu::SplatViewData* records) {
    const gpu::CalcViewDataConstants& constants = inputs.mConstants;
    const Vector position = DecodePosition(ranges.mChunk, packed.mPositions);
    Vector place = TransformPoint(constants._MatrixAlign, position);
    Value size(constants._SplatScale);
    Value fading(1.0F);
    Lanes cropped = hn::FirstN(FloatTag(), 0);
    if constexpr (kEffects) {
        const Placed placed = ApplyEffects(inputs, place);
        place = placed.mPosition;
        size = placed.mSize * size;
        fading = placed.mOpacity;
        cropped = placed.mCropped;
    }
    const Vector world = TransformPoint(constants._MatrixTransform, place);
    const Axes axes = DecodeAxes(packed.mRotations, ranges.DecodeScale(packed.mScales));
    const Screen screen = ProjectAxes(constants, position, MakeCovariance(axes, size));
    const auto sh = [&](int index) HWY_ATTR { return DecodeSH(packed.mSH, ranges.mHarmonics, index); };
    Vector color = EvaluateSH(ranges.DecodeColor(packed.mTexels), sh, ViewDirection(constants, world), order);
    if constexpr (kEffects) color = ApplyColorEffect(inputs, place, color);
    if (constants._DrawZDepth == 1) color = GetDepthColor(constants, world);
    const Value opacity = Opacity(constants, ranges.mOpacities, packed.mTexels[3], fading);

    const glm::mat4& clip = constants._MatrixVP;
    Value clipped[4] = {RowTimesPoint(clip, 0, world), RowTimesPoint(clip, 1, world), RowTimesPoint(clip, 2, world),
                        RowTimesPoint(clip, 3, world)};
    auto behind = hn::Le(clipped[3].mLanes, hn::Zero(FloatTag()));
    if (constants._CameraType == 1) behind = hn::FirstN(FloatTag(), 0);
    if constexpr (kEffects) {
        if (inputs.mModel.model_crop_yPlane_enabled == 1)
            cropped = hn::Or(cropped, hn::AndNot(behind, FindAbovePlane(inputs, position, axes)));
        for (Value& value : clipped) value = hn::IfThenZeroElse(cropped, value.mLanes);
    }
    StoreRecords(clipped, screen, color, opacity, hn::Or(behind, cropped), records);
}

/// Records of the splats [begin, end) of one chunk, as many as fill whole vectors; returns the first that is left.
/// `texels` is the first of the chunk's.
template <bool kEffects>
HWY_INLINE std::uint32_t CalcChunk(const CalcViewDataInputs& inputs, const std::byte* texels, std::uint32_t begin,
                                   std::uint32_t end, gpu::SplatViewData* records) {
    const auto count = static_cast<std::uint32_t>(hn::Lanes(FloatTag()));
    // An orthographic camera has no view direction; there only the constant term counts.
    const bool perspective = inputs.mConstants._CameraType == 0;
    const std::int32_t order = perspective ? static_cast<std::int32_t>(inputs.mConstants._SHOrder) : 0;
    const ChunkRanges ranges(LoadChunk(inputs.mBlocks, begin));
    Packed packed;
    std::uint32_t splat = begin;
    for (; splat + count <= end; splat += count) {
        LoadPacked(inputs.mBlocks, texels, splat, order > 0, packed);
        CalcVector<kEffects>(inputs, ranges, packed, order, records + splat);
    }
    return splat;
}

std::uint32_t CalcChunkViewData(const CalcViewDataInputs& inputs, bool hasEffects, const std::byte* texels,
                                std::uint32_t begin, std::uint32_t end, gpu::SplatViewData* records) {
    return hasEffects ? CalcChunk<true>(inputs, texels, begin, end, records)
                      : CalcChunk<false>(inputs, texels, begin, end, records);
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace nimbrel::cpu {

HWY_EXPORT(CalcChunkViewData);

namespace {

/// The formats that assets are made in, and the cameras there are.
bool HasVectorForm(const CalcViewDataInputs& inputs) {
    const SplatBlocks& blocks = inputs.mBlocks;
    return blocks.PositionFormat() == 2 && blocks.ScaleFormat() == 2 && blocks.SHFormat() == 3 &&
           blocks.mColor.mFormat == zeb::render::Format::RGBA8Unorm &&
           (inputs.mConstants._CameraType == 0 || inputs.mConstants._CameraType == 1);
}

bool HasEffects(const CalcViewDataInputs& inputs) {
    const gpu::ModelConstants1& model = inputs.mModel;
    return inputs.mNoise.displacement_enabled != 0 || inputs.mNoise.noise_enabled != 0 ||
           model.model_crop_shape_enabled == 1 || model.model_crop_yPlane_enabled == 1 ||
           model.model_effects_splatColor_enabled == 1 || model.model_effects_splatOpacity_enabled == 1 ||
           model.model_effects_splatScale_enabled == 1;
}

/// First texel of the block of the chunk that a splat is in; null where the block does not lie wholly in the texture.
const std::byte* FindTexels(const SplatBlocks& blocks, std::uint32_t splat) {
    constexpr std::uint64_t kSize = 16;
    constexpr std::uint64_t kBlocksInRow = 128;
    const std::uint64_t chunk = splat / gpu::kSplatsPerChunk;
    const std::uint64_t x = chunk % kBlocksInRow * kSize;
    const std::uint64_t y = chunk / kBlocksInRow * kSize + blocks.mConstants._SplatColorYOffset;
    if (x + kSize > blocks.mColor.mWidth || y + kSize > blocks.mColor.mHeight) return nullptr;
    return blocks.mColor.mData + 4 * (y * blocks.mColor.mWidth + x);
}

}  // namespace

void FastCalcViewData(const CalcViewDataInputs& inputs, std::uint32_t begin, std::uint32_t end,
                      std::span<gpu::SplatViewData> records) {
    const auto last =
        static_cast<std::uint32_t>(std::min<std::size_t>(std::min(end, inputs.mConstants._SplatCount), records.size()));
    // Only splats whose bytes lie wholly in the blocks.
    const SplatBlocks& blocks = inputs.mBlocks;
    const std::size_t stored = std::min({blocks.mPositions.size() / 4, blocks.mOther.size() / 8, blocks.mSH.size() / 32,
                                         static_cast<std::size_t>(last)});
    const bool hasEffects = HasEffects(inputs);
    const std::uint32_t fastEnd = HasVectorForm(inputs) ? static_cast<std::uint32_t>(stored) : begin;
    std::uint32_t splat = begin;
    while (splat < fastEnd) {
        const std::uint32_t chunkEnd = std::min(fastEnd, (splat / gpu::kSplatsPerChunk + 1) * gpu::kSplatsPerChunk);
        const std::byte* const texels = FindTexels(blocks, splat);
        const std::uint32_t done = texels == nullptr ? splat
                                                     : HWY_DYNAMIC_DISPATCH(CalcChunkViewData)(
                                                           inputs, hasEffects, texels, splat, chunkEnd, records.data());
        CalcViewData(inputs, done, chunkEnd, records);
        splat = chunkEnd;
    }
    CalcViewData(inputs, splat, last, records);
}

}  // namespace nimbrel::cpu
#endif
