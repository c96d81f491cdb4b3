#pragma once

#include <glm/vec4.hpp>

#include "PluginBase/Render/Types.h"
#include "Render/CPU/Image.h"

namespace zeb::render::cpu {

/// Samples level 0 at (u, v), 0 to 1 over the texture, by the magnification filter and address modes of
/// `sampler`. Linear weights have full float precision; GPUs round them to 1/256 at the coarsest, so a
/// sample of theirs may differ by 1/512 of the step between neighbouring texels. `layer` is rounded to
/// the nearest and clamped to the texture's.
glm::vec4 Sample(const TextureView& texture, const SamplerDescription& sampler, float u, float v, float layer = 0.0F);

/// Linear filter and clamped coordinates: the sampler of curves and of the depth picture.
inline constexpr SamplerDescription kLinearClampSampler{SamplerFilter::Linear, SamplerFilter::Linear,
                                                        SamplerFilter::Linear, SamplerAddress::Clamp,
                                                        SamplerAddress::Clamp, SamplerAddress::Clamp};

}  // namespace zeb::render::cpu
