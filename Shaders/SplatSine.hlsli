// Sine and cosine that give the same bits on every device and on the processor (Source/Nimbrel/CPU/Sine-inl.h): integers,
// products and sums alone. The noise's hash magnifies the last bits of a sine, and what devices call a sine differs.
//
// Within 1.8e-7 of the true ones up to 2^55 radians, where floats are further apart than all places of a pattern;
// beyond as for 0.
#ifndef SPLAT_SINE_HLSLI
#define SPLAT_SINE_HLSLI

#include "ZebMath.hlsli"

// The fraction of |x| radians in turns, in units of 2^-32, up to 4 of them too small: the mantissa times those 64 bits
// of 1 / (2 pi) that its exponent leaves below one turn and above what nobody can tell.
uint FractionOfTurn(float x) {
    uint bits = asuint(x);
    uint place = ((bits >> 23) & 255u) - 86u;
    if (place >= 96u) return 0u;
    // Three words of 0x28BE60DB9391054A7F09D5F4 * 2^-96 behind as many zeros as the exponent is small.
    uint a = place >= 64u ? 0x28BE60DBu : 0u;
    uint b = place >= 64u ? 0x9391054Au : (place >= 32u ? 0x28BE60DBu : 0u);
    uint c = place >= 64u ? 0x7F09D5F4u : (place >= 32u ? 0x9391054Au : 0x28BE60DBu);
    uint shift = place & 31u;
    uint high = (a << shift) | ((b >> 1) >> (31u - shift));
    uint low = (b << shift) | ((c >> 1) >> (31u - shift));
    uint mantissa = (bits & 0x7FFFFFu) | 0x800000u;
    uint m1 = mantissa >> 16, m0 = mantissa & 0xFFFFu;
    uint l1 = low >> 16, l0 = low & 0xFFFFu;
    return mantissa * high + m1 * l1 + ((m1 * l0) >> 16) + ((m0 * l1) >> 16);
}

float SineOfTurn(uint turn) {
    // The second and the third quarter mirrored onto the first and the last.
    if (((turn + 0x40000000u) & 0x80000000u) != 0u) turn = 0x80000000u - turn;
    float q = float(int(turn)) * 9.31322575e-10;  // quarters, -1 to 1
    float s = q * q;
    return q * (1.57079625 + s * (-0.645962775 + s * (0.0796861798 + s * (-0.00466894731 + s * 0.000149283514))));
}

float Sine(float x) {
    float s = SineOfTurn(FractionOfTurn(x));
    return x < 0.0 ? -s : s;
}

float Cosine(float x) { return SineOfTurn(FractionOfTurn(x) + 0x40000000u); }

#endif
