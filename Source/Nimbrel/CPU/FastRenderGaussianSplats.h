#pragma once

#include <cstdint>
#include <span>

#include "Nimbrel/ShaderConstants.h"
#include "Render/CPU/Rasteriser.h"

namespace nimbrel::cpu {

/// All of `order` as DrawGaussianSplats draws it with the blend state of GaussianSplatsBlend, the same bits: splats
/// are sorted into screen tiles, tiles run on oneTBB's threads, several pixels at a time. Any other blend state and
/// any target that is no RGBA format takes the scalar form. The target must not be in use elsewhere.
void FastDrawGaussianSplats(const zeb::render::cpu::RenderPass& pass, const gpu::TextureConstants& constants,
                            std::span<const std::uint32_t> order, std::span<const gpu::SplatViewData> records);

}  // namespace nimbrel::cpu
