#pragma once

#include <bit>
#include <cstdint>

/// Sine and cosine that give the same bits as the GPU programs (Shaders/SplatSine.hlsli), operation by operation:
/// integers, products and sums alone. The library's differ from device to device in the last bits, which the noise's
/// hash magnifies.
///
/// Within 1.8e-7 of the true ones up to 2^55 radians, where floats are further apart than all places of a pattern;
/// beyond as for 0. Pure functions for any thread.
namespace nimbrel::cpu {

/// The fraction of |x| radians in turns, in units of 2^-32, up to 4 of them too small: the mantissa times those 64 bits
/// of 1 / (2 pi) that its exponent leaves below one turn and above what nobody can tell.
inline std::uint32_t FractionOfTurn(float x) {
    const auto bits = std::bit_cast<std::uint32_t>(x);
    const std::uint32_t place = ((bits >> 23) & 255U) - 86U;
    if (place >= 96U) return 0;
    // Three words of 0x28BE60DB9391054A7F09D5F4 * 2^-96 behind as many zeros as the exponent is small.
    const std::uint32_t a = place >= 64U ? 0x28BE60DBU : 0U;
    const std::uint32_t b = place >= 64U ? 0x9391054AU : (place >= 32U ? 0x28BE60DBU : 0U);
    const std::uint32_t c = place >= 64U ? 0x7F09D5F4U : (place >= 32U ? 0x9391054AU : 0x28BE60DBU);
    const std::uint32_t shift = place & 31U;
    const std::uint32_t high = (a << shift) | ((b >> 1) >> (31U - shift));
    const std::uint32_t low = (b << shift) | ((c >> 1) >> (31U - shift));
    const std::uint32_t mantissa = (bits & 0x7FFFFFU) | 0x800000U;
    const std::uint32_t m1 = mantissa >> 16;
    const std::uint32_t m0 = mantissa & 0xFFFFU;
    const std::uint32_t l1 = low >> 16;
    const std::uint32_t l0 = low & 0xFFFFU;
    return mantissa * high + m1 * l1 + ((m1 * l0) >> 16) + ((m0 * l1) >> 16);
}

inline float SineOfTurn(std::uint32_t turn) {
    // The second and the third quarter mirrored onto the first and the last.
    if (((turn + 0x40000000U) & 0x80000000U) != 0) turn = 0x80000000U - turn;
    const float q = static_cast<float>(static_cast<std::int32_t>(turn)) * 0x1p-30F;  // quarters, -1 to 1
    const float s = q * q;
    return q * (1.57079625F + s * (-0.645962775F + s * (0.0796861798F + s * (-0.00466894731F + s * 0.000149283514F))));
}

inline float Sine(float x) {
    const float s = SineOfTurn(FractionOfTurn(x));
    return x < 0.0F ? -s : s;
}

inline float Cosine(float x) { return SineOfTurn(FractionOfTurn(x) + 0x40000000U); }

}  // namespace nimbrel::cpu
