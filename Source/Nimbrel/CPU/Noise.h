#pragma once

#include <glm/vec4.hpp>

namespace nimbrel::cpu {

/// Gradient noise in four dimensions with a hash of sines, period-free, smooth (cubic Hermite) between lattice
/// points, 0 at them. The hash magnifies the last bits of `sin`: other machines' noise differs where
/// their sine does.
float Noise4(const glm::vec4& point);

}  // namespace nimbrel::cpu
