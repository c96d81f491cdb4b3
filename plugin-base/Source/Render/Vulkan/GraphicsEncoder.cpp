#include <algorithm>

#include <fmt/format.h>

#include "Encoders.h"
#include "EnumTables.h"

namespace zeb::render {

GraphicsCommandEncoderVulkan::GraphicsCommandEncoderVulkan(CommandListVulkan& list,
                                                           const RenderPassDescription& description)
    : BindingEncoderVulkan(list) {
    const auto& attachments = description.mColorAttachments;
    if (attachments.empty() || attachments.size() > kMaxRenderTargets) {
        ZEB_RENDER_THROW(
            "A render pass of the command list \"{}\" has {} colour attachments: "
            "*renderPassDesc.mColorAttachments",
            mList.GetName(), attachments.size());
    }
    if (description.mDepthTarget != nullptr)
        ZEB_RENDER_THROW(
            "A render pass of the command list \"{}\" has a depth target, which this device does not draw to",
            mList.GetName());
    for (const ColorAttachment& attachment : attachments) AddAttachment(attachment);
    SetViewport(0.0F, 0.0F, static_cast<float>(mExtent.width), static_cast<float>(mExtent.height), 0.0F, 1.0F);
    mScissor = {{0, 0}, mExtent};
}

GraphicsCommandEncoderVulkan::~GraphicsCommandEncoderVulkan() {
    // An encoder that is dropped by a failure leaves the recording in order, though its list will not run.
    if (mIsRendering) EndRendering();
}

void GraphicsCommandEncoderVulkan::AddAttachment(const ColorAttachment& attachment) {
    if (attachment.mTexture == nullptr || attachment.mRange == nullptr)
        ZEB_RENDER_THROW("A colour attachment of the command list \"{}\" has no texture or no view", mList.GetName());
    const auto* view = std::get_if<TextureView>(&ToVulkan(*attachment.mRange).Get(attachment.mIndex));
    const std::shared_ptr<TextureResource>& texture = ToVulkan(*attachment.mTexture).GetResource();
    if (view == nullptr || view->mTexture != texture) {
        ZEB_RENDER_THROW("The render target view of the texture \"{}\" is of another texture",
                         attachment.mTexture->GetName());
    }
    const VkExtent2D extent = {texture->mDescription.mWidth, texture->mDescription.mHeight};
    if (!mAttachments.empty() && (extent.width != mExtent.width || extent.height != mExtent.height))
        ZEB_RENDER_THROW("The texture \"{}\" differs in size from the pass's other targets", texture->mName);
    mExtent = extent;
    Attachment target = {texture, attachment.mLoadOperation == LoadOperation::Clear, {}};
    std::copy(attachment.mClearColor.begin(), attachment.mClearColor.end(), target.mClearColor.color.float32);
    mAttachments.push_back(std::move(target));
}

void GraphicsCommandEncoderVulkan::End() {
    CheckOpen();
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
    EncoderVulkan::End();
}

void GraphicsCommandEncoderVulkan::SetVertexBuffer(const VertexBufferView& view, std::uint32_t slot) {
    CheckOpen();
    if (slot >= kMaxVertexSlots)
        ZEB_RENDER_THROW("A vertex buffer is bound to slot {}, the last is {}", slot, kMaxVertexSlots - 1);
    if (view.mBuffer == nullptr) ZEB_RENDER_THROW("No vertex buffer is given for slot {}", slot);
    const BufferVulkan& buffer = ToVulkan(*view.mBuffer);
    if (view.mByteOffset > buffer.GetSizeInBytes() || view.mSizeInBytes > buffer.GetSizeInBytes() - view.mByteOffset) {
        ZEB_RENDER_THROW("A view of {} bytes at {} lies outside the vertex buffer \"{}\" of {} bytes",
                         view.mSizeInBytes, view.mByteOffset, buffer.GetName(), buffer.GetSizeInBytes());
    }
    mVertexSlots[slot] = {buffer.GetResource(), view.mByteOffset, view.mStride};
}

void GraphicsCommandEncoderVulkan::SetIndexBuffer(const IndexBufferView& view) {
    CheckOpen();
    if (view.mBuffer == nullptr) ZEB_RENDER_THROW("No index buffer is given");
    const BufferVulkan& buffer = ToVulkan(*view.mBuffer);
    mIndexType = GetIndexTypeVulkan(view.mFormat);
    if (view.mSizeInBytes > buffer.GetSizeInBytes()) {
        ZEB_RENDER_THROW("A view of {} bytes lies outside the index buffer \"{}\" of {} bytes", view.mSizeInBytes,
                         buffer.GetName(), buffer.GetSizeInBytes());
    }
    mIndexBuffer = buffer.GetResource();
    mIndexCount = view.mSizeInBytes / (mIndexType == VK_INDEX_TYPE_UINT16 ? 2 : 4);
}

void GraphicsCommandEncoderVulkan::SetViewport(float x, float y, float width, float height, float minDepth,
                                               float maxDepth) {
    CheckOpen();
    const auto& limits = mList.GetContext()->Limits().maxViewportDimensions;
    if (!(width > 0.0F) || !(height > 0.0F) || width > static_cast<float>(limits[0]) ||
        height > static_cast<float>(limits[1])) {
        ZEB_RENDER_THROW("A viewport of {} x {} is empty or exceeds the device's limit of {} x {}", width, height,
                         limits[0], limits[1]);
    }
    // Clip space has y up: the viewport stands on its head.
    mViewport = {x, y + height, width, -height, minDepth, maxDepth};
}

void GraphicsCommandEncoderVulkan::SetScissor(std::int32_t left, std::int32_t top, std::int32_t right,
                                              std::int32_t bottom) {
    CheckOpen();
    left = std::max(left, 0);
    top = std::max(top, 0);
    mScissor = {{left, top},
                {static_cast<std::uint32_t>(std::max(right, left) - left),
                 static_cast<std::uint32_t>(std::max(bottom, top) - top)}};
}

void GraphicsCommandEncoderVulkan::SetPipelineState(GraphicsPipelineState& state) {
    CheckOpen();
    mPipelineState = &ToVulkan(state);
}

void GraphicsCommandEncoderVulkan::CheckTargets() const {
    const GraphicsPipelineDescription& description = mPipelineState->GetDescription();
    const bool sameCount = static_cast<std::size_t>(description.mRenderTargetCount) == mAttachments.size();
    for (std::size_t i = 0; i < mAttachments.size(); ++i) {
        const TextureDescription& target = mAttachments[i].mTexture->mDescription;
        if (sameCount && description.mRenderTargetFormats[i] == target.mFormat) continue;
        ZEB_RENDER_THROW("The pipeline \"{}\" is not made for drawing to the texture \"{}\" of format {}",
                         mPipelineState->GetName(), mAttachments[i].mTexture->mName,
                         static_cast<std::uint32_t>(target.mFormat));
    }
}

PendingUse GraphicsCommandEncoderVulkan::GatherUses(bool isIndexed) const {
    PendingUse use;
    mArguments.AddUses(mPipelineState->GetLayout(), use);
    for (std::size_t slot = 0; slot < kMaxVertexSlots; ++slot) {
        if ((mPipelineState->GetVertexSlots() & (1U << slot)) == 0) continue;
        if (!mVertexSlots[slot].mBuffer) {
            ZEB_RENDER_THROW("The pipeline \"{}\" reads vertex slot {}, to which nothing is bound",
                             mPipelineState->GetName(), slot);
        }
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
    if (mPipelineState == nullptr)
        ZEB_RENDER_THROW("A draw of the command list \"{}\" has no pipeline", mList.GetName());
    CheckTargets();
    PipelineVariant variant = {topology, {}};
    for (std::size_t slot = 0; slot < kMaxVertexSlots; ++slot) variant.mStrides[slot] = mVertexSlots[slot].mStride;
    const std::shared_ptr<PipelineResource>& pipeline = mPipelineState->Get(variant);
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
    mArguments.Push(mList, mPipelineState->GetLayout(), VK_PIPELINE_BIND_POINT_GRAPHICS);
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

void GraphicsCommandEncoderVulkan::Draw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount) {
    DrawInstanced(topology, firstVertex, vertexCount, 0, 1);
}

void GraphicsCommandEncoderVulkan::DrawInstanced(Topology topology, std::uint32_t firstVertex,
                                                 std::uint32_t vertexCount, std::uint32_t firstInstance,
                                                 std::uint32_t instanceCount) {
    CheckOpen();
    if (vertexCount == 0 || instanceCount == 0) return;
    PrepareDraw(topology, false);
    mList.Api().vkCmdDraw(mList.GetCommandBuffer(), vertexCount, instanceCount, firstVertex, firstInstance);
}

void GraphicsCommandEncoderVulkan::DrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount) {
    DrawIndexedInstanced(topology, firstIndex, indexCount, 0, 1);
}

void GraphicsCommandEncoderVulkan::DrawIndexedInstanced(Topology topology, std::uint32_t firstIndex,
                                                        std::uint32_t indexCount, std::uint32_t firstInstance,
                                                        std::uint32_t instanceCount) {
    CheckOpen();
    if (indexCount == 0 || instanceCount == 0) return;
    if (!mIndexBuffer || firstIndex > mIndexCount || indexCount > mIndexCount - firstIndex) {
        ZEB_RENDER_THROW("Indices {} to {} lie outside the index buffer of {} indices", firstIndex,
                         std::uint64_t{firstIndex} + indexCount, mIndexBuffer ? mIndexCount : 0);
    }
    PrepareDraw(topology, true);
    mList.Api().vkCmdDrawIndexed(mList.GetCommandBuffer(), indexCount, instanceCount, firstIndex, 0, firstInstance);
}

}  // namespace zeb::render
