#pragma once

#include <cstdint>

#include <glm/vec3.hpp>

#include "Nimbrel/CPU/PerSplatEffects.h"
#include "Nimbrel/ShaderConstants.h"

namespace nimbrel::cpu {

/// Displacement: scaled and rotated about the shape's centre, then moved, each by its own curve.
glm::vec3 Displace(const gpu::NoiseConstants1& constants, const CurveTextures& curves, std::uint32_t instance,
                   const glm::vec3& aligned);

/// Noise: an offset along each axis, faded by its curve.
glm::vec3 AddNoise(const gpu::NoiseConstants1& constants, const CurveTextures& curves, std::uint32_t instance,
                   const glm::vec3& displaced);

/// An aligned position after those of the two effects that are on. The distance and the view-data kernel both
/// use it, so that the order of splats follows the places they are drawn at.
glm::vec3 EffectPosition(const gpu::NoiseConstants1& constants, const CurveTextures& curves, std::uint32_t instance,
                         const glm::vec3& aligned);

}  // namespace nimbrel::cpu
