#pragma once

#include <cstdint>

#include <glm/vec3.hpp>

#include "Nimbrel/ShaderConstants.h"
#include "Render/CPU/Image.h"

/// Effects inside shapes with a soft edge, all in aligned model space. Distance is 1 on a shape's edge;
/// the feathered distance g runs from 0 inside to 1 outside and is where curves are looked up.
namespace nimbrel::cpu {

/// Curves of all instances, borrowed.
struct CurveTextures {
    zeb::render::cpu::TextureView mRamps;      ///< `_SplatRamps`, 7 rows an instance
    zeb::render::cpu::TextureView mGradients;  ///< `_SplatGradients`, 1 row an instance
};

/// 0 sphere, 1 box; every point is at distance 0 of any other type.
float ShapeDistance(std::int32_t type, const glm::vec3& point, const glm::vec3& center, const glm::vec3& halfSize);

/// g of a distance. The soft band lies inside the shape, over its outer `feather` part.
float Feather(float distance, float feather);

/// A curve of instance `instance` at g.
float SampleRamp(const CurveTextures& curves, std::uint32_t instance, gpu::RampRow row, float g);

/// Whether the crop shape removes a splat at aligned position `aligned`.
bool IsCroppedByShape(const gpu::ModelConstants1& model, const glm::vec3& aligned);

/// Factors and colours at effect position `effect`. Each gives the neutral value while its effect is off.
float ScaleFactor(const gpu::ModelConstants1& model, const CurveTextures& curves, std::uint32_t instance,
                  const glm::vec3& effect);
float OpacityFactor(const gpu::ModelConstants1& model, const CurveTextures& curves, std::uint32_t instance,
                    const glm::vec3& effect);
/// Blending modes: 0 normal, 1 add, 2 multiply; any other is taken as normal.
glm::vec3 BlendedColor(const gpu::ModelConstants1& model, const CurveTextures& curves, std::uint32_t instance,
                       const glm::vec3& effect, const glm::vec3& color);

}  // namespace nimbrel::cpu
