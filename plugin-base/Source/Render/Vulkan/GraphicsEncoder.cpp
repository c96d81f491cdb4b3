#include <algorithm>

#include <fmt/format.h>

#include "Encoders.h"
#include "EnumTables.h"
#include "PushDescriptors.h"

namespace zeb::render {

GraphicsCommandEncoderVulkan::GraphicsCommandEncoderVulkan(CommandListVulkan& list,
                                                           const RenderPassDescription& description)
    : BindingEncoderOf(list, description) {
    for (const ColorAttachment& attachment : description.mColorAttachments) AddAttachment(attachment);
    DoSetViewport(0.0F, 0.0F, static_cast<float>(mExtent.width), static_cast<float>(mExtent.height), 0.0F, 1.0F);
    mScissor = {{0, 0}, mExtent};
}

GraphicsCommandEncoderVulkan::~GraphicsCommandEncoderVulkan() {
    // An encoder that is dropped by a failure leaves the recording in order, though its list will not run.
    if (mIsRendering) EndRendering();
}

void GraphicsCommandEncoderVulkan::AddAttachment(const ColorAttachment& attachment) {
    const std::shared_ptr<TextureResource>& texture = GetTarget<ClassesVulkan>(attachment);
    mExtent = {texture->mDescription.mWidth, texture->mDescription.mHeight};
    Attachment target = {texture, attachment.mLoadOperation == LoadOperation::Clear, {}};
    std::copy(attachment.mClearColor.begin(), attachment.mClearColor.end(), target.mClearColor.color.float32);
    mAttachments.push_back(std::move(target));
}

void GraphicsCommandEncoderVulkan::DoEnd() {
    // A pass without a draw still clears.
    const bool mustClear =
        std::any_of(mAttachments.begin(), mAttachments.end(), [](const Attachment& a) { return a.mMustClear; });
    if (!mIsRendering && mustClear) {
        PendingUse use;
        AddAttachmentUses(use);
        mList.Commit(use);
        BeginRendering();
    }
    if (mIsRendering) EndRendering();
}

void GraphicsCommandEncoderVulkan::DoSetVertexBuffer(const VertexBufferView& view, std::uint32_t slot) {
    const BufferVulkan& buffer = ToVulkan(*view.mBuffer);
    mVertexSlots[slot] = {buffer.GetResource(), view.mByteOffset, view.mStride};
}

void GraphicsCommandEncoderVulkan::DoSetIndexBuffer(const IndexBufferView& view) {
    const BufferVulkan& buffer = ToVulkan(*view.mBuffer);
    mIndexType = GetIndexTypeVulkan(view.mFormat);
    mIndexBuffer = buffer.GetResource();
}

void GraphicsCommandEncoderVulkan::DoSetViewport(float x, float y, float width, float height, float minDepth,
                                                 float maxDepth) {
    // Clip space has y up: the viewport stands on its head.
    mViewport = {x, y + height, width, -height, minDepth, maxDepth};
}

void GraphicsCommandEncoderVulkan::DoSetScissor(std::int32_t left, std::int32_t top, std::int32_t right,
                                                std::int32_t bottom) {
    left = std::max(left, 0);
    top = std::max(top, 0);
    mScissor = {{left, top},
                {static_cast<std::uint32_t>(std::max(right, left) - left),
                 static_cast<std::uint32_t>(std::max(bottom, top) - top)}};
}

void GraphicsCommandEncoderVulkan::DoSetPipelineState(GraphicsPipelineState& state) {
    mPipelineState = &ToVulkan(state);
}

PendingUse GraphicsCommandEncoderVulkan::GatherUses(bool isIndexed) const {
    PendingUse use;
    AddUses(mArguments, mPipelineState->GetLayout(), use);
    for (std::size_t slot = 0; slot < kMaxVertexSlots; ++slot) {
        if ((mPipelineState->GetVertexSlots() & (1U << slot)) == 0) continue;
        use.Add(mVertexSlots[slot].mBuffer, false);
    }
    if (isIndexed) use.Add(mIndexBuffer, false);
    return use;
}

void GraphicsCommandEncoderVulkan::AddAttachmentUses(PendingUse& use) const {
    for (const Attachment& attachment : mAttachments)
        use.Add(attachment.mTexture, VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL, true);
}

void GraphicsCommandEncoderVulkan::PrepareDraw(Topology topology, bool isIndexed) {
    PipelineVariant variant = {topology, {}};
    for (std::size_t slot = 0; slot < kMaxVertexSlots; ++slot) variant.mStrides[slot] = mVertexSlots[slot].mStride;
    const std::shared_ptr<PipelineResource> pipeline = mPipelineState->Get(variant);
    PendingUse use = GatherUses(isIndexed);
    if (mIsRendering && mList.GetUses().NeedsBarrier(use)) EndRendering();
    if (!mIsRendering) AddAttachmentUses(use);
    mList.Commit(use);
    mList.GetUses().Keep(pipeline);
    if (!mIsRendering) BeginRendering();
    BindState(*pipeline, isIndexed);
}

void GraphicsCommandEncoderVulkan::BindState(const PipelineResource& pipeline, bool isIndexed) {
    const VolkDeviceTable& api = mList.Api();
    const VkCommandBuffer commands = mList.GetCommandBuffer();
    api.vkCmdBindPipeline(commands, VK_PIPELINE_BIND_POINT_GRAPHICS, pipeline.mPipeline);
    api.vkCmdSetViewport(commands, 0, 1, &mViewport);
    api.vkCmdSetScissor(commands, 0, 1, &mScissor);
    for (std::uint32_t slot = 0; slot < kMaxVertexSlots; ++slot) {
        if ((mPipelineState->GetVertexSlots() & (1U << slot)) == 0) continue;
        const VertexSlot& vertices = mVertexSlots[slot];
        api.vkCmdBindVertexBuffers(commands, slot, 1, &vertices.mBuffer->mBuffer, &vertices.mOffset);
    }
    if (isIndexed) api.vkCmdBindIndexBuffer(commands, mIndexBuffer->mBuffer, 0, mIndexType);
    PushDescriptors(mArguments, mList, mPipelineState->GetLayout(), VK_PIPELINE_BIND_POINT_GRAPHICS);
}

void GraphicsCommandEncoderVulkan::BeginRendering() {
    std::vector<VkRenderingAttachmentInfo> targets;
    for (Attachment& attachment : mAttachments) {
        VkRenderingAttachmentInfo target = {VK_STRUCTURE_TYPE_RENDERING_ATTACHMENT_INFO};
        target.imageView = attachment.mTexture->mTargetView;
        target.imageLayout = VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL;
        target.loadOp = attachment.mMustClear ? VK_ATTACHMENT_LOAD_OP_CLEAR : VK_ATTACHMENT_LOAD_OP_LOAD;
        target.storeOp = VK_ATTACHMENT_STORE_OP_STORE;
        target.clearValue = attachment.mClearColor;
        attachment.mMustClear = false;
        targets.push_back(target);
    }
    VkRenderingInfo info = {VK_STRUCTURE_TYPE_RENDERING_INFO};
    info.renderArea = {{0, 0}, mExtent};
    info.layerCount = 1;
    info.colorAttachmentCount = static_cast<std::uint32_t>(targets.size());
    info.pColorAttachments = targets.data();
    mList.Api().vkCmdBeginRendering(mList.GetCommandBuffer(), &info);
    mIsRendering = true;
}

void GraphicsCommandEncoderVulkan::EndRendering() {
    mList.Api().vkCmdEndRendering(mList.GetCommandBuffer());
    mIsRendering = false;
}

void GraphicsCommandEncoderVulkan::DoDraw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount,
                                          std::uint32_t firstInstance, std::uint32_t instanceCount) {
    PrepareDraw(topology, false);
    mList.Api().vkCmdDraw(mList.GetCommandBuffer(), vertexCount, instanceCount, firstVertex, firstInstance);
}

void GraphicsCommandEncoderVulkan::DoDrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount,
                                                 std::uint32_t firstInstance, std::uint32_t instanceCount) {
    PrepareDraw(topology, true);
    mList.Api().vkCmdDrawIndexed(mList.GetCommandBuffer(), indexCount, instanceCount, firstIndex, 0, firstInstance);
}

}  // namespace zeb::render
