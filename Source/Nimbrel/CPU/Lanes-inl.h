// Numbers of one splat (float, bool, std::uint32_t) or of as many as a vector holds (Lanes, LaneMask, LaneWords), with
// the same operations under the same names, so that what is computed of a splat is written once, for `N` either of
// them, and gives the same bits. Included once for each vector target, behind Highway's headers.
#if defined(NIMBREL_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NIMBREL_LANES_INL_H
#undef NIMBREL_LANES_INL_H
#else
#define NIMBREL_LANES_INL_H
#endif

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include "Render/CPU/Arithmetic.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using FloatTag = hn::CappedTag<float, 16>;
using IntTag = hn::RebindToSigned<FloatTag>;
using WordTag = hn::RebindToUnsigned<FloatTag>;

constexpr std::size_t kMostLanes = hn::MaxLanes(FloatTag());

struct LaneMask {
    hn::Mask<FloatTag> mLanes;
};

struct LaneWords {
    hn::Vec<WordTag> mLanes;

    HWY_INLINE LaneWords(hn::Vec<WordTag> lanes) : mLanes(lanes) {}
    HWY_INLINE LaneWords(std::uint32_t word) : mLanes(hn::Set(WordTag(), word)) {}
};

struct Lanes {
    hn::Vec<FloatTag> mLanes;

    Lanes() = default;
    HWY_INLINE Lanes(hn::Vec<FloatTag> lanes) : mLanes(lanes) {}
    HWY_INLINE Lanes(float value) : mLanes(hn::Set(FloatTag(), value)) {}
};

template <class N>
struct LanesOf {
    using Words = LaneWords;
    using Mask = LaneMask;
    static constexpr std::size_t kCount = kMostLanes;
};
template <>
struct LanesOf<float> {
    using Words = std::uint32_t;
    using Mask = bool;
    static constexpr std::size_t kCount = 1;
};
template <class N>
using WordsOf = typename LanesOf<N>::Words;
template <class N>
using MaskOf = typename LanesOf<N>::Mask;

HWY_INLINE Lanes operator+(Lanes a, Lanes b) { return hn::Add(a.mLanes, b.mLanes); }
HWY_INLINE Lanes operator-(Lanes a, Lanes b) { return hn::Sub(a.mLanes, b.mLanes); }
HWY_INLINE Lanes operator*(Lanes a, Lanes b) { return hn::Mul(a.mLanes, b.mLanes); }
HWY_INLINE Lanes operator/(Lanes a, Lanes b) { return hn::Div(a.mLanes, b.mLanes); }
HWY_INLINE Lanes operator-(Lanes a) { return hn::Neg(a.mLanes); }
HWY_INLINE LaneMask operator<(Lanes a, Lanes b) { return {hn::Lt(a.mLanes, b.mLanes)}; }
HWY_INLINE LaneMask operator<=(Lanes a, Lanes b) { return {hn::Le(a.mLanes, b.mLanes)}; }
HWY_INLINE LaneMask operator>(Lanes a, Lanes b) { return {hn::Gt(a.mLanes, b.mLanes)}; }
HWY_INLINE LaneMask operator>=(Lanes a, Lanes b) { return {hn::Ge(a.mLanes, b.mLanes)}; }

HWY_INLINE Lanes Sqrt(Lanes a) { return hn::Sqrt(a.mLanes); }
HWY_INLINE Lanes Abs(Lanes a) { return hn::Abs(a.mLanes); }
HWY_INLINE Lanes Floor(Lanes a) { return hn::Floor(a.mLanes); }
HWY_INLINE float Sqrt(float a) { return std::sqrt(a); }
HWY_INLINE float Abs(float a) { return std::abs(a); }
HWY_INLINE float Floor(float a) { return std::floor(a); }

HWY_INLINE LaneMask And(LaneMask a, LaneMask b) { return {hn::And(a.mLanes, b.mLanes)}; }
HWY_INLINE LaneMask Or(LaneMask a, LaneMask b) { return {hn::Or(a.mLanes, b.mLanes)}; }
HWY_INLINE LaneMask Not(LaneMask a) { return {hn::Not(a.mLanes)}; }
HWY_INLINE bool AllTrue(LaneMask a) { return hn::AllTrue(FloatTag(), a.mLanes); }
HWY_INLINE bool And(bool a, bool b) { return a && b; }
HWY_INLINE bool Or(bool a, bool b) { return a || b; }
HWY_INLINE bool Not(bool a) { return !a; }
HWY_INLINE bool AllTrue(bool a) { return a; }
HWY_INLINE void SetAll(bool value, bool& mask) { mask = value; }
HWY_INLINE void SetAll(bool value, LaneMask& mask) {
    const FloatTag d;
    mask = {hn::Gt(hn::Set(d, value ? 1.0F : 0.0F), hn::Zero(d))};
}
template <class N>
HWY_INLINE MaskOf<N> Everywhere(bool value) {
    MaskOf<N> mask;
    SetAll(value, mask);
    return mask;
}

HWY_INLINE Lanes Select(LaneMask mask, Lanes yes, Lanes no) {
    return hn::IfThenElse(mask.mLanes, yes.mLanes, no.mLanes);
}
HWY_INLINE float Select(bool mask, float yes, float no) { return mask ? yes : no; }
/// 0 where the mask holds.
HWY_INLINE Lanes ZeroWhere(LaneMask mask, Lanes a) { return hn::IfThenZeroElse(mask.mLanes, a.mLanes); }
HWY_INLINE float ZeroWhere(bool mask, float a) { return mask ? 0.0F : a; }

/// Of a NaN and a number, the number.
HWY_INLINE Lanes Max(Lanes a, Lanes b) {
    return hn::IfThenElse(hn::Or(hn::Ge(a.mLanes, b.mLanes), hn::Not(hn::Eq(b.mLanes, b.mLanes))), a.mLanes, b.mLanes);
}
HWY_INLINE Lanes Min(Lanes a, Lanes b) {
    return hn::IfThenElse(hn::Or(hn::Lt(a.mLanes, b.mLanes), hn::Not(hn::Eq(b.mLanes, b.mLanes))), a.mLanes, b.mLanes);
}
HWY_INLINE float Max(float a, float b) { return zeb::render::cpu::Max(a, b); }
HWY_INLINE float Min(float a, float b) { return zeb::render::cpu::Min(a, b); }
template <class N>
HWY_INLINE N Clamp(N value, float low, float high) {
    return Min(Max(value, N(low)), N(high));
}
template <class N>
HWY_INLINE N Saturate(N value) {
    return Clamp(value, 0.0F, 1.0F);
}
template <class N>
HWY_INLINE N Sign(N value) {
    return Select(value > N(0.0F), N(1.0F), N(0.0F)) - Select(value < N(0.0F), N(1.0F), N(0.0F));
}
template <class N>
HWY_INLINE N Lerp(N low, N high, N t) {
    return low + (high - low) * t;
}

HWY_INLINE LaneWords operator+(LaneWords a, LaneWords b) { return hn::Add(a.mLanes, b.mLanes); }
HWY_INLINE LaneWords operator-(LaneWords a, LaneWords b) { return hn::Sub(a.mLanes, b.mLanes); }
HWY_INLINE LaneWords operator*(LaneWords a, LaneWords b) { return hn::Mul(a.mLanes, b.mLanes); }
HWY_INLINE LaneWords operator&(LaneWords a, LaneWords b) { return hn::And(a.mLanes, b.mLanes); }
HWY_INLINE LaneWords operator|(LaneWords a, LaneWords b) { return hn::Or(a.mLanes, b.mLanes); }
HWY_INLINE LaneWords operator^(LaneWords a, LaneWords b) { return hn::Xor(a.mLanes, b.mLanes); }

/// Each word by a count of its own, below 32.
HWY_INLINE LaneWords ShiftLeft(LaneWords words, LaneWords counts) { return hn::Shl(words.mLanes, counts.mLanes); }
HWY_INLINE LaneWords ShiftRight(LaneWords words, LaneWords counts) { return hn::Shr(words.mLanes, counts.mLanes); }
HWY_INLINE std::uint32_t ShiftLeft(std::uint32_t word, std::uint32_t count) { return word << count; }
HWY_INLINE std::uint32_t ShiftRight(std::uint32_t word, std::uint32_t count) { return word >> count; }
template <int kCount>
HWY_INLINE LaneWords ShiftRight(LaneWords words) {
    return hn::ShiftRight<kCount>(words.mLanes);
}
template <int kCount>
HWY_INLINE LaneWords ShiftLeft(LaneWords words) {
    return hn::ShiftLeft<kCount>(words.mLanes);
}
template <int kCount>
HWY_INLINE std::uint32_t ShiftRight(std::uint32_t word) {
    return word >> kCount;
}
template <int kCount>
HWY_INLINE std::uint32_t ShiftLeft(std::uint32_t word) {
    return word << kCount;
}

/// All bits of a word like its highest.
HWY_INLINE LaneWords SpreadSign(LaneWords words) {
    return hn::BitCast(WordTag(), hn::ShiftRight<31>(hn::BitCast(IntTag(), words.mLanes)));
}
HWY_INLINE std::uint32_t SpreadSign(std::uint32_t word) { return (word >> 31) != 0 ? 0xFFFFFFFFU : 0U; }

/// Whether a word taken as a signed number is below `limit`, and one choice for all of them.
HWY_INLINE LaneMask IsBelow(LaneWords words, std::int32_t limit) {
    const IntTag di;
    return {hn::RebindMask(FloatTag(), hn::Lt(hn::BitCast(di, words.mLanes), hn::Set(di, limit)))};
}
HWY_INLINE bool IsBelow(std::uint32_t word, std::int32_t limit) { return static_cast<std::int32_t>(word) < limit; }
HWY_INLINE LaneWords Select(LaneMask mask, LaneWords yes, LaneWords no) {
    return hn::IfThenElse(hn::RebindMask(WordTag(), mask.mLanes), yes.mLanes, no.mLanes);
}
HWY_INLINE std::uint32_t Select(bool mask, std::uint32_t yes, std::uint32_t no) { return mask ? yes : no; }
HWY_INLINE LaneMask IsEqual(LaneWords a, LaneWords b) {
    return {hn::RebindMask(FloatTag(), hn::Eq(a.mLanes, b.mLanes))};
}
HWY_INLINE bool IsEqual(std::uint32_t a, std::uint32_t b) { return a == b; }

/// The number, or `low` where it is below or none.
HWY_INLINE Lanes NotBelow(Lanes a, float low) {
    const FloatTag d;
#if HWY_ARCH_X86
    return hn::Max(a.mLanes, hn::Set(d, low));  // of a NaN and a number the second operand
#else
    return hn::IfThenElse(hn::Gt(a.mLanes, hn::Set(d, low)), a.mLanes, hn::Set(d, low));
#endif
}
HWY_INLINE float NotBelow(float a, float low) { return a > low ? a : low; }

HWY_INLINE Lanes FromBits(LaneWords words) { return hn::BitCast(FloatTag(), words.mLanes); }
HWY_INLINE float FromBits(std::uint32_t word) { return std::bit_cast<float>(word); }
HWY_INLINE LaneWords ToBits(Lanes a) { return hn::BitCast(WordTag(), a.mLanes); }
HWY_INLINE std::uint32_t ToBits(float a) { return std::bit_cast<std::uint32_t>(a); }
/// The number that a word is, taken as a signed one.
HWY_INLINE Lanes ToNumber(LaneWords words) { return hn::ConvertTo(FloatTag(), hn::BitCast(IntTag(), words.mLanes)); }
HWY_INLINE float ToNumber(std::uint32_t word) { return static_cast<float>(static_cast<std::int32_t>(word)); }

/// Numbers that lie in memory one behind the other, and those at places from 0 to 2^24.
HWY_INLINE void Load(const float* from, Lanes& to) { to = hn::LoadU(FloatTag(), from); }
HWY_INLINE void Load(const float* from, float& to) { to = *from; }
HWY_INLINE void Store(Lanes from, float* to) { hn::StoreU(from.mLanes, FloatTag(), to); }
HWY_INLINE void Store(float from, float* to) { *to = from; }
HWY_INLINE Lanes Gather(const float* base, Lanes places) {
    return hn::GatherIndex(FloatTag(), base, hn::ConvertTo(IntTag(), places.mLanes));
}
HWY_INLINE float Gather(const float* base, float place) { return base[static_cast<std::int32_t>(place)]; }

/// The lowest lane for which the mask holds; there must be one.
HWY_INLINE std::size_t FindFirst(LaneMask mask) {
    return static_cast<std::size_t>(hn::FindFirstTrue(FloatTag(), mask.mLanes));
}
HWY_INLINE std::size_t FindFirst(bool) { return 0; }

/// low + (high - low) * t, with one rounding of the product and the sum, as filters on devices with a fused
/// multiplication do: in double precision.
HWY_INLINE float LerpInDouble(float low, float high, float t) {
    return static_cast<float>(static_cast<double>(low) + static_cast<double>(t) * static_cast<double>(high - low));
}
HWY_INLINE Lanes LerpInDouble(Lanes low, Lanes high, Lanes t) {
    const FloatTag d;
    const auto range = hn::Sub(high.mLanes, low.mLanes);
    const auto lerp = [&](auto dd, auto part, auto l, auto r, auto share) HWY_ATTR {
        const auto product = hn::Mul(hn::PromoteTo(dd, share), hn::PromoteTo(dd, r));
        return hn::DemoteTo(part, hn::Add(hn::PromoteTo(dd, l), product));
    };
#if HWY_TARGET == HWY_SCALAR
    return lerp(hn::Rebind<double, FloatTag>(), d, low.mLanes, range, t.mLanes);
#else
    const hn::Half<FloatTag> dh;
    const hn::Rebind<double, hn::Half<FloatTag> > dd;
    return hn::Combine(
        d, lerp(dd, dh, hn::UpperHalf(dh, low.mLanes), hn::UpperHalf(dh, range), hn::UpperHalf(dh, t.mLanes)),
        lerp(dd, dh, hn::LowerHalf(dh, low.mLanes), hn::LowerHalf(dh, range), hn::LowerHalf(dh, t.mLanes)));
#endif
}

template <class N>
struct Vec3 {
    N x, y, z;
};
template <class N>
HWY_INLINE Vec3<N> operator+(Vec3<N> a, Vec3<N> b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
template <class N>
HWY_INLINE Vec3<N> operator-(Vec3<N> a, Vec3<N> b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
/// Component by component.
template <class N>
HWY_INLINE Vec3<N> operator*(Vec3<N> a, Vec3<N> b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}
template <class N>
HWY_INLINE Vec3<N> operator*(Vec3<N> a, N s) {
    return {a.x * s, a.y * s, a.z * s};
}
template <class N>
HWY_INLINE Vec3<N> Select(MaskOf<N> mask, Vec3<N> yes, Vec3<N> no) {
    return {Select(mask, yes.x, no.x), Select(mask, yes.y, no.y), Select(mask, yes.z, no.z)};
}
template <class N>
HWY_INLINE N Dot(Vec3<N> a, Vec3<N> b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
template <class N>
HWY_INLINE Vec3<N> Cross(Vec3<N> a, Vec3<N> b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
/// The same vector for all; of four components the first three.
template <class N>
HWY_INLINE Vec3<N> Broadcast(const glm::vec4& v) {
    return {N(v.x), N(v.y), N(v.z)};
}
template <class N>
HWY_INLINE Vec3<N> Fill(float value) {
    return {N(value), N(value), N(value)};
}

/// Row `row` of a matrix stored by columns times (v, 1), summed from left to right.
template <class N>
HWY_INLINE N RowTimesPoint(const glm::mat4& m, int row, Vec3<N> v) {
    return N(m[0][row]) * v.x + N(m[1][row]) * v.y + N(m[2][row]) * v.z + N(m[3][row]);
}
template <class N>
HWY_INLINE Vec3<N> TransformPoint(const glm::mat4& m, Vec3<N> v) {
    return {RowTimesPoint(m, 0, v), RowTimesPoint(m, 1, v), RowTimesPoint(m, 2, v)};
}
template <class N>
HWY_INLINE Vec3<N> Row3(const glm::mat4& m, int row) {
    return {N(m[0][row]), N(m[1][row]), N(m[2][row])};
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#endif
