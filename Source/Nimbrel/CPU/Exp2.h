#pragma once

#include <cstdint>

#include "Render/CPU/Arithmetic.h"

/// 2 to a power as the splat programs' C++ forms compute it, one value or several at a time: the same bits on
/// every machine, which the mathematical library's does not promise.
namespace nimbrel::cpu {

/// 2^f = 1 + f * (c0 + c1 f + ... + c5 f^5) for -0.5 <= f <= 0.5, interpolated at Chebyshev nodes; its own error
/// is below 6e-9, with float rounding the result is within 1.5 units in the last place.
inline constexpr float kExp2Coefficients[6] = {0.693147188F,   0.240226508F,   0.0555035711F,
                                               0.00961808256F, 0.00133908634F, 0.000154531629F};
/// Adding this rounds to the nearest integer, which then stands in the low bits.
inline constexpr float kExp2Round = 12582912.0F;  // 1.5 * 2^23
inline constexpr float kExp2Least = -125.0F;

/// 2^value for values up to 126; those below -125, and NaN, count as -125.
inline float Exp2(float value) {
    using namespace zeb::render::cpu;
    const float t = value > kExp2Least ? value : kExp2Least;
    const float rounded = t + kExp2Round;
    const float f = t - (rounded - kExp2Round);
    float sum = kExp2Coefficients[5];
    for (int i = 4; i >= 0; --i) sum = sum * f + kExp2Coefficients[i];
    return BitsToFloat(FloatBits(1.0F + f * sum) + (FloatBits(rounded) << 23));
}

}  // namespace nimbrel::cpu
