#include "Nimbrel/CPU/RenderGaussianSplats.h"

#include <algorithm>
#include <limits>

#include <hwy/highway.h>

#include "Nimbrel/CPU/SplatPixel-inl.h"
#include "Nimbrel/CPU/SplatQuad.h"
#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/HalfConversion.h"

namespace nimbrel::cpu {

using namespace zeb::render;
using namespace zeb::render::cpu;

namespace {

constexpr float kRingBegin = 0.0274509806F;  // 7/255
constexpr float kRingEnd = 0.0392156877F;    // 10/255

glm::vec4 NoPosition() { return glm::vec4(std::numeric_limits<float>::quiet_NaN()); }

float HighHalf(std::uint32_t word) { return HalfToFloat(static_cast<std::uint16_t>(word >> 16)); }
float LowHalf(std::uint32_t word) { return HalfToFloat(static_cast<std::uint16_t>(word & 0xFFFFU)); }

}  // namespace

namespace {

glm::vec2 GetPlace(std::uint32_t corner) {
    return {static_cast<float>(corner & 1U) * 4.0F - 2.0F, static_cast<float>((corner >> 1U) & 1U) * 4.0F - 2.0F};
}

}  // namespace

glm::vec4 FindCorner(const gpu::SplatViewData& record, std::uint32_t corner, const gpu::TextureConstants& constants) {
    const glm::vec2 place = GetPlace(corner);
    const glm::vec2 offset = record.axis1 * place.x + record.axis2 * place.y;
    const float w = record.pos.w;
    return {record.pos.x + (2.0F * offset.x / constants._ScreenParams.x) * w,
            record.pos.y + (2.0F * offset.y / constants._ScreenParams.y) * w, record.pos.z, w};
}

glm::vec4 UnpackColor(const gpu::SplatViewData& record) {
    return {HighHalf(record.color[0]), LowHalf(record.color[0]), HighHalf(record.color[1]), LowHalf(record.color[1])};
}

SplatVertex RenderGaussianSplatsVertex(const gpu::SplatViewData& record, std::uint32_t corner,
                                       const gpu::TextureConstants& constants) {
    SplatVertex vertex;
    if (record.pos.w <= 0.0F) {
        vertex.mPosition = NoPosition();
        return vertex;
    }
    vertex.mPosition = FindCorner(record, corner, constants);
    const glm::vec2 place = GetPlace(corner);
    const glm::vec4 color = UnpackColor(record);
    vertex.mAttributes = {color.x, color.y, color.z, color.w, place.x, place.y};
    return vertex;
}

bool RenderGaussianSplatsPixel(const std::array<float, 6>& attributes, glm::vec4& color) {
    float r = attributes[0];
    float g = attributes[1];
    float b = attributes[2];
    const float a = attributes[3];
    float p = HWY_NAMESPACE::FindGaussian(HWY_NAMESPACE::PlaceInQuad<float>{attributes[4], attributes[5]});
    float alpha = 0.0F;
    if (a >= 0.0F) {
        alpha = Saturate(p * a);
    } else {
        // Highlight: a magenta tint with a ring around the splat.
        if (p > kRingBegin && p < kRingEnd) {
            r = 1.0F;
            g = 0.0F;
            b = 1.0F;
            p = 1.0F;
        }
        alpha = p > kRingBegin ? Saturate(p + 0.3F) : p;
        r = r + (1.0F - r) * 0.5F;
        g = g * 0.5F;
        b = b + (1.0F - b) * 0.5F;
    }
    if (alpha < HWY_NAMESPACE::kLeastAlpha) return false;
    color = {r * alpha, g * alpha, b * alpha, alpha};
    return true;
}

BlendState GaussianSplatsBlend() {
    constexpr auto kSource = BlendFactor::InverseDestinationAlpha;
    constexpr auto kAdd = BlendOperation::Add;
    return {true, kSource, BlendFactor::One, kAdd, kSource, BlendFactor::One, kAdd};
}

namespace {

/// One of the two triangles that halve the outline, shaded by the quad's linear map.
void FillHalf(const RenderPass& pass, const SplatQuad& quad, int a, int b, int c) {
    const auto point = [&quad](int i) { return GridPoint{quad.mX[i], quad.mY[i], 1.0F}; };
    const TriangleSetup setup(point(a), point(b), point(c), pass.mScissor);
    if (setup.IsEmpty()) return;
    for (std::int32_t y = setup.Top(); y < setup.Bottom(); ++y) {
        std::int32_t begin = 0;
        std::int32_t end = 0;
        setup.GetSpan(y, begin, end);
        for (std::int32_t x = begin; x < end; ++x) {
            const glm::vec2 q = quad.At(quad.FromMiddleX(x), quad.FromMiddleY(y));
            const glm::vec4& color = quad.mColor;
            const std::array attributes = {color.x, color.y, color.z, color.w, q.x, q.y};
            ShadePixel(pass, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), attributes,
                       RenderGaussianSplatsPixel);
        }
    }
}

}  // namespace

void DrawGaussianSplat(const RenderPass& pass, const gpu::TextureConstants& constants,
                       const gpu::SplatViewData& record) {
    SplatQuad quad;
    switch (MakeSplatQuad(record, constants, pass.mViewport, quad)) {
        case SplatQuadKind::Nothing: break;
        case SplatQuadKind::Quad:
            FillHalf(pass, quad, 0, 1, 3);
            FillHalf(pass, quad, 1, 2, 3);
            break;
        case SplatQuadKind::Triangles: {
            SplatVertex corners[4];
            for (std::uint32_t corner = 0; corner < 4; ++corner) {
                corners[corner] = RenderGaussianSplatsVertex(record, corner, constants);
            }
            DrawTriangle(pass, corners[0], corners[1], corners[2], RenderGaussianSplatsPixel);
            DrawTriangle(pass, corners[1], corners[3], corners[2], RenderGaussianSplatsPixel);
            break;
        }
    }
}

void DrawGaussianSplats(const RenderPass& pass, const gpu::TextureConstants& constants,
                        std::span<const std::uint32_t> order, std::span<const gpu::SplatViewData> records,
                        std::uint32_t begin, std::uint32_t end) {
    const auto last = static_cast<std::uint32_t>(std::min<std::size_t>(end, order.size()));
    for (std::uint32_t instance = begin; instance < last; ++instance) {
        if (order[instance] < records.size()) DrawGaussianSplat(pass, constants, records[order[instance]]);
    }
}

Vertex<4> RenderGaussianSplatsBoxesVertex(const gpu::SplatViewData& record) {
    if (record.pos.w <= 0.0F) return {NoPosition(), {}};
    return {glm::vec4(0.0F), {1.0F, 1.0F, 1.0F, 0.3F}};
}

bool RenderGaussianSplatsBoxesPixel(const std::array<float, 4>& attributes, glm::vec4& color) {
    const float a = attributes[3];
    color = {attributes[0] * a, attributes[1] * a, attributes[2] * a, a};
    return true;
}

BlendState GaussianSplatsBoxesBlend() {
    constexpr auto kInverse = BlendFactor::InverseSourceAlpha;
    constexpr auto kAdd = BlendOperation::Add;
    return {true, BlendFactor::SourceAlpha, kInverse, kAdd, BlendFactor::One, kInverse, kAdd};
}

}  // namespace nimbrel::cpu
