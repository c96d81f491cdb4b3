#pragma once

#include <cstdint>

/// Conversion between 32-bit floats and IEEE 754 binary16, as GPUs do it.
namespace zeb::render::cpu {

/// Rounds to the nearest half, ties to even. Too large values become infinity, subnormals are kept, a
/// NaN stays a quiet NaN with its sign.
std::uint16_t FloatToHalf(float value);

/// Exact.
float HalfToFloat(std::uint16_t half);

}  // namespace zeb::render::cpu
