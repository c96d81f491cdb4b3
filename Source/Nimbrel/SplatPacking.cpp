#include "SplatPacking.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "HalfFloat.h"

namespace {

float Clamp01(float value) { return value > 0.0f ? (value < 1.0f ? value : 1.0f) : 0.0f; }

// Both bounds are put so that a NaN falls to 0 and the conversion to an integer is always defined.
std::int32_t ToField(float value, float factor, float largest) {
    float scaled = value * factor;
    scaled = scaled > 0.0f ? scaled : 0.0f;
    scaled = scaled < largest ? scaled : largest;
    return static_cast<std::int32_t>(scaled);
}

template <class T>
void Write(std::uint8_t* out, const T& value) {
    std::memcpy(out, &value, sizeof(value));
}

std::uint32_t Word11(float x, float y, float z) {
    return static_cast<std::uint32_t>(ToField(x, 2047.5f, 2047.0f)) |
           static_cast<std::uint32_t>(ToField(y, 1023.5f, 1023.0f)) << 11 |
           static_cast<std::uint32_t>(ToField(z, 2047.5f, 2047.0f)) << 21;
}

// All fields of a splat at once: a loop over plain arrays, which compilers turn into vector code.
void PackSHNorm6(const float* values, int coefficientCount, std::uint8_t* out) {
    constexpr std::array<float, 3> kFactors = {31.5f, 63.5f, 31.5f};
    constexpr std::array<float, 3> kLargest = {31.0f, 63.0f, 31.0f};
    std::array<std::int32_t, 48> fields;
    for (int i = 0; i < coefficientCount; ++i) {
        for (int c = 0; c < 3; ++c) fields[3 * i + c] = ToField(values[3 * i + c], kFactors[c], kLargest[c]);
    }
    std::array<std::uint16_t, 16> words{};
    for (int i = 0; i < coefficientCount; ++i)
        words[i] = static_cast<std::uint16_t>(fields[3 * i] | fields[3 * i + 1] << 5 | fields[3 * i + 2] << 11);
    Write(out, words);
}

}  // namespace

void PackVector(VectorFormat format, const glm::vec3& value, std::uint8_t* out) {
    switch (format) {
        case VectorFormat::Float32: Write(out, glm::vec3(Clamp01(value.x), Clamp01(value.y), Clamp01(value.z))); break;
        case VectorFormat::Norm16:
            for (int c = 0; c < 3; ++c)
                Write(out + 2 * c, static_cast<std::uint16_t>(ToField(value[c], 65535.5f, 65535.0f)));
            break;
        case VectorFormat::Norm11: Write(out, Word11(value.x, value.y, value.z)); break;
        case VectorFormat::Norm6:
            Write(out, static_cast<std::uint16_t>(ToField(value.x, 63.5f, 63.0f) | ToField(value.y, 31.5f, 31.0f) << 6 |
                                                  ToField(value.z, 31.5f, 31.0f) << 11));
            break;
    }
}

void PackColor(ColorFormat format, const glm::vec4& value, std::uint8_t* out) {
    switch (format) {
        case ColorFormat::Float32x4: Write(out, value); break;
        case ColorFormat::Float16x4:
            for (int c = 0; c < 4; ++c) Write(out + 2 * c, FloatToHalfTruncated(value[c]));
            break;
        case ColorFormat::Norm8x4:
            for (int c = 0; c < 4; ++c) out[c] = static_cast<std::uint8_t>(ToField(value[c], 255.5f, 255.0f));
            break;
        case ColorFormat::BC7: break;  // Refused before any splat is packed.
    }
}

void PackRotation(const glm::vec4& encoded, std::uint8_t* out) {
    Write(out, static_cast<std::uint32_t>(ToField(encoded.x, 1023.5f, 1023.0f)) |
                   static_cast<std::uint32_t>(ToField(encoded.y, 1023.5f, 1023.0f)) << 10 |
                   static_cast<std::uint32_t>(ToField(encoded.z, 1023.5f, 1023.0f)) << 20 |
                   static_cast<std::uint32_t>(ToField(encoded.w, 3.5f, 3.0f)) << 30);
}

void PackSH(SHFormat format, const float* values, int coefficientCount, std::uint8_t* out) {
    switch (format) {
        case SHFormat::Float32: std::memcpy(out, values, static_cast<std::size_t>(coefficientCount) * 12); break;
        case SHFormat::Float16:
            for (int i = 0; i < 3 * coefficientCount; ++i) Write(out + 2 * i, FloatToHalfTruncated(values[i]));
            break;
        case SHFormat::Norm11:
            for (int i = 0; i < coefficientCount; ++i)
                Write(out + 4 * i, Word11(values[3 * i], values[3 * i + 1], values[3 * i + 2]));
            break;
        case SHFormat::Norm6: PackSHNorm6(values, coefficientCount, out); break;
        default: break;  // Clustered forms are refused before any splat is packed.
    }
}

glm::vec4 EncodeRotation(const glm::vec4& quaternion) {
    int dropped = 0;
    for (int i = 1; i < 4; ++i) {
        if (std::abs(quaternion[i]) > std::abs(quaternion[dropped])) dropped = i;
    }
    glm::vec4 ordered = quaternion;
    for (int i = dropped; i < 3; ++i) ordered[i] = quaternion[i + 1];
    ordered[3] = quaternion[dropped];

    const float sign = ordered[3] >= 0.0f ? 1.0f : -1.0f;
    glm::vec4 encoded;
    for (int i = 0; i < 3; ++i) encoded[i] = ordered[i] * sign * 1.4142135f * 0.5f + 0.5f;
    encoded[3] = static_cast<float>(dropped) / 3.0f;
    return encoded;
}
