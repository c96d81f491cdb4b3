// Numbers and vectors of several splats at a time, and the packed positions that they are decoded from. Included once
// for each vector target, behind Highway's headers.
#if defined(NIMBREL_SPLAT_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NIMBREL_SPLAT_LANES_INL_H
#undef NIMBREL_SPLAT_LANES_INL_H
#else
#define NIMBREL_SPLAT_LANES_INL_H
#endif

#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>
#include <glm/mat4x4.hpp>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include "Nimbrel/ShaderConstants.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using FloatTag = hn::CappedTag<float, 16>;
using IntTag = hn::RebindToSigned<FloatTag>;
using WordTag = hn::RebindToUnsigned<FloatTag>;
using Words = hn::Vec<WordTag>;
using Lanes = hn::Mask<FloatTag>;

constexpr std::size_t kMostLanes = hn::MaxLanes(FloatTag());

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
HWY_INLINE Lanes IsNumber(Value a) { return hn::Eq(a.mLanes, a.mLanes); }
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

HWY_INLINE Value MapFloats(const glm::vec2& range, Value value) {
    return Value(range.x) + value * Value(range.y - range.x);
}

HWY_INLINE Vector DecodePosition(const gpu::SplatChunkInfo& chunk, Words words) {
    const Vector v = UnpackNorm11(words);
    return {MapFloats(chunk.posX, v.x), MapFloats(chunk.posY, v.y), MapFloats(chunk.posZ, v.z)};
}

/// The vectors of the splats, each on its own: what effects do is computed by the scalar form, splat by splat.
struct Points {
    HWY_ALIGN float mX[kMostLanes];
    HWY_ALIGN float mY[kMostLanes];
    HWY_ALIGN float mZ[kMostLanes];

    HWY_INLINE explicit Points(Vector v) {
        const FloatTag d;
        hn::Store(v.x.mLanes, d, mX);
        hn::Store(v.y.mLanes, d, mY);
        hn::Store(v.z.mLanes, d, mZ);
    }
    glm::vec3 Get(std::size_t i) const { return {mX[i], mY[i], mZ[i]}; }
    void Set(std::size_t i, const glm::vec3& v) {
        mX[i] = v.x;
        mY[i] = v.y;
        mZ[i] = v.z;
    }
    HWY_INLINE Vector Load() const {
        const FloatTag d;
        return {hn::Load(d, mX), hn::Load(d, mY), hn::Load(d, mZ)};
    }
};

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#endif
