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
    /// The work is done: calls those who wait for that, then releases what was kept.
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

}  // namespace zeb::render
