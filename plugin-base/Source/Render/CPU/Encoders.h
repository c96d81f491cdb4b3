#pragma once

#include <array>
#include <memory>

#include "Render/CPU/BoundWork.h"
#include "Render/CPU/CommandQueue.h"
#include "Render/EncoderBases.h"

namespace zeb::render::cpu {

class ComputeCommandEncoderCPU final : public BindingEncoderOf<ComputeCommandEncoder, ClassesCPU> {
public:
    explicit ComputeCommandEncoderCPU(CommandListCPU& list) : BindingEncoderOf(list) {}

protected:
    void DoSetPipelineState(ComputePipelineState& state) override;
    void DoDispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                    std::uint32_t threadsX) override;
    void DoSort(Buffer& keys, Buffer& payload, std::uint32_t count) override;

private:
    std::shared_ptr<const Pipeline> mPipeline;
};

/// Draws to one target: the programs' pixel stages put out one colour.
class GraphicsCommandEncoderCPU final : public BindingEncoderOf<GraphicsCommandEncoder, ClassesCPU> {
public:
    GraphicsCommandEncoderCPU(CommandListCPU& list, const RenderPassDescription& description);

protected:
    void DoSetVertexBuffer(const VertexBufferView& view, std::uint32_t slot) override;
    void DoSetIndexBuffer(const IndexBufferView& view) override;
    void DoSetViewport(float x, float y, float width, float height, float minDepth, float maxDepth) override;
    void DoSetScissor(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) override;
    void DoSetPipelineState(GraphicsPipelineState& state) override;
    void DoDraw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount, std::uint32_t firstInstance,
                std::uint32_t instanceCount) override;
    void DoDrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount,
                       std::uint32_t firstInstance, std::uint32_t instanceCount) override;

private:
    struct VertexSlot {
        std::shared_ptr<BufferResource> mBuffer;
        std::uint64_t mOffset = 0;
        std::uint32_t mSize = 0;
        std::uint32_t mStride = 0;
    };
    struct Range {
        std::uint32_t mFirst;
        std::uint32_t mCount;
        std::uint32_t mFirstInstance;
        std::uint32_t mInstanceCount;
    };

    void SetTarget(const ColorAttachment& attachment);
    std::vector<VertexStream> GetStreams(BoundWork& work) const;
    void RecordDraw(Topology topology, const Range& range, bool isIndexed);

    std::shared_ptr<TextureResource> mTarget;
    GraphicsPipelineStateCPU* mPipelineState = nullptr;
    std::array<VertexSlot, kMaxVertexSlots> mVertexSlots;
    std::shared_ptr<BufferResource> mIndexBuffer;
    IndexFormat mIndexFormat = IndexFormat::UInt16;
    Viewport mViewport;
    Scissor mScissor;
};

class CopyCommandEncoderCPU final : public EncoderOf<CopyCommandEncoder, ClassesCPU> {
public:
    explicit CopyCommandEncoderCPU(CommandListCPU& list) : EncoderOf(list) {}

protected:
    void DoCopyToTexture(Texture& destination, Buffer& source, const TextureBufferCopy& copy) override;
    void DoCopyToBuffer(Buffer& destination, Texture& source, const TextureBufferCopy& copy) override;
    void DoCopyTexture(Texture& destination, Texture& source) override;
    void DoCopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source, std::uint64_t sourceOffset,
                      std::uint64_t sizeInBytes) override;
};

}  // namespace zeb::render::cpu
