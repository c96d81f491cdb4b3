#pragma once

#include <cstdint>

#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include "GaussianSplatAsset.h"

/// Writers of the asset's fields. A value of 1 fills a field, one outside 0..1 is clamped, and a NaN, which
/// is what a constant component becomes by normalisation, is 0. `out` has the format's size.

void PackVector(VectorFormat format, const glm::vec3& value, std::uint8_t* out);

void PackColor(ColorFormat format, const glm::vec4& value, std::uint8_t* out);

/// Rotation as EncodeRotation gives it: three components in 10 bits each, the dropped one's index in 2.
void PackRotation(const glm::vec4& encoded, std::uint8_t* out);

/// `values` holds `coefficientCount` (at most 15) times r, g, b. What the count does not cover is left as it is.
void PackSH(SHFormat format, const float* values, int coefficientCount, std::uint8_t* out);

/// Smallest-three encoding of a quaternion (x, y, z, w) of unit length: the component largest in size is
/// dropped and the others, brought to its sign and then to 0..1, keep their order. w of the result is the
/// dropped one's index / 3.
glm::vec4 EncodeRotation(const glm::vec4& quaternion);
