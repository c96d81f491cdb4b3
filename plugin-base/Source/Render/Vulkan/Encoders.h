#pragma once

#include <array>
#include <memory>
#include <vector>

#include "CommandList.h"
#include "PipelineStates.h"
#include "RootArguments.h"

namespace zeb::render {

/// Root parameters, the same for graphics and compute.
template <class Base>
class BindingEncoderVulkan : public EncoderVulkan<Base> {
public:
    using EncoderVulkan<Base>::EncoderVulkan;

    void SetRootDescriptorTable(std::uint32_t parameter, DescriptorRange& range, std::uint32_t index) override {
        this->CheckOpen();
        mArguments.SetTable(parameter, ToVulkan(range), index);
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
        mArguments.SetBuffer(parameter, RootParameterKind::ConstantBuffer, ToVulkan(buffer), byteOffset);
    }
    void SetRootShaderResourceBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t byteOffset) override {
        this->CheckOpen();
        mArguments.SetBuffer(parameter, RootParameterKind::ReadOnlyBuffer, ToVulkan(buffer), byteOffset);
    }
    void SetRootUnorderedAccessBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t byteOffset) override {
        this->CheckOpen();
        mArguments.SetBuffer(parameter, RootParameterKind::ReadWriteBuffer, ToVulkan(buffer), byteOffset);
    }
    void SetRootSignature(RootSignature& signature) override {
        this->CheckOpen();
        mArguments.SetSignature(ToVulkan(signature));
    }

protected:
    RootArguments mArguments;
};

class ComputeCommandEncoderVulkan final : public BindingEncoderVulkan<ComputeCommandEncoder> {
public:
    using BindingEncoderVulkan::BindingEncoderVulkan;
    void SetPipelineState(ComputePipelineState& state) override;
    void Dispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ, std::uint32_t threadsX,
                  std::uint32_t threadsY, std::uint32_t threadsZ) override;

private:
    std::shared_ptr<PipelineResource> mPipeline;
};

/// The native rendering opens with the first draw and closes where a barrier or the end demands it, since barriers
/// cannot stand inside.
class GraphicsCommandEncoderVulkan final : public BindingEncoderVulkan<GraphicsCommandEncoder> {
public:
    GraphicsCommandEncoderVulkan(CommandListVulkan& list, const RenderPassDescription& description);
    ~GraphicsCommandEncoderVulkan() override;
    GraphicsCommandEncoderVulkan(const GraphicsCommandEncoderVulkan&) = delete;
    GraphicsCommandEncoderVulkan& operator=(const GraphicsCommandEncoderVulkan&) = delete;

    void End() override;
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
    struct Attachment {
        std::shared_ptr<TextureResource> mTexture;
        bool mMustClear;
        VkClearValue mClearColor;
    };
    struct VertexSlot {
        std::shared_ptr<BufferResource> mBuffer;
        std::uint64_t mOffset = 0;
        std::uint32_t mStride = 0;
    };

    void AddAttachment(const ColorAttachment& attachment);
    void PrepareDraw(Topology topology, bool isIndexed);
    void CheckTargets() const;
    PendingUse GatherUses(bool isIndexed) const;
    void AddAttachmentUses(PendingUse& use) const;
    void BindState(const PipelineResource& pipeline, bool isIndexed);
    void BeginRendering();
    void EndRendering();

    std::vector<Attachment> mAttachments;
    VkExtent2D mExtent = {};
    bool mIsRendering = false;
    GraphicsPipelineStateVulkan* mPipelineState = nullptr;
    std::array<VertexSlot, kMaxVertexSlots> mVertexSlots;
    std::shared_ptr<BufferResource> mIndexBuffer;
    VkIndexType mIndexType = VK_INDEX_TYPE_UINT16;
    std::uint32_t mIndexCount = 0;
    VkViewport mViewport = {};
    VkRect2D mScissor = {};
};

class CopyCommandEncoderVulkan final : public EncoderVulkan<CopyCommandEncoder> {
public:
    using EncoderVulkan::EncoderVulkan;
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

}  // namespace zeb::render
