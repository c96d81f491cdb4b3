#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Numbers as splat files keep them, and what rows hold in their place.
namespace nimbrel::convert {

static_assert(std::endian::native == std::endian::little, "values are taken from little-endian files as they stand");

/// A value at any place in memory.
template <class T>
T Load(const std::uint8_t* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

/// The constant spherical harmonic, 1 / (2 sqrt(pi)).
constexpr float kConstantHarmonic = 0.28209479177387814f;

/// A colour from 0 to 1 as f_dc.
inline float DcFromColor(float color) { return (color - 0.5f) / kConstantHarmonic; }

/// An opacity from 0 to 1 as a logit. The ends, whose logits are infinite, come a millionth closer, which no
/// picture shows.
inline float LogitFromOpacity(float opacity) {
    const double inside = std::clamp<double>(opacity, 1e-6, 1 - 1e-6);
    return static_cast<float>(std::log(inside / (1 - inside)));
}

/// A length as a logarithm; what has none is too small to see.
inline float LogFromScale(float scale) { return std::log(std::max(scale, 1e-9f)); }

/// A table of a byte's 256 values.
template <class Function>
std::array<float, 256> MakeByteTable(Function&& function) {
    std::array<float, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = function(static_cast<float>(i));
    return table;
}

/// IEEE 754 binary16.
inline float FloatFromHalf(std::uint16_t half) {
    const std::uint32_t sign = static_cast<std::uint32_t>(half & 0x8000U) << 16;
    const std::uint32_t exponent = (half >> 10) & 31U;
    const std::uint32_t mantissa = half & 1023U;
    if (exponent == 0) {
        const float value = static_cast<float>(mantissa) * 0x1p-24f;
        return sign != 0 ? -value : value;
    }
    const std::uint32_t wide = exponent == 31 ? 255U : exponent + 112U;
    return std::bit_cast<float>(sign | (wide << 23) | (mantissa << 13));
}

/// To unit length; one without length becomes the identity.
inline void NormaliseQuaternion(float* q) {
    const float length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    if (!(length > 0)) {
        q[0] = 1;
        q[1] = q[2] = q[3] = 0;
        return;
    }
    for (int i = 0; i < 4; ++i) q[i] /= length;
}

/// A unit quaternion from three of its components in order and the place (0 to 3) of the one left out, the largest.
inline void RestoreQuaternion(const float* three, std::size_t largest, float* q) {
    float rest = 1;
    for (std::size_t i = 0, from = 0; i < 4; ++i) {
        if (i == largest) continue;
        q[i] = three[from++];
        rest -= q[i] * q[i];
    }
    q[largest] = std::sqrt(std::max(rest, 0.0f));
}

}  // namespace nimbrel::convert
