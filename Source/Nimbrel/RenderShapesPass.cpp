#include "Nimbrel/RenderShapesPass.h"

#include <glm/geometric.hpp>
#include <glm/matrix.hpp>

using namespace zeb::render;

namespace {

constexpr std::uint32_t kConstantsStride = 256;
constexpr std::uint32_t kCircleSegments = 99;
constexpr std::uint32_t kGridCells = 10;
constexpr std::uint32_t kBoxEdges = 12;
/// Sideways step on the screen that an arm's half length comes from, in halves of a pixel.
constexpr float kCrossHalfPixels = 100.0F;

// Root parameters of all four programs.
constexpr std::uint32_t kConstantsParameter = 0;
constexpr std::uint32_t kShapesParameter = 1;
constexpr std::uint32_t kScreenParameter = 2;  // of areas

constexpr std::uint32_t kAreaVertices = 6;

GraphicsProgram MakeProgram(Device& device, const std::string& name, bool asAreas) {
    GraphicsPipelineDescription description;
    description.mTopologyType = asAreas ? TopologyType::Triangle : TopologyType::Line;
    return {device, name + (asAreas ? ".Areas" : ""), description};
}

/// Length in model space of a fixed distance on the screen at the shape's depth.
float GetPixelLength(const ShapeEntry& shape, const glm::mat4& viewProjection, const glm::mat4& inverseViewProjection,
                     float targetWidth) {
    const glm::vec4 clip = viewProjection * (shape.transform * glm::vec4(shape.center, 1.0F));
    const glm::vec4 moved(clip.x + clip.w * kCrossHalfPixels / targetWidth, clip.y, clip.z, clip.w + 1.0F);
    const glm::vec4 back = glm::inverse(shape.transform) * (inverseViewProjection * moved);
    return glm::length(shape.center - glm::vec3(back));
}

}  // namespace

RenderShapesPass::RenderShapesPass(Device& device, bool asAreas)
    : mDevice(device),
      mAsAreas(asAreas),
      mSphereGizmo(MakeProgram(device, "RenderSphereGizmo", asAreas)),
      mBoxGizmo(MakeProgram(device, "RenderBoxGizmo", asAreas)),
      mCrossGizmo(MakeProgram(device, "RenderCrossGizmo", asAreas)),
      mYGridGizmo(MakeProgram(device, "RenderYGridGizmo", asAreas)),
      mConstants(device, "RenderSpheresConstants", kUploadBuffer, kConstantsStride),
      mPoints(device, "RenderPointsInfo", kUploadBuffer),
      mSpheres(device, "RenderSpheresInfo", kUploadBuffer),
      mBoxes(device, "RenderBoxesInfo", kUploadBuffer),
      mYGrids(device, "RenderYGridsInfo", kUploadBuffer),
      mTargetRange(device.GetThreadData().mRenderTargetHeap->AllocateRange(1)) {
    for (GraphicsProgram* program : {&mSphereGizmo, &mBoxGizmo, &mCrossGizmo, &mYGridGizmo}) {
        program->GetRootSignature().AddRootConstantBufferView(0);
        program->GetRootSignature().AddRootShaderResourceBufferView(1);
        if (asAreas) program->GetRootSignature().AddRootConstants(2, 2);
    }
}

void RenderShapesPass::Record(CommandList& commandList, const glm::mat4& projection, const zeb::DrawInfo& drawInfo,
                              const ShapesInfo& shapes, Texture& target) {
    if (shapes.IsEmpty()) return;
    const glm::mat4 viewProjection = projection * drawInfo.mCamera;
    const auto width = static_cast<float>(drawInfo.mOutputWidth);
    FillConstants(viewProjection);
    FillInfo(mPoints, shapes.mPoints, viewProjection, width);
    FillInfo(mSpheres, shapes.mSpheres, viewProjection, width);
    FillInfo(mBoxes, shapes.mBoxes, viewProjection, width);
    FillInfo(mYGrids, shapes.mYGrids, viewProjection, width);

    mDevice.CreateRenderTargetView(*mTargetRange, 0, target);
    RenderPassDescription pass;
    pass.mColorAttachments.push_back({&target, mTargetRange.get(), 0, LoadOperation::Load, {}});
    const auto encoder = commandList.CreateGraphicsCommandEncoder(pass);
    encoder->TextureTransitionBarrier(target, TextureState::RenderTarget);
    encoder->SetViewport(0.0F, 0.0F, width, static_cast<float>(drawInfo.mOutputHeight), 0.0F, 1.0F);
    encoder->SetScissor(0, 0, static_cast<std::int32_t>(drawInfo.mOutputWidth),
                        static_cast<std::int32_t>(drawInfo.mOutputHeight));
    for (const Draw& draw : MakeDraws()) {
        if (draw.mInfo.GetCount() == 0) continue;
        draw.mProgram.Use(*encoder, target.GetFormat());
        encoder->SetRootConstantBufferView(kConstantsParameter, mConstants.Get(), 0);
        encoder->SetRootShaderResourceBufferView(kShapesParameter, draw.mInfo.Get(), 0);
        const float size[] = {width, static_cast<float>(drawInfo.mOutputHeight)};
        if (mAsAreas) encoder->SetRootConstants(kScreenParameter, 2, size);
        RecordDraw(*encoder, draw);
    }
    encoder->End();
}

void RenderShapesPass::RecordDraw(GraphicsCommandEncoder& encoder, const Draw& draw) const {
    const std::uint32_t instances = draw.mInstancesPerShape * static_cast<std::uint32_t>(draw.mInfo.GetCount());
    const std::uint32_t lines = draw.mTopology == Topology::LineStrip ? draw.mVertexCount - 1 : draw.mVertexCount / 2;
    if (mAsAreas)
        encoder.DrawInstanced(Topology::TriangleList, 0, lines * kAreaVertices, 0, instances);
    else
        encoder.DrawInstanced(draw.mTopology, 0, draw.mVertexCount, 0, instances);
}

std::vector<RenderShapesPass::Draw> RenderShapesPass::MakeDraws() {
    return {
        {mCrossGizmo, mPoints, Topology::LineStrip, 2, 3},
        {mCrossGizmo, mSpheres, Topology::LineStrip, 2, 3},
        {mCrossGizmo, mBoxes, Topology::LineStrip, 2, 3},
        {mSphereGizmo, mSpheres, Topology::LineStrip, kCircleSegments + 1, 3},
        {mBoxGizmo, mBoxes, Topology::LineList, 2 * kBoxEdges, 1},
        {mYGridGizmo, mYGrids, Topology::LineList, 4 * (kGridCells + 1), 1},
    };
}

void RenderShapesPass::FillConstants(const glm::mat4& viewProjection) {
    mConstants.SetCount(1);
    const MappedBuffer mapped(mConstants);
    mConstants.Store(mapped.Get(), 0, {viewProjection, kCircleSegments, kGridCells, kGridCells});
}

void RenderShapesPass::FillInfo(InfoBuffer& buffer, const std::vector<ShapeEntry>& shapes,
                                const glm::mat4& viewProjection, float targetWidth) {
    buffer.SetCount(shapes.size());
    if (shapes.empty()) return;
    const glm::mat4 inverseViewProjection = glm::inverse(viewProjection);
    const MappedBuffer mapped(buffer);
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        const ShapeEntry& shape = shapes[i];
        buffer.Store(mapped.Get(), i,
                     {shape.transform, shape.color, shape.center, shape.halfSize,
                      GetPixelLength(shape, viewProjection, inverseViewProjection, targetWidth)});
    }
}
