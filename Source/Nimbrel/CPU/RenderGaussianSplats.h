#pragma once

#include <array>
#include <cstdint>
#include <span>

#include <glm/vec4.hpp>

#include "Nimbrel/ShaderConstants.h"
#include "Render/CPU/Rasteriser.h"

/// Programs "RenderGaussianSplats" and "RenderGaussianSplatsBoxes".
namespace nimbrel::cpu {

/// Attributes: red, green, blue, opacity, then the place in the quad, -2 to 2 in units of the axes.
using SplatVertex = zeb::render::cpu::Vertex<6>;

/// Corner 0 to 3 of a record before the camera, in clip space.
glm::vec4 FindCorner(const gpu::SplatViewData& record, std::uint32_t corner, const gpu::TextureConstants& constants);

/// Red, green, blue, opacity.
glm::vec4 UnpackColor(const gpu::SplatViewData& record);

/// Vertex stage, corner 0 to 3. A record at or behind the camera's plane gets a position of NaNs.
SplatVertex RenderGaussianSplatsVertex(const gpu::SplatViewData& record, std::uint32_t corner,
                                       const gpu::TextureConstants& constants);

/// Pixel stage: premultiplied colour under the Gaussian; false where it is too faint to show.
bool RenderGaussianSplatsPixel(const std::array<float, 6>& attributes, glm::vec4& color);

/// Front to back: source times inverse destination alpha, plus destination.
zeb::render::cpu::BlendState GaussianSplatsBlend();

/// One quad. Its place in the quad is linear over both triangles where they lie inside the guard band.
void DrawGaussianSplat(const zeb::render::cpu::RenderPass& pass, const gpu::TextureConstants& constants,
                       const gpu::SplatViewData& record);

/// Instances [begin, end) of the indexed draw: one quad for each place of `order`, which holds indices of `records`. An
/// index beyond the records draws nothing.
void DrawGaussianSplats(const zeb::render::cpu::RenderPass& pass, const gpu::TextureConstants& constants,
                        std::span<const std::uint32_t> order, std::span<const gpu::SplatViewData> records,
                        std::uint32_t begin, std::uint32_t end);

/// Vertex stage of "RenderGaussianSplatsBoxes", a white of 0.3 at the origin of clip space: it covers no pixel. The
/// attributes are the colour.
zeb::render::cpu::Vertex<4> RenderGaussianSplatsBoxesVertex(const gpu::SplatViewData& record);

/// Pixel stage of "RenderGaussianSplatsBoxes": the colour premultiplied.
bool RenderGaussianSplatsBoxesPixel(const std::array<float, 4>& attributes, glm::vec4& color);

/// Source alpha over the destination.
zeb::render::cpu::BlendState GaussianSplatsBoxesBlend();

}  // namespace nimbrel::cpu
