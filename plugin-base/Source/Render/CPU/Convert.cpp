#include "Render/CPU/Convert.h"

namespace zeb::render::cpu {
namespace {

constexpr float kLeastAlpha = 0.00100000005F;

}  // namespace

Vertex<2> ConvertVertex(std::uint32_t vertex, const glm::vec2& size) {
    const auto right = static_cast<float>(vertex & 1U);
    const auto lower = static_cast<float>(vertex >> 1U);
    Vertex<2> result;
    result.mPosition = {right * 2.0F - 1.0F, 1.0F - lower * 2.0F, 0.0F, 1.0F};
    result.mAttributes = {right * size.x, lower * size.y};
    return result;
}

glm::vec4 Unmultiply(const glm::vec4& color) {
    if (color.w < kLeastAlpha) return {color.x, color.y, color.z, 0.0F};
    return {color.x / color.w, color.y / color.w, color.z / color.w, color.w};
}

void Convert(const TextureView& source, bool unmultiply, const glm::uvec2& size, Image& target) {
    const RenderPass pass = MakeRenderPass(target, size.x, size.y);
    const glm::vec2 extent(size);
    Vertex<2> corners[4];
    for (std::uint32_t vertex = 0; vertex < 4; ++vertex) corners[vertex] = ConvertVertex(vertex, extent);
    const auto pixel = [&](const std::array<float, 2>& coordinate, glm::vec4& color) {
        const glm::vec4 texel = source.Load(ToInt(coordinate[0]), ToInt(coordinate[1]));
        color = unmultiply ? Unmultiply(texel) : texel;
        return true;
    };
    DrawTriangle(pass, corners[0], corners[1], corners[2], pixel);
    DrawTriangle(pass, corners[1], corners[3], corners[2], pixel);
}

}  // namespace zeb::render::cpu
