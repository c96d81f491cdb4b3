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

/// 2^value for values from -126 to 126, no number for others. The same bits on every machine, which the mathematical
/// library's does not promise.
///
/// 2^f = 1 + f * (c0 + c1 f + ... + c5 f^5) for -0.5 <= f <= 0.5, interpolated at Chebyshev nodes; its own error is
/// below 6e-9, with float rounding the result is within 1.5 units in the last place. Summed up by pairs (Estrin's
/// scheme), so that few operations wait for one another.
template <class N>
HWY_INLINE N Exp2Near(N value) {
    // Adding this rounds to the nearest integer, which then stands in the low bits.
    const N round(12582912.0F);  // 1.5 * 2^23
    const N rounded = value + round;
    const N f = value - (rounded - round);
    const N f2 = f * f;
    const N middle = N(0.240226508F) + f * N(0.0555035711F);
    const N high = (N(0.00961808256F) + f * N(0.00133908634F)) + f2 * N(0.000154531629F);
    const N sum = f * N(0.693147188F) + (f2 * middle + (f2 * f2) * high);
    return FromBits(ToBits(N(1.0F) + sum) + ShiftLeft<23>(ToBits(rounded)));
}

/// 2^value for values up to 126; those below -125, and NaN, count as -125.
template <class N>
HWY_INLINE N Exp2(N value) {
    return Exp2Near(NotBelow(value, -125.0F));
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

/// The power of 2 that the Gaussian is there.
template <class N>
HWY_INLINE N FindExponent(PlaceInQuad<N> place) {
    constexpr float kMinusLog2E = -1.44269502F;
    return (place.x * place.x + place.y * place.y) * N(kMinusLog2E);
}

/// The Gaussian there, 1 in the middle.
template <class N>
HWY_INLINE N FindGaussian(PlaceInQuad<N> place) {
    return Exp2(FindExponent(place));
}

/// The same for places in the quad or near it; no number for others.
template <class N>
HWY_INLINE N FindGaussianNear(PlaceInQuad<N> place) {
    return Exp2Near(FindExponent(place));
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#endif
