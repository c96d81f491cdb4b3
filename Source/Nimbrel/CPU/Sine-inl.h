// Sine and cosine that give the same bits as the GPU programs (Shaders/SplatSine.hlsli), operation by operation:
// integers, products and sums alone. The library's differ from device to device in the last bits, which the noise's
// hash magnifies.
//
// Within 1.8e-7 of the true ones up to 2^55 radians, where floats are further apart than all places of a pattern;
// beyond as for 0. Included once for each vector target, behind Highway's headers.
#if defined(NIMBREL_SINE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NIMBREL_SINE_INL_H
#undef NIMBREL_SINE_INL_H
#else
#define NIMBREL_SINE_INL_H
#endif

#include <hwy/highway.h>

#include "Nimbrel/CPU/Lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

/// The fraction of |x| radians in turns, in units of 2^-32, up to 4 of them too small: the mantissa times those 64 bits
/// of 1 / (2 pi) that its exponent leaves below one turn and above what nobody can tell.
template <class N>
HWY_INLINE WordsOf<N> FractionOfTurn(N x) {
    using W = WordsOf<N>;
    const W bits = ToBits(x);
    const W place = (ShiftRight<23>(bits) & W(255)) - W(86);
    // Three words of 0x28BE60DB9391054A7F09D5F4 * 2^-96 behind as many zeros as the exponent is small.
    const MaskOf<N> below64 = IsBelow(place, 64);
    const MaskOf<N> below32 = IsBelow(place, 32);
    const W a = Select(below64, W(0), W(0x28BE60DBU));
    const W b = Select(below32, W(0), Select(below64, W(0x28BE60DBU), W(0x9391054AU)));
    const W c = Select(below32, W(0x28BE60DBU), Select(below64, W(0x9391054AU), W(0x7F09D5F4U)));
    const W shift = place & W(31);
    const W high = ShiftLeft(a, shift) | ShiftRight(ShiftRight<1>(b), W(31) - shift);
    const W low = ShiftLeft(b, shift) | ShiftRight(ShiftRight<1>(c), W(31) - shift);
    const W mantissa = (bits & W(0x7FFFFFU)) | W(0x800000U);
    const W m1 = ShiftRight<16>(mantissa);
    const W m0 = mantissa & W(0xFFFFU);
    const W l1 = ShiftRight<16>(low);
    const W l0 = low & W(0xFFFFU);
    const W sum = mantissa * high + m1 * l1 + ShiftRight<16>(m1 * l0) + ShiftRight<16>(m0 * l1);
    return Select(Or(IsBelow(place, 0), Not(IsBelow(place, 96))), W(0), sum);
}

template <class N>
HWY_INLINE N SineOfTurn(WordsOf<N> turn) {
    using W = WordsOf<N>;
    // The second and the third quarter mirrored onto the first and the last.
    const W mirrored = Select(IsBelow(turn + W(0x40000000U), 0), W(0x80000000U) - turn, turn);
    const N q = ToNumber(mirrored) * N(0x1p-30F);  // quarters, -1 to 1
    const N s = q * q;
    const N inner = N(0.0796861798F) + s * (N(-0.00466894731F) + s * N(0.000149283514F));
    return q * (N(1.57079625F) + s * (N(-0.645962775F) + s * inner));
}

template <class N>
HWY_INLINE N Sine(N x) {
    const N s = SineOfTurn<N>(FractionOfTurn(x));
    return Select(x < N(0.0F), -s, s);
}

template <class N>
HWY_INLINE N Cosine(N x) {
    return SineOfTurn<N>(FractionOfTurn(x) + WordsOf<N>(0x40000000U));
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#endif
