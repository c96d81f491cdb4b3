#pragma once

#include <cstdint>

#include <glm/vec3.hpp>

namespace nimbrel::cpu {

/// Colour seen along the unit direction `direction`: `color`, which holds the constant term, plus the real
/// spherical harmonics of degree 1 to `order` (at most 3; negative counts as 0), not below 0. `sh` has the
/// fifteen coefficients of degree 1 to 3, by degree and then by order from -l to l.
glm::vec3 EvaluateSH(const glm::vec3& color, const glm::vec3* sh, const glm::vec3& direction, std::int32_t order);

}  // namespace nimbrel::cpu
