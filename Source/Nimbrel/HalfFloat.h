#pragma once

#include <cstdint>

/// Conversion to IEEE 754 half precision as assets store it: the mantissa is cut, not rounded. Values of
/// 65536 and more become infinity, those below 2^-24 signed zero. A NaN becomes 0x7C01 with its sign.
std::uint16_t FloatToHalfTruncated(float value);

/// The exact value of a half float.
float HalfToFloat(std::uint16_t half);
