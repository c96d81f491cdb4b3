#pragma once

#include <array>
#include <memory>

#include "Render/CPU/CommandQueue.h"
#include "Render/CPU/RootArguments.h"

namespace zeb::render::cpu {

/// Root parameters, the same for graphics and compute.
template <class Base>
class BindingEncoderCPU : public EncoderCPU<Base> {
public:
    using EncoderCPU<Base>::EncoderCPU;

    void SetRootDescriptorTable(std::uint32_t parameter, DescriptorRange& range, std::uint32_t index) override {
        this->CheckOpen();
        mArguments.SetTable(parameter, ToCPU(range), index);
    }
    void SetRootConstant(std::uint32_t parameter, std::uint32_t value) override {
        SetRootConstants(parameter, 1, &value);
    }
    void SetRootConstants(std::uint32_t parameter, std::uint32_t count, const void* data) override {
        this->CheckOpen();
        mArguments.SetConstants(parameter, count, data);
    }
    void SetRootConstantBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t byteOffset) override {
        this->CheckOpen();
        mArguments.SetBuffer(parameter, RootParameterKind::ConstantBuffer, ToCPU(buffer), byteOffset);
    }
    void SetRootShaderResourceBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t byteOffset) override {
        this->CheckOpen();
        mArguments.SetBuffer(parameter, RootParameterKind::ReadOnlyBuffer, ToCPU(buffer), byteOffset);
    }
    void SetRootUnorderedAccessBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t byteOffset) override {
        this->CheckOpen();
        mArguments.SetBuffer(parameter, RootParameterKind::ReadWriteBuffer, ToCPU(buffer), byteOffset);
    }
    void SetRootSignature(RootSignature& signature) override {
        this->CheckOpen();
        mArguments.SetSignature(ToCPU<RootSignatureCPU>(signature, "root signature"));
    }

protected:
    RootArguments mArguments;
};

class ComputeCommandEncoderCPU final : public BindingEncoderCPU<ComputeCommandEncoder> {
public:
    using BindingEncoderCPU::BindingEncoderCPU;
    void SetPipelineState(ComputePipelineState& state) override;
    void Dispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ, std::uint32_t threadsX,
                  std::uint32_t threadsY, std::uint32_t threadsZ) override;

private:
    std::shared_ptr<const Pipeline> mPipeline;
};

/// Draws to one target: the programs' pixel stages put out one colour.
class GraphicsCommandEncoderCPU final : public BindingEncoderCPU<GraphicsCommandEncoder> {
public:
    GraphicsCommandEncoderCPU(CommandListCPU& list, const RenderPassDescription& description);

    void SetVertexBuffer(const VertexBufferView& view, std::uint32_t slot) override;
    void SetIndexBuffer(const IndexBufferView& view) override;
    void SetViewport(float x, float y, float width, float height, float minDepth, float maxDepth) override;
    void SetScissor(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) override;
    void SetPipelineState(GraphicsPipelineState& state) override;
    void Draw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount) override;
    void DrawInstanced(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount,
                       std::uint32_t firstInstance, std::uint32_t instanceCount) override;
    void DrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount) override;
    void DrawIndexedInstanced(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount,
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
    void CheckPipeline(Topology topology) const;
    std::vector<VertexStream> GetStreams(BoundWork& work) const;
    void RecordDraw(Topology topology, const Range& range, bool isIndexed);

    std::shared_ptr<TextureResource> mTarget;
    GraphicsPipelineStateCPU* mPipelineState = nullptr;
    std::array<VertexSlot, kMaxVertexSlots> mVertexSlots;
    std::shared_ptr<BufferResource> mIndexBuffer;
    IndexFormat mIndexFormat = IndexFormat::UInt16;
    std::uint32_t mIndexCount = 0;
    Viewport mViewport;
    Scissor mScissor;
};

class CopyCommandEncoderCPU final : public EncoderCPU<CopyCommandEncoder> {
public:
    using EncoderCPU::EncoderCPU;
    void CopyToTextureFromBuffer(Texture& destination, const TextureRegion& region, Buffer& source,
                                 std::uint64_t bufferOffset, std::uint64_t rowPitch) override;
    void CopyToTextureFromBuffer(Texture& destination, Buffer& source) override;
    void CopyToBufferFromTexture(Buffer& destination, std::uint64_t bufferOffset, std::uint64_t rowPitch,
                                 Texture& source, const TextureRegion& region) override;
    void CopyToBufferFromTexture(Buffer& destination, Texture& source) override;
    void CopyTexture(Texture& destination, Texture& source) override;
    void CopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source, std::uint64_t sourceOffset,
                    std::uint64_t sizeInBytes) override;
};

}  // namespace zeb::render::cpu
