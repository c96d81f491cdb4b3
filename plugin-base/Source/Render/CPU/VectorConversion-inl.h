// The scalar conversions of Arithmetic.h, HalfConversion.h and Image.h for several values at a time, the same bits.
// Included once for each vector target, behind Highway's headers.
#if defined(NIMBREL_VECTOR_CONVERSION_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NIMBREL_VECTOR_CONVERSION_INL_H
#undef NIMBREL_VECTOR_CONVERSION_INL_H
#else
#define NIMBREL_VECTOR_CONVERSION_INL_H
#endif

#include <cstdint>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zeb::render::cpu {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// 0 to 1; NaN gives 0.
template <class D>
HWY_INLINE hn::Vec<D> VectorSaturate(D d, hn::Vec<D> v) {
    const auto one = hn::Set(d, 1.0F);
    const auto positive = hn::IfThenElseZero(hn::Gt(v, hn::Zero(d)), v);
    return hn::IfThenElse(hn::Lt(positive, one), positive, one);
}

/// A step of a normalised format, 0 to 255 or 65535, as a part of 1. The two summands are the step times 1/255 or
/// 1/65535 in two pieces, the first product without rounding, and their sum is what a division gives for every step.
template <std::uint32_t kSteps, class D>
HWY_INLINE hn::Vec<D> VectorFromStep(D d, hn::Vec<D> step) {
    static_assert(kSteps == 255 || kSteps == 65535);
    constexpr float kHigh = kSteps == 255 ? 0x1.01p-8F : 0x1p-16F;
    constexpr auto kLow = static_cast<float>(1.0 / kSteps - static_cast<double>(kHigh));
    return hn::Add(hn::Mul(step, hn::Set(d, kHigh)), hn::Mul(step, hn::Set(d, kLow)));
}

/// The nearest step of a value from 0 to 1, as a float.
template <std::uint32_t kSteps, class D>
HWY_INLINE hn::Vec<D> VectorToStep(D d, hn::Vec<D> v) {
    return hn::Trunc(hn::Add(hn::Mul(v, hn::Set(d, static_cast<float>(kSteps))), hn::Set(d, 0.5F)));
}

/// Bits of the nearest half, ties to even, one in each word.
template <class D>
HWY_INLINE hn::Vec<hn::RebindToUnsigned<D>> VectorToHalfBits(D d, hn::Vec<D> v) {
    const hn::RebindToUnsigned<D> dw;
    const auto bits = hn::BitCast(dw, v);
    const auto sign = hn::And(hn::ShiftRight<16>(bits), hn::Set(dw, 0x8000U));
    const auto magnitude = hn::And(bits, hn::Set(dw, 0x7FFFFFFFU));
    const auto absolute = hn::BitCast(d, magnitude);
    const auto odd = hn::And(hn::ShiftRight<13>(magnitude), hn::Set(dw, 1U));
    const auto rebased = hn::Sub(magnitude, hn::Set(dw, 0x38000000U - 0xFFFU));
    const auto normal = hn::ShiftRight<13>(hn::Add(rebased, odd));
    // Between 0.5 and 1 floats are 2^-24 apart, the step of subnormal halves.
    const auto raised = hn::Add(absolute, hn::Set(d, 0.5F));
    const auto subnormal = hn::Sub(hn::BitCast(dw, raised), hn::Set(dw, 0x3F000000U));
    const auto isSubnormal = hn::RebindMask(dw, hn::Lt(absolute, hn::Set(d, 0x1p-14F)));
    const auto isInfinite = hn::RebindMask(dw, hn::Ge(absolute, hn::Set(d, 65520.0F)));
    const auto isNumber = hn::RebindMask(dw, hn::Eq(v, v));
    auto half = hn::IfThenElse(isSubnormal, subnormal, normal);
    half = hn::IfThenElse(isInfinite, hn::Set(dw, 0x7C00U), half);
    half = hn::IfThenElse(isNumber, half, hn::Set(dw, 0x7E00U));
    return hn::Or(half, sign);
}

/// The value of the half in the low bits of each word, whose high bits are zero.
template <class D>
HWY_INLINE hn::Vec<D> VectorFromHalfBits(D d, hn::Vec<hn::RebindToUnsigned<D>> half) {
    const hn::RebindToUnsigned<D> dw;
    const auto sign = hn::ShiftLeft<16>(hn::And(half, hn::Set(dw, 0x8000U)));
    const auto magnitude = hn::ShiftLeft<13>(hn::And(half, hn::Set(dw, 0x7FFFU)));
    // As the bits of a float a half is its value times 2^-112, subnormal ones too; infinities and NaN are not.
    const auto scaled = hn::BitCast(dw, hn::Mul(hn::BitCast(d, magnitude), hn::Set(d, 0x1p112F)));
    const auto special = hn::Or(magnitude, hn::Set(dw, 0x7F800000U));
    const auto isSpecial =
        hn::Gt(hn::BitCast(hn::RebindToSigned<D>(), magnitude), hn::Set(hn::RebindToSigned<D>(), 0x0F7FFFFF));
    return hn::BitCast(d, hn::Or(hn::IfThenElse(hn::RebindMask(dw, isSpecial), special, scaled), sign));
}

/// The nearest half, ties to even, as a float.
template <class D>
HWY_INLINE hn::Vec<D> VectorToNearestHalf(D d, hn::Vec<D> v) {
    const hn::RebindToUnsigned<D> dw;
    const auto bits = hn::BitCast(dw, v);
    const auto sign = hn::And(bits, hn::Set(dw, 0x80000000U));
    const auto magnitude = hn::AndNot(hn::Set(dw, 0x80000000U), bits);
    const auto odd = hn::And(hn::ShiftRight<13>(magnitude), hn::Set(dw, 1U));
    const auto raised = hn::Add(magnitude, hn::Add(odd, hn::Set(dw, 0xFFFU)));
    const auto normal = hn::And(raised, hn::Set(dw, 0xFFFFE000U));
    const auto absolute = hn::BitCast(d, magnitude);
    const auto half = hn::Set(d, 0.5F);
    const auto subnormal = hn::Sub(hn::Add(absolute, half), half);
    auto result = hn::IfThenElse(hn::Lt(absolute, hn::Set(d, 0x1p-14F)), subnormal, hn::BitCast(d, normal));
    const auto infinite = hn::BitCast(d, hn::Set(dw, 0x7F800000U));
    result = hn::IfThenElse(hn::Ge(absolute, hn::Set(d, 65520.0F)), infinite, result);
    const auto nan = hn::BitCast(d, hn::Set(dw, 0x7FC00000U));
    result = hn::IfThenElse(hn::Eq(absolute, absolute), result, nan);
    return hn::BitCast(d, hn::Or(hn::BitCast(dw, result), sign));
}

}  // namespace HWY_NAMESPACE
}  // namespace zeb::render::cpu
HWY_AFTER_NAMESPACE();

#endif
