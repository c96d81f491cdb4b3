#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

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

/// Of a draw over the whole viewport that gives each pixel its own texel, with no other state than that of a plain
/// copy, the pass cut to its pixels; else nothing. `size` is the texels' extent.
std::optional<RenderPass> FindTexelToPixel(const RenderPass& pass, const glm::vec2& size);

/// What becomes of `count` colours in place; null: nothing.
using RowChange = void (*)(float* rgba, std::size_t count);

/// Rows [beginRow, endRow) of such a draw, columns of `pass.mScissor`.
void ConvertRows(const RenderPass& pass, const TextureView& source, RowChange change, std::int32_t beginRow,
                 std::int32_t endRow);

/// Draws the upper left `size` pixels of `source` into those of `target`, colour divided by alpha if `unmultiply`.
void Convert(const TextureView& source, bool unmultiply, const glm::uvec2& size, Image& target);

}  // namespace zeb::render::cpu
