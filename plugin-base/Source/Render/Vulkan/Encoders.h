#pragma once

#include <array>
#include <memory>
#include <vector>

#include "Classes.h"
#include "CommandList.h"
#include "EncoderBases.h"
#include "PipelineStates.h"

namespace zeb::render {

class ComputeCommandEncoderVulkan final : public BindingEncoderOf<ComputeCommandEncoder, ClassesVulkan> {
public:
    explicit ComputeCommandEncoderVulkan(CommandListVulkan& list) : BindingEncoderOf(list) {}

protected:
    void DoSetPipelineState(ComputePipelineState& state) override;
    void DoDispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                    std::uint32_t threadsX) override;

private:
    std::shared_ptr<PipelineResource> mPipeline;
};

/// The native rendering opens with the first draw and closes where a barrier or the end demands it, since barriers
/// cannot stand inside.
class GraphicsCommandEncoderVulkan final : public BindingEncoderOf<GraphicsCommandEncoder, ClassesVulkan> {
public:
    GraphicsCommandEncoderVulkan(CommandListVulkan& list, const RenderPassDescription& description);
    ~GraphicsCommandEncoderVulkan() override;
    GraphicsCommandEncoderVulkan(const GraphicsCommandEncoderVulkan&) = delete;
    GraphicsCommandEncoderVulkan& operator=(const GraphicsCommandEncoderVulkan&) = delete;

protected:
    void DoEnd() override;
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
    VkViewport mViewport = {};
    VkRect2D mScissor = {};
};

class CopyCommandEncoderVulkan final : public EncoderOf<CopyCommandEncoder, ClassesVulkan> {
public:
    explicit CopyCommandEncoderVulkan(CommandListVulkan& list) : EncoderOf(list) {}

protected:
    void DoCopyToTexture(Texture& destination, Buffer& source, const TextureBufferCopy& copy) override;
    void DoCopyToBuffer(Buffer& destination, Texture& source, const TextureBufferCopy& copy) override;
    void DoCopyTexture(Texture& destination, Texture& source) override;
    void DoCopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source, std::uint64_t sourceOffset,
                      std::uint64_t sizeInBytes) override;
};

}  // namespace zeb::render
