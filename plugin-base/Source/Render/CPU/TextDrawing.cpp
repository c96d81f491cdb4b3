#include "Render/CPU/TextDrawing.h"

#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/Sampling.h"

namespace zeb::render::cpu {

Vertex<3> TextDrawingVertex(const glm::mat4& projection, const glm::vec4& position, const glm::vec3& coordinate) {
    return {Multiply(projection, position), {coordinate.x, coordinate.y, coordinate.z}};
}

glm::vec4 TextDrawingPixel(const TextureView& font, const SamplerDescription& sampler, const glm::vec4& color,
                           const std::array<float, 3>& coordinate) {
    return Sample(font, sampler, coordinate[0], coordinate[1], coordinate[2]) * color;
}

}  // namespace zeb::render::cpu
