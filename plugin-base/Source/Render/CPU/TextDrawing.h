#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include "Render/CPU/Image.h"
#include "Render/CPU/Rasteriser.h"

/// Program "TextDrawing": textured triangles from a font texture of several layers.
namespace zeb::render::cpu {

/// Vertex stage; the attributes are the texture coordinate and the layer.
Vertex<3> TextDrawingVertex(const glm::mat4& projection, const glm::vec4& position, const glm::vec3& coordinate);

/// Pixel stage: the font's sample times the text's colour, all four channels.
glm::vec4 TextDrawingPixel(const TextureView& font, const SamplerDescription& sampler, const glm::vec4& color,
                           const std::array<float, 3>& coordinate);

}  // namespace zeb::render::cpu
