#pragma once

#include <memory>
#include <string>

#include "CommandQueue.h"
#include "EnumTables.h"
#include "PluginBase/Render/Commands.h"
#include "ResourceUses.h"

namespace zeb::render {

/// One recording. Textures' layouts advance with it; a list that never runs takes them back when it is destroyed.
class CommandListVulkan final : public CommandList {
public:
    CommandListVulkan(std::shared_ptr<QueueState> queue, std::string name);
    ~CommandListVulkan() override;
    CommandListVulkan(const CommandListVulkan&) = delete;
    CommandListVulkan& operator=(const CommandListVulkan&) = delete;

    void MarkSubmitted() { mIsSubmitted = true; }
    bool IsSubmitted() const { return mIsSubmitted; }
    /// The work is done: releases what was kept for it.
    void Finish();

    const std::shared_ptr<DeviceContext>& GetContext() const { return mQueue->GetContext(); }
    const VolkDeviceTable& Api() const { return GetContext()->Api(); }
    VkCommandBuffer GetCommandBuffer() const { return mAllocator->GetCommandBuffer(); }
    VkFence GetFence() const { return mAllocator->GetFence(); }
    CommandAllocator& GetAllocator() { return *mAllocator; }
    ResourceUses& GetUses() { return mUses; }
    void Commit(const PendingUse& use) { mUses.Commit(Api(), GetCommandBuffer(), use); }
    void RecordFullBarrier(VkPipelineStageFlags toStages, VkAccessFlags toAccess);

protected:
    UniquePtr<GraphicsCommandEncoder> DoCreateGraphicsCommandEncoder(const RenderPassDescription& description) override;
    UniquePtr<ComputeCommandEncoder> DoCreateComputeCommandEncoder() override;
    UniquePtr<CopyCommandEncoder> DoCreateCopyCommandEncoder() override;
    /// Descriptors are pushed with each draw, so nothing is recorded; the heaps must be of this device.
    void DoSetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) override;
    void DoClose() override;

private:
    std::shared_ptr<QueueState> mQueue;
    std::unique_ptr<CommandAllocator> mAllocator;
    ResourceUses mUses;
    bool mIsSubmitted = false;
};

/// What the three encoders have in common. `Base` is the interface that the encoder implements.
template <class Base>
class EncoderVulkan : public Base {
protected:
    template <class... Args>
    explicit EncoderVulkan(CommandListVulkan& list, const Args&... args) : Base(list, args...), mList(list) {}

    // The native barriers follow from what the work uses.
    void DoTextureTransitionBarrier(Texture& texture, TextureState state) override {
        CheckTextureState(state);
        ToVulkan(texture);
    }
    void DoBufferTransitionBarrier(Buffer& buffer, BufferState state) override {
        CheckBufferState(state);
        ToVulkan(buffer);
    }
    void DoTextureUnorderedAccessBarrier(Texture& texture) override { ToVulkan(texture); }
    void DoBufferUnorderedAccessBarrier(Buffer& buffer) override { ToVulkan(buffer); }

    CommandListVulkan& mList;
};

}  // namespace zeb::render
