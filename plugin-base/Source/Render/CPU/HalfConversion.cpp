#include "Render/CPU/HalfConversion.h"

#include "Render/CPU/Arithmetic.h"

namespace zeb::render::cpu {
namespace {

/// value / 2^shift, to nearest, ties to even.
std::uint32_t ShiftRightRounded(std::uint32_t value, std::uint32_t shift) {
    const std::uint32_t half = 1U << (shift - 1);
    const std::uint32_t rest = value & ((1U << shift) - 1);
    const std::uint32_t quotient = value >> shift;
    return quotient + static_cast<std::uint32_t>(rest > half || (rest == half && (quotient & 1U) != 0));
}

}  // namespace

std::uint16_t FloatToHalf(float value) {
    const std::uint32_t bits = FloatBits(value);
    const std::uint32_t sign = (bits >> 16) & 0x8000U;
    const std::uint32_t magnitude = bits & 0x7FFFFFFFU;
    std::uint32_t half = 0;
    if (magnitude > 0x7F800000U) {
        half = 0x7E00U;
    } else if (magnitude >= 0x47800000U) {  // 2^16 and more, infinity included
        half = 0x7C00U;
    } else if (magnitude >= 0x38800000U) {  // 2^-14: normal; a carry out of the mantissa raises the exponent
        half = ShiftRightRounded(magnitude - 0x38000000U, 13);
    } else if (magnitude >= 0x33000000U) {  // 2^-25: subnormal, in units of 2^-24
        const std::uint32_t exponent = magnitude >> 23;
        half = ShiftRightRounded((magnitude & 0x7FFFFFU) | 0x800000U, 126U - exponent);
    }
    return static_cast<std::uint16_t>(sign | half);
}

float HalfToFloat(std::uint16_t half) {
    const std::uint32_t sign = (half & 0x8000U) << 16;
    const std::uint32_t exponent = (half >> 10) & 31U;
    const std::uint32_t mantissa = half & 0x3FFU;
    if (exponent == 31) return BitsToFloat(sign | 0x7F800000U | (mantissa << 13));
    if (exponent != 0) return BitsToFloat(sign | ((exponent + 112) << 23) | (mantissa << 13));
    const float magnitude = static_cast<float>(mantissa) * 0x1p-24F;
    return sign != 0 ? -magnitude : magnitude;
}

}  // namespace zeb::render::cpu
