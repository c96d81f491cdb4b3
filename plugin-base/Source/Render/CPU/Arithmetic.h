#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

/// Scalar operations as GPUs define them (Direct3D 11.3 functional specification, 3.1 "Floating point
/// rules" and 3.2.3 "Conversion"). C++ leaves some of them undefined (float to integer) or defines them
/// otherwise (NaN operands). Nothing here is fused or reassociated: the build forbids contraction, so a
/// program's result is the same bits on every machine with the same mathematical library.
namespace zeb::render::cpu {

/// The greater operand; of a NaN and a number, the number.
inline float Max(float a, float b) { return a >= b || std::isnan(b) ? a : b; }
/// The lesser operand; of a NaN and a number, the number.
inline float Min(float a, float b) { return a < b || std::isnan(b) ? a : b; }
inline float Clamp(float value, float low, float high) { return Min(Max(value, low), high); }
/// Clamped to 0..1; NaN gives 0.
inline float Saturate(float value) { return Min(Max(value, 0.0F), 1.0F); }
/// -1, 0 or 1; NaN gives 0.
inline float Sign(float value) { return static_cast<float>(value > 0.0F) - static_cast<float>(value < 0.0F); }
inline float Lerp(float low, float high, float t) { return low + (high - low) * t; }
inline float Frac(float value) { return value - std::floor(value); }

/// Truncation to an unsigned number, saturating; NaN gives 0.
inline std::uint32_t ToUint(float value) {
    if (!(value > 0.0F)) return 0;
    return value >= 4294967296.0F ? 0xFFFFFFFFU : static_cast<std::uint32_t>(value);
}

/// Truncation to a signed number, saturating; NaN gives 0.
inline std::int32_t ToInt(float value) {
    if (std::isnan(value)) return 0;
    if (value >= 2147483648.0F) return 0x7FFFFFFF;
    return value < -2147483648.0F ? -0x7FFFFFFF - 1 : static_cast<std::int32_t>(value);
}

inline std::uint32_t FloatBits(float value) { return std::bit_cast<std::uint32_t>(value); }
inline float BitsToFloat(std::uint32_t bits) { return std::bit_cast<float>(bits); }

inline float Dot(const glm::vec3& a, const glm::vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline float Dot(const glm::vec4& a, const glm::vec4& b) { return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w; }
inline glm::vec3 Cross(const glm::vec3& a, const glm::vec3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Row `row` of a matrix stored by columns.
inline glm::vec4 Row(const glm::mat4& matrix, int row) {
    return {matrix[0][row], matrix[1][row], matrix[2][row], matrix[3][row]};
}

/// matrix times column vector, each component a sum from left to right.
inline glm::vec4 Multiply(const glm::mat4& matrix, const glm::vec4& v) {
    return {Dot(Row(matrix, 0), v), Dot(Row(matrix, 1), v), Dot(Row(matrix, 2), v), Dot(Row(matrix, 3), v)};
}

/// The first three components of matrix times (point, 1).
inline glm::vec3 TransformPoint(const glm::mat4& matrix, const glm::vec3& point) {
    const glm::vec4 v(point, 1.0F);
    return {Dot(Row(matrix, 0), v), Dot(Row(matrix, 1), v), Dot(Row(matrix, 2), v)};
}

}  // namespace zeb::render::cpu
