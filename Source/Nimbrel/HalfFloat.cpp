#include "HalfFloat.h"

#include <bit>

std::uint16_t FloatToHalfTruncated(float value) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
    const std::uint32_t sign = (bits >> 16) & 0x8000u;
    const std::uint32_t mantissa = bits & 0x7fffffu;
    const int exponent = static_cast<int>((bits >> 23) & 0xffu) - 127;

    std::uint32_t magnitude = 0;
    if (exponent == 128 && mantissa != 0) {
        magnitude = 0x7c01u;
    } else if (exponent > 15) {
        magnitude = 0x7c00u;
    } else if (exponent > -15) {
        magnitude = static_cast<std::uint32_t>(exponent + 15) << 10 | mantissa >> 13;
    } else if (exponent >= -24) {
        // A subnormal half counts in steps of 2^-24: the mantissa with its leading one, shifted down to that.
        magnitude = (mantissa | 0x800000u) >> (-1 - exponent);
    }
    return static_cast<std::uint16_t>(sign | magnitude);
}

float HalfToFloat(std::uint16_t half) {
    const std::uint32_t sign = static_cast<std::uint32_t>(half & 0x8000u) << 16;
    const std::uint32_t exponent = (half >> 10) & 0x1fu;
    const std::uint32_t mantissa = half & 0x3ffu;
    if (exponent == 0) {
        const float magnitude = static_cast<float>(mantissa) * 0x1p-24f;
        return sign != 0 ? -magnitude : magnitude;
    }
    const std::uint32_t biased = exponent == 31 ? 255u : exponent + 112u;
    return std::bit_cast<float>(sign | biased << 23 | mantissa << 13);
}
