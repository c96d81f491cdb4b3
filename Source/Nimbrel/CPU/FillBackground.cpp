#include "Nimbrel/CPU/FillBackground.h"

#include "Render/CPU/Sampling.h"

namespace nimbrel::cpu {

using namespace zeb::render::cpu;

Vertex<2> FillBackgroundVertex(std::uint32_t vertex) {
    // x, y, u, v
    constexpr float kVertices[6][4] = {{-1, -1, 0, 1}, {-1, 1, 0, 0}, {1, -1, 1, 1},
                                       {1, -1, 1, 1},  {-1, 1, 0, 0}, {1, 1, 1, 0}};
    if (vertex >= 6) return {{0.0F, 0.0F, 0.0F, 1.0F}, {}};
    const float* values = kVertices[vertex];
    return {{values[0], values[1], 0.0F, 1.0F}, {values[2], values[3]}};
}

void LayRowOverBlack(float* rgba, std::size_t count) {
    for (std::size_t i = 0; i < 4 * count; i += 4) {
        for (std::size_t c = i; c < i + 3; ++c) rgba[c] *= rgba[i + 3];
        rgba[i + 3] = 1.0F;
    }
}

void FillBackground(const RenderPass& pass, const TextureView& picture) {
    const auto pixel = [&](const std::array<float, 2>& coordinate, glm::vec4& color) {
        const glm::vec4 sample = Sample(picture, kLinearClampSampler, coordinate[0], coordinate[1]);
        color = {sample.x * sample.w, sample.y * sample.w, sample.z * sample.w, 1.0F};
        return true;
    };
    for (std::uint32_t first = 0; first < 6; first += 3) {
        DrawTriangle(pass, FillBackgroundVertex(first), FillBackgroundVertex(first + 1),
                     FillBackgroundVertex(first + 2), pixel);
    }
}

}  // namespace nimbrel::cpu
