#pragma once

#include <cstddef>
#include <cstdint>

#include "Render/CPU/Image.h"
#include "Render/CPU/Rasteriser.h"

/// Program "FillBackground": a picture over black, with full alpha.
namespace nimbrel::cpu {

/// Vertex stage, six vertices over the whole viewport; the attributes are the texture coordinate.
zeb::render::cpu::Vertex<2> FillBackgroundVertex(std::uint32_t vertex);

/// Pixel stage of `count` samples, in place.
void LayRowOverBlack(float* rgba, std::size_t count);

/// Draws all of `picture`, filtered, over the viewport of `pass`.
void FillBackground(const zeb::render::cpu::RenderPass& pass, const zeb::render::cpu::TextureView& picture);

}  // namespace nimbrel::cpu
