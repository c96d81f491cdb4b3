// What a splat is in one pixel, or in as many as a vector holds: its place there and its Gaussian. Included once for
// each vector target, behind Highway's headers.
#if defined(NIMBREL_SPLAT_PIXEL_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NIMBREL_SPLAT_PIXEL_INL_H
#undef NIMBREL_SPLAT_PIXEL_INL_H
#else
#define NIMBREL_SPLAT_PIXEL_INL_H
#endif

#include <hwy/highway.h>

#include "Nimbrel/CPU/Lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

/// Alpha below which a splat does not show.
constexpr float kLeastAlpha = 0.00392156886F;  // 1/255

/// 2^value for values up to 126; those below -125, and NaN, count as -125. The same bits on every machine, which the
/// mathematical library's does not promise.
///
/// 2^f = 1 + f * (c0 + c1 f + ... + c5 f^5) for -0.5 <= f <= 0.5, interpolated at Chebyshev nodes; its own error is
/// below 6e-9, with float rounding the result is within 1.5 units in the last place.
template <class N>
HWY_INLINE N Exp2(N value) {
    constexpr float kCoefficients[6] = {0.693147188F,   0.240226508F,   0.0555035711F,
                                        0.00961808256F, 0.00133908634F, 0.000154531629F};
    // Adding this rounds to the nearest integer, which then stands in the low bits.
    const N round(12582912.0F);  // 1.5 * 2^23
    const N t = NotBelow(value, -125.0F);
    const N rounded = t + round;
    const N f = t - (rounded - round);
    N sum(kCoefficients[5]);
    for (int i = 4; i >= 0; --i) sum = sum * f + N(kCoefficients[i]);
    return FromBits(ToBits(N(1.0F) + f * sum) + ShiftLeft<23>(ToBits(rounded)));
}

/// A place in a quad, -2 to 2 in units of the axes.
template <class N>
struct PlaceInQuad {
    N x, y;
};

/// `fromMiddle`: in steps of 1/kSplatSteps pixel; `along`: the change of the place by one of them.
template <class N>
HWY_INLINE PlaceInQuad<N> FindPlaceInQuad(N fromMiddleX, N fromMiddleY, N alongXx, N alongXy, N alongYx, N alongYy) {
    return {fromMiddleX * alongXx + fromMiddleY * alongYx, fromMiddleX * alongXy + fromMiddleY * alongYy};
}

/// The Gaussian there, 1 in the middle.
template <class N>
HWY_INLINE N FindGaussian(PlaceInQuad<N> place) {
    constexpr float kMinusLog2E = -1.44269502F;
    return Exp2((place.x * place.x + place.y * place.y) * N(kMinusLog2E));
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#endif
