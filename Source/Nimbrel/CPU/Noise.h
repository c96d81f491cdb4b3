#pragma once

#include <glm/vec4.hpp>

namespace nimbrel::cpu {

/// One row for each component of a lattice point's gradient, and what the row's sine is multiplied by.
inline const glm::vec4 kNoiseHashRows[4] = {
    {127.1F, 311.7F, 74.7F, 212.1F},
    {269.5F, 183.3F, 246.1F, 243.7F},
    {113.5F, 271.9F, 124.6F, 231.8F},
    {209.3F, 258.6F, 282.6F, 107.9F},
};
inline constexpr float kNoiseHashScale = 43758.546875F;

/// Where a point lies: its cell's least corner, the place inside from 0 to 1, and that smoothed.
struct NoiseCell {
    glm::vec4 mLattice;
    glm::vec4 mFraction;
    glm::vec4 mWeight;
};
NoiseCell FindNoiseCell(const glm::vec4& point);

/// The values of a cell's corners (x varies fastest) blended along x, then y, z and w. Overwrites `values`.
float BlendCorners(float (&values)[16], const glm::vec4& weight);

/// Gradient noise in four dimensions with a hash of sines, period-free, smooth (cubic Hermite) between lattice
/// points, 0 at them. The hash magnifies the last bits of its sines, which are therefore those of Sine.h.
float Noise4(const glm::vec4& point);

}  // namespace nimbrel::cpu
