#include <algorithm>

#include "Nimbrel/CPU/FastRenderGaussianSplats.h"
#include "Nimbrel/CPU/FillBackground.h"
#include "Nimbrel/CPU/Gizmos.h"
#include "Nimbrel/CPU/Programs/SplatPrograms.h"
#include "Nimbrel/CPU/RenderGaussianSplats.h"
#include "Render/CPU/Convert.h"
#include "Render/CPU/DrawPrimitives.h"
#include "Render/CPU/Sampling.h"

namespace nimbrel::cpu {

using namespace zeb::render;
using namespace zeb::render::cpu;

namespace {

constexpr std::uint32_t kOrder = 7;
constexpr std::uint32_t kViewData = 8;
constexpr std::uint32_t kTextureConstants = 9;
constexpr std::uint32_t kShapes = 1;

/// Whether a draw is the splats' own: two triangles over the corners of a quad for each instance.
bool IsQuadDraw(const DrawCall& call) {
    constexpr std::array<std::uint32_t, 6> kQuad = {0, 1, 2, 1, 3, 2};
    if (call.mTopology != Topology::TriangleList || call.mCount != kQuad.size()) return false;
    if (call.mCullMode != CullMode::None || call.mFillMode != FillMode::Solid) return false;
    for (std::uint32_t i = 0; i < kQuad.size(); ++i) {
        if (call.GetVertexNumber(i) != kQuad[i]) return false;
    }
    return true;
}

/// The record of an instance; one that draws nothing for an index outside the buffers.
gpu::SplatViewData GetRecord(std::span<const std::uint32_t> order, std::span<const gpu::SplatViewData> records,
                             std::uint32_t instance) {
    if (instance >= order.size() || order[instance] >= records.size()) return {};
    return records[order[instance]];
}

void DrawSplats(const DrawCall& call) {
    const auto constants = call.mBindings.Constants<gpu::TextureConstants>(kTextureConstants);
    const auto order = call.mBindings.Read<std::uint32_t>(kOrder);
    const auto records = call.mBindings.Read<gpu::SplatViewData>(kViewData);
    if (IsQuadDraw(call)) {
        const std::size_t first = std::min<std::size_t>(call.mFirstInstance, order.size());
        const auto drawn = order.subspan(first, std::min<std::size_t>(call.mInstanceCount, order.size() - first));
        FastDrawGaussianSplats(call.mPass, constants, drawn, records);
        return;
    }
    DrawPrimitives<6>(
        call,
        [&](std::uint32_t vertex, std::uint32_t instance) {
            return RenderGaussianSplatsVertex(GetRecord(order, records, instance), vertex, constants);
        },
        RenderGaussianSplatsPixel);
}

void DrawBoxes(const DrawCall& call) {
    const auto order = call.mBindings.Read<std::uint32_t>(kOrder);
    const auto records = call.mBindings.Read<gpu::SplatViewData>(kViewData);
    DrawPrimitives<4>(
        call,
        [&](std::uint32_t, std::uint32_t instance) {
            return RenderGaussianSplatsBoxesVertex(GetRecord(order, records, instance));
        },
        RenderGaussianSplatsBoxesPixel);
}

/// The whole picture, pixel for pixel and so without a filter.
bool DrawPlainBackground(const DrawCall& call, const TextureView& picture) {
    const std::optional<RenderPass> plain =
        FindTexelToPixel(call.mPass, glm::vec2(glm::uvec2(picture.mWidth, picture.mHeight)));
    if (!call.IsPlain(Topology::TriangleList, 6) || !plain) return false;
    ForEachBand(*plain, [&](const RenderPass& pass) {
        ConvertRows(pass, picture, LayRowOverBlack, pass.mScissor.mTop, pass.mScissor.mBottom);
    });
    return true;
}

void DrawBackground(const DrawCall& call) {
    const TextureView picture = call.mBindings.Texture(0);
    const SamplerDescription sampler = call.mBindings.Sampler(1);
    if (DrawPlainBackground(call, picture)) return;
    DrawPrimitives<2>(
        call, [](std::uint32_t vertex, std::uint32_t) { return FillBackgroundVertex(vertex); },
        [&](const std::array<float, 2>& coordinate, glm::vec4& color) {
            const glm::vec4 sample = Sample(picture, sampler, coordinate[0], coordinate[1]);
            color = {sample.x * sample.w, sample.y * sample.w, sample.z * sample.w, 1.0F};
            return true;
        });
}

void DrawCube(const DrawCall& call) {
    const auto matrix = call.mBindings.Constants<glm::mat4>(0);
    DrawPrimitives<4>(
        call,
        [&](std::uint32_t vertex, std::uint32_t) {
            return RenderCubeVertex(matrix, call.GetElement(0, vertex), call.GetElement(1, vertex));
        },
        GizmoPixel);
}

/// `instancesPerShape`: how many instances a program draws of each shape.
template <GizmoVertexProgram program, std::uint32_t instancesPerShape>
void DrawGizmo(const DrawCall& call) {
    const auto constants = call.mBindings.Constants<gpu::VertexShaderConstants>(0);
    const auto shapes = call.mBindings.Read<gpu::ShapeInfo>(kShapes);
    // Beyond the buffer a GPU reads zeros, which is a point at infinity: nothing is drawn.
    const std::uint64_t available = std::uint64_t{shapes.size()} * instancesPerShape;
    DrawPrimitives<4>(
        call,
        [&](std::uint32_t vertex, std::uint32_t instance) {
            return instance < available ? program(constants, shapes, vertex, instance)
                                        : GizmoVertex{glm::vec4(0.0F), {}};
        },
        GizmoPixel);
}

}  // namespace

void RegisterSplatDrawings() {
    const ProgramBinding order = ReadsBuffer(kOrder, 4);
    const ProgramBinding viewData = ReadsBuffer(kViewData, sizeof(gpu::SplatViewData));
    const ProgramBinding constants = UsesConstants(0);
    const ProgramBinding shapes = ReadsBuffer(kShapes, sizeof(gpu::ShapeInfo));
    SetProgram("RenderGaussianSplats", {{order, viewData, UsesConstants(kTextureConstants)}, nullptr, DrawSplats});
    SetProgram("RenderGaussianSplatsBoxes", {{order, viewData}, nullptr, DrawBoxes});
    SetProgram("FillBackground", {{ReadsTexture(0), UsesSampler(1)}, nullptr, DrawBackground});
    SetProgram("RenderCube", {{constants}, nullptr, DrawCube, 2});
    SetProgram("RenderSphereGizmo", {{constants, shapes}, nullptr, DrawGizmo<SphereGizmoVertex, 3>});
    SetProgram("RenderBoxGizmo", {{constants, shapes}, nullptr, DrawGizmo<BoxGizmoVertex, 1>});
    SetProgram("RenderCrossGizmo", {{constants, shapes}, nullptr, DrawGizmo<CrossGizmoVertex, 3>});
    SetProgram("RenderYGridGizmo", {{constants, shapes}, nullptr, DrawGizmo<YGridGizmoVertex, 1>});
}

}  // namespace nimbrel::cpu
