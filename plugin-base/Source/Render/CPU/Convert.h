#pragma once

#include <cstdint>

#include <glm/vec2.hpp>
#include <glm/vec4.hpp>

#include "Render/CPU/Image.h"
#include "Render/CPU/Rasteriser.h"

/// Programs "ConvertNone" and "ConvertUnmultiply": one texel to one pixel.
namespace zeb::render::cpu {

/// Vertex stage: corner `vertex` (0 to 3) of a strip over the whole viewport; the attributes are the texel
/// coordinate, 0 to `size`.
Vertex<2> ConvertVertex(std::uint32_t vertex, const glm::vec2& size);

/// Pixel stage of "ConvertUnmultiply": straight colour of a premultiplied one. Below an alpha of 0.001
/// the colour stays and alpha becomes 0.
glm::vec4 Unmultiply(const glm::vec4& color);

/// Whether a draw of the four corners as a strip gives each pixel of the viewport its own texel: no other state than
/// that of a plain copy.
bool IsTexelToPixel(const RenderPass& pass, const glm::vec2& size);

/// Rows [beginRow, endRow) of such a draw, `pass.mScissor` apart, the same bits.
void ConvertRows(const RenderPass& pass, const TextureView& source, bool unmultiply, std::int32_t beginRow,
                 std::int32_t endRow);

/// Draws the upper left `size` pixels of `source` into those of `target`, colour divided by alpha if `unmultiply`.
void Convert(const TextureView& source, bool unmultiply, const glm::uvec2& size, Image& target);

}  // namespace zeb::render::cpu
