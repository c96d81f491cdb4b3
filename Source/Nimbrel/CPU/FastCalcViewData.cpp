#include "Nimbrel/CPU/FastCalcViewData.h"

#include <algorithm>
#include <cstring>

#include "Nimbrel/CPU/SplatDecoding.h"
#include "Nimbrel/CPU/VectorTargets.h"
#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/HalfConversion.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/FastCalcViewData.cpp"
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
using Words = hn::Vec<WordTag>;

constexpr std::size_t kMostLanes = hn::MaxLanes(FloatTag());
constexpr std::uint64_t kOtherSize = 8;
constexpr std::uint64_t kSHSize = 32;
constexpr std::size_t kSHWords = kSHSize / 4;

/// One value of several splats; arithmetic reads as in the scalar form, operation by operation.
struct Value {
    hn::Vec<FloatTag> mLanes;

    HWY_INLINE Value() : mLanes(hn::Zero(FloatTag())) {}
    HWY_INLINE Value(hn::Vec<FloatTag> lanes) : mLanes(lanes) {}
    HWY_INLINE Value(float value) : mLanes(hn::Set(FloatTag(), value)) {}
};
HWY_INLINE Value operator+(Value a, Value b) { return hn::Add(a.mLanes, b.mLanes); }
HWY_INLINE Value operator-(Value a, Value b) { return hn::Sub(a.mLanes, b.mLanes); }
HWY_INLINE Value operator*(Value a, Value b) { return hn::Mul(a.mLanes, b.mLanes); }
HWY_INLINE Value operator/(Value a, Value b) { return hn::Div(a.mLanes, b.mLanes); }
HWY_INLINE Value operator-(Value a) { return hn::Neg(a.mLanes); }
HWY_INLINE Value Sqrt(Value a) { return hn::Sqrt(a.mLanes); }
HWY_INLINE hn::Mask<FloatTag> IsNumber(Value a) { return hn::Eq(a.mLanes, a.mLanes); }
/// As the scalar ones: of a NaN and a number, the number.
HWY_INLINE Value Max(Value a, Value b) {
    return hn::IfThenElse(hn::Or(hn::Ge(a.mLanes, b.mLanes), hn::Not(IsNumber(b))), a.mLanes, b.mLanes);
}
HWY_INLINE Value Min(Value a, Value b) {
    return hn::IfThenElse(hn::Or(hn::Lt(a.mLanes, b.mLanes), hn::Not(IsNumber(b))), a.mLanes, b.mLanes);
}

struct Vector {
    Value x, y, z;
};
HWY_INLINE Vector operator+(Vector a, Vector b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
HWY_INLINE Vector operator-(Vector a, Vector b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
HWY_INLINE Vector operator*(Vector a, Value s) { return {a.x * s, a.y * s, a.z * s}; }
HWY_INLINE Value Dot(Vector a, Vector b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

/// Row `row` of a matrix times (v, 1), and times (v, 0) without its last product.
HWY_INLINE Value RowTimesPoint(const glm::mat4& m, int row, Vector v) {
    return Value(m[0][row]) * v.x + Value(m[1][row]) * v.y + Value(m[2][row]) * v.z + Value(m[3][row]);
}
HWY_INLINE Vector TransformPoint(const glm::mat4& m, Vector v) {
    return {RowTimesPoint(m, 0, v), RowTimesPoint(m, 1, v), RowTimesPoint(m, 2, v)};
}
HWY_INLINE Vector Row3(const glm::mat4& m, int row) { return {m[0][row], m[1][row], m[2][row]}; }

template <int kShift, std::uint32_t kMask>
HWY_INLINE Value Field(Words words) {
    const auto field = hn::And(hn::ShiftRight<kShift>(words), hn::Set(WordTag(), kMask));
    return hn::ConvertTo(FloatTag(), hn::BitCast(IntTag(), field));
}

HWY_INLINE Vector UnpackNorm11(Words words) {
    constexpr float kStep11 = 0.000488519785F;
    constexpr float kStep10 = 0.000977517106F;
    return {Field<0, 2047>(words) * kStep11, Field<11, 1023>(words) * kStep10, Field<21, 2047>(words) * kStep11};
}

HWY_INLINE Value Map(const HalfRange& range, Value value) {
    return Value(range.mLow) + value * Value(range.mHigh - range.mLow);
}
HWY_INLINE Value MapFloats(const glm::vec2& range, Value value) {
    return Value(range.x) + value * Value(range.y - range.x);
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

HWY_INLINE Value Select(hn::Mask<FloatTag> mask, Value yes, Value no) {
    return hn::IfThenElse(mask, yes.mLanes, no.mLanes);
}

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

HWY_INLINE Covariance MakeCovariance(const Axes& axes, float size) {
    const Value squared(size * size);
    const Vector* rows = axes.mRows;
    const Vector row0 = rows[0] * squared;
    const Vector row1 = rows[1] * squared;
    return {Dot(row0, rows[0]), Dot(row0, rows[1]), Dot(row0, rows[2]),
            Dot(row1, rows[1]), Dot(row1, rows[2]), Dot(rows[2] * squared, rows[2])};
}

struct Screen {
    Value mMajorX, mMajorY, mMinorX, mMinorY;
};

/// ProjectCovariance for a perspective camera, then MakeScreenAxes.
HWY_INLINE Screen ProjectAxes(const gpu::CalcViewDataConstants& constants, Vector position,
                              const Covariance& covariance) {
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
    const Vector t0 = Row3(modelView, 0) * j + w2 * j02;
    const Vector t1 = Row3(modelView, 1) * j + w2 * j12;
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

/// The words of one splat's coefficients lie side by side; coefficient `index` of all.
HWY_INLINE Vector DecodeSH(const std::uint32_t (&words)[kSHWords][kMostLanes], const HalfRange (&ranges)[3],
                           int index) {
    const Words pair = hn::Load(WordTag(), words[index / 2]);
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

/// Bytes of as many splats as fill a vector, one array an item.
struct Packed {
    HWY_ALIGN std::uint32_t mPositions[kMostLanes];
    HWY_ALIGN std::uint32_t mRotations[kMostLanes];
    HWY_ALIGN std::uint32_t mScales[kMostLanes];
    HWY_ALIGN std::uint32_t mSH[kSHWords][kMostLanes];
    HWY_ALIGN float mTexels[4][kMostLanes];
};

HWY_INLINE void LoadPacked(const SplatBlocks& blocks, std::uint32_t splat, bool withSH, Packed& packed) {
    for (std::uint32_t lane = 0; lane < hn::Lanes(FloatTag()); ++lane) {
        const std::size_t index = splat + lane;
        std::memcpy(&packed.mPositions[lane], blocks.mPositions.data() + 4 * index, 4);
        std::memcpy(&packed.mRotations[lane], blocks.mOther.data() + kOtherSize * index, 4);
        std::memcpy(&packed.mScales[lane], blocks.mOther.data() + kOtherSize * index + 4, 4);
        if (withSH) {
            std::uint32_t words[kSHWords];
            std::memcpy(words, blocks.mSH.data() + kSHSize * index, kSHSize);
            for (std::size_t i = 0; i < kSHWords; ++i) packed.mSH[i][lane] = words[i];
        }
        const glm::vec4 texel = LoadColorTexel(blocks, splat + lane);
        for (int channel = 0; channel < 4; ++channel) packed.mTexels[channel][lane] = texel[channel];
    }
}

/// Fields of the records: clip position, axes, colour, opacity.
constexpr std::size_t kFields = 12;

/// A splat behind the camera keeps its position only.
HWY_INLINE void StoreRecords(const Value (&fields)[kFields], gpu::SplatViewData* records) {
    const FloatTag d;
    HWY_ALIGN float lanes[kFields][kMostLanes];
    for (std::size_t i = 0; i < kFields; ++i) hn::Store(fields[i].mLanes, d, lanes[i]);
    const auto pack = [](float high, float low) {
        using zeb::render::cpu::FloatToHalf;
        return (static_cast<std::uint32_t>(FloatToHalf(high)) << 16) | FloatToHalf(low);
    };
    for (std::size_t i = 0; i < hn::Lanes(d); ++i) {
        gpu::SplatViewData& record = records[i];
        record = {};
        record.pos = {lanes[0][i], lanes[1][i], lanes[2][i], lanes[3][i]};
        if (record.pos.w <= 0.0F) continue;
        record.axis1 = {lanes[4][i], lanes[5][i]};
        record.axis2 = {lanes[6][i], lanes[7][i]};
        record.color[0] = pack(lanes[8][i], lanes[9][i]);
        record.color[1] = pack(lanes[10][i], lanes[11][i]);
    }
}

HWY_INLINE Vector ViewDirection(const gpu::CalcViewDataConstants& constants, Vector world) {
    const glm::vec4& camera = constants._VecWorldSpaceCameraPos;
    const Vector toCamera = Vector{camera.x, camera.y, camera.z} - world;
    const glm::mat4& m = constants._MatrixWorldToObject;
    const Vector direction = {Dot(Row3(m, 0), toCamera), Dot(Row3(m, 1), toCamera), Dot(Row3(m, 2), toCamera)};
    return direction * (Value(1.0F) / Sqrt(Dot(direction, direction)));
}

HWY_INLINE Value Opacity(const gpu::CalcViewDataConstants& constants, const HalfRange& range, Value encoded) {
    const FloatTag d;
    const Value u = (Value(range.mLow - 0.5F) + encoded * Value(range.mHigh - range.mLow)) * 0.5F;
    const auto zero = hn::Zero(d);
    const Value sign = Select(hn::Gt(u.mLanes, zero), 1.0F, Select(hn::Lt(u.mLanes, zero), -1.0F, 0.0F));
    const Value opacity = sign * Sqrt(hn::Abs(u.mLanes)) + 0.5F;
    return Min(Value(constants._SplatOpacityScale) * opacity, 65000.0F);
}

/// Records of the splats [begin, end) of one chunk, as many as fill whole vectors; returns the first that is left.
std::uint32_t CalcChunkViewData(const CalcViewDataInputs& inputs, std::uint32_t begin, std::uint32_t end,
                                gpu::SplatViewData* records) {
    const FloatTag d;
    const WordTag dw;
    const auto count = static_cast<std::uint32_t>(hn::Lanes(d));
    const gpu::CalcViewDataConstants& constants = inputs.mConstants;
    const auto order = static_cast<std::int32_t>(constants._SHOrder);
    const gpu::SplatChunkInfo chunk = LoadChunk(inputs.mBlocks, begin);
    const HalfRange scales[3] = {HalfRange(chunk.sclX), HalfRange(chunk.sclY), HalfRange(chunk.sclZ)};
    const HalfRange colors[3] = {HalfRange(chunk.colR), HalfRange(chunk.colG), HalfRange(chunk.colB)};
    const HalfRange harmonics[3] = {HalfRange(chunk.shR), HalfRange(chunk.shG), HalfRange(chunk.shB)};
    const HalfRange opacities(chunk.colA);
    Packed packed;
    std::uint32_t splat = begin;
    for (; splat + count <= end; splat += count) {
        LoadPacked(inputs.mBlocks, splat, order > 0, packed);
        const Vector v = UnpackNorm11(hn::Load(dw, packed.mPositions));
        const Vector position = {MapFloats(chunk.posX, v.x), MapFloats(chunk.posY, v.y), MapFloats(chunk.posZ, v.z)};
        const Vector world =
            TransformPoint(constants._MatrixTransform, TransformPoint(constants._MatrixAlign, position));
        const Vector s = UnpackNorm11(hn::Load(dw, packed.mScales));
        const Vector scale = {PowerOf8(Map(scales[0], s.x)), PowerOf8(Map(scales[1], s.y)),
                              PowerOf8(Map(scales[2], s.z))};
        const Axes axes = DecodeAxes(hn::Load(dw, packed.mRotations), scale);
        const Screen screen = ProjectAxes(constants, position, MakeCovariance(axes, constants._SplatScale));
        const auto texel = [&](int channel) { return Value(hn::Load(d, packed.mTexels[channel])); };
        const Vector base = {Map(colors[0], texel(0)), Map(colors[1], texel(1)), Map(colors[2], texel(2))};
        const auto sh = [&](int index) HWY_ATTR { return DecodeSH(packed.mSH, harmonics, index); };
        const Vector color = EvaluateSH(base, sh, ViewDirection(constants, world), order);
        const glm::mat4& clip = constants._MatrixVP;
        const Value fields[kFields] = {RowTimesPoint(clip, 0, world),
                                       RowTimesPoint(clip, 1, world),
                                       RowTimesPoint(clip, 2, world),
                                       RowTimesPoint(clip, 3, world),
                                       screen.mMajorX,
                                       screen.mMajorY,
                                       screen.mMinorX,
                                       screen.mMinorY,
                                       color.x,
                                       color.y,
                                       color.z,
                                       Opacity(constants, opacities, texel(3))};
        StoreRecords(fields, records + splat);
    }
    return splat;
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace nimbrel::cpu {

HWY_EXPORT(CalcChunkViewData);

namespace {

bool IsPlain(const CalcViewDataInputs& inputs) {
    const SplatBlocks& blocks = inputs.mBlocks;
    const gpu::ModelConstants1& model = inputs.mModel;
    return blocks.PositionFormat() == 2 && blocks.ScaleFormat() == 2 && blocks.SHFormat() == 3 &&
           blocks.mColor.mFormat == zeb::render::Format::RGBA8Unorm && inputs.mConstants._CameraType == 0 &&
           inputs.mConstants._DrawZDepth != 1 && inputs.mNoise.displacement_enabled == 0 &&
           inputs.mNoise.noise_enabled == 0 && model.model_crop_shape_enabled != 1 &&
           model.model_crop_yPlane_enabled != 1 && model.model_effects_splatColor_enabled != 1 &&
           model.model_effects_splatOpacity_enabled != 1 && model.model_effects_splatScale_enabled != 1;
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
    const std::uint32_t fastEnd = IsPlain(inputs) ? static_cast<std::uint32_t>(stored) : begin;
    std::uint32_t splat = begin;
    while (splat < fastEnd) {
        const std::uint32_t chunkEnd = std::min(fastEnd, (splat / gpu::kSplatsPerChunk + 1) * gpu::kSplatsPerChunk);
        const std::uint32_t done = HWY_DYNAMIC_DISPATCH(CalcChunkViewData)(inputs, splat, chunkEnd, records.data());
        CalcViewData(inputs, done, chunkEnd, records);
        splat = chunkEnd;
    }
    CalcViewData(inputs, splat, last, records);
}

}  // namespace nimbrel::cpu
#endif
