#include <algorithm>

#include "Encoders.h"

namespace zeb::render {

GraphicsCommandEncoderDX12::GraphicsCommandEncoderDX12(CommandListDX12& list, const RenderPassDescription& description)
    : BindingEncoderDX12(list, description) {
    Init(description);
}

void GraphicsCommandEncoderDX12::Init(const RenderPassDescription& description) {
    std::vector<D3D12_CPU_DESCRIPTOR_HANDLE> targets;
    for (const ColorAttachment& attachment : description.mColorAttachments) {
        DescriptorRangeDX12& range = ToDX12(*attachment.mRange);
        const std::shared_ptr<ResourceDX12>& resource = ToDX12(*attachment.mTexture).GetResource();
        if (range.GetRecord(attachment.mIndex).mResource != resource) {
            ZEB_RENDER_THROW("The render target view of the texture \"{}\" is of another texture",
                             attachment.mTexture->GetName());
        }
        mAttachments.push_back(resource);
        targets.push_back(range.GetCpuHandle(attachment.mIndex));
    }
    PendingStates states;
    AddAttachments(states);
    mList.Commit(states);
    ID3D12GraphicsCommandList* native = mList.GetNative();
    native->OMSetRenderTargets(static_cast<UINT>(targets.size()), targets.data(), FALSE, nullptr);
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const ColorAttachment& attachment = description.mColorAttachments[i];
        if (attachment.mLoadOperation == LoadOperation::Clear)
            native->ClearRenderTargetView(targets[i], attachment.mClearColor.data(), 0, nullptr);
    }
    const Texture& first = *description.mColorAttachments.front().mTexture;
    DoSetViewport(0.0F, 0.0F, static_cast<float>(first.GetWidth()), static_cast<float>(first.GetHeight()), 0.0F, 1.0F);
    DoSetScissor(0, 0, static_cast<std::int32_t>(first.GetWidth()), static_cast<std::int32_t>(first.GetHeight()));
}

void GraphicsCommandEncoderDX12::AddAttachments(PendingStates& states) const {
    for (const std::shared_ptr<ResourceDX12>& target : mAttachments)
        states.Add(target, D3D12_RESOURCE_STATE_RENDER_TARGET);
}

void GraphicsCommandEncoderDX12::DoSetVertexBuffer(const VertexBufferView& view, std::uint32_t slot) {
    const D3D12_VERTEX_BUFFER_VIEW native = GetNativeVertexBufferView(view);
    mVertexBuffers[slot] = ToDX12(*view.mBuffer).GetResource();
    mList.GetNative()->IASetVertexBuffers(slot, 1, &native);
}

void GraphicsCommandEncoderDX12::DoSetIndexBuffer(const IndexBufferView& view) {
    const D3D12_INDEX_BUFFER_VIEW native = GetNativeIndexBufferView(view);
    mIndexBuffer = ToDX12(*view.mBuffer).GetResource();
    mList.GetNative()->IASetIndexBuffer(&native);
}

void GraphicsCommandEncoderDX12::DoSetViewport(float x, float y, float width, float height, float minDepth,
                                               float maxDepth) {
    const D3D12_VIEWPORT viewport = {x, y, width, height, minDepth, maxDepth};
    mList.GetNative()->RSSetViewports(1, &viewport);
}

void GraphicsCommandEncoderDX12::DoSetScissor(std::int32_t left, std::int32_t top, std::int32_t right,
                                              std::int32_t bottom) {
    left = std::max(left, 0);
    top = std::max(top, 0);
    const D3D12_RECT scissor = {left, top, std::max(right, left), std::max(bottom, top)};
    mList.GetNative()->RSSetScissorRects(1, &scissor);
}

void GraphicsCommandEncoderDX12::DoSetPipelineState(GraphicsPipelineState& state) {
    const auto& resource = ToOwn<GraphicsPipelineStateDX12>(state, "pipeline").GetResource();
    mList.Keep(resource);
    mList.GetNative()->SetPipelineState(resource->mPipelineState.Get());
    mPipelineState = &state;
}

void GraphicsCommandEncoderDX12::PrepareDraw(Topology topology, bool isIndexed) {
    PendingStates states;
    AddAttachments(states);
    for (std::size_t slot = 0; slot < kMaxVertexSlots; ++slot) {
        if ((mPipelineState->GetVertexSlots() & (1U << slot)) != 0)
            states.Add(mVertexBuffers[slot], D3D12_RESOURCE_STATE_VERTEX_AND_CONSTANT_BUFFER);
    }
    if (isIndexed) states.Add(mIndexBuffer, D3D12_RESOURCE_STATE_INDEX_BUFFER);
    Prepare(mPipelineState->GetName(),
            D3D12_RESOURCE_STATE_PIXEL_SHADER_RESOURCE | D3D12_RESOURCE_STATE_NON_PIXEL_SHADER_RESOURCE, states);
    mList.GetNative()->IASetPrimitiveTopology(GetPrimitiveTopologyDX12(topology));
}

void GraphicsCommandEncoderDX12::DoDraw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount,
                                        std::uint32_t firstInstance, std::uint32_t instanceCount) {
    PrepareDraw(topology, false);
    mList.GetNative()->DrawInstanced(vertexCount, instanceCount, firstVertex, firstInstance);
}

void GraphicsCommandEncoderDX12::DoDrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount,
                                               std::uint32_t firstInstance, std::uint32_t instanceCount) {
    PrepareDraw(topology, true);
    mList.GetNative()->DrawIndexedInstanced(indexCount, instanceCount, firstIndex, 0, firstInstance);
}

}  // namespace zeb::render
