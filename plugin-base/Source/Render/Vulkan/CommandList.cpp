#include "CommandList.h"

#include <fmt/format.h>

#include "Encoders.h"

namespace zeb::render {
namespace {

CommandLimits GetCommandLimits(const VkPhysicalDeviceLimits& limits) {
    const auto& groups = limits.maxComputeWorkGroupCount;
    const auto& viewport = limits.maxViewportDimensions;
    return {{groups[0], groups[1], groups[2]}, {viewport[0], viewport[1]}};
}

}  // namespace

CommandListVulkan::CommandListVulkan(std::shared_ptr<QueueState> queue, std::string name)
    : CommandList(std::move(name), GetCommandLimits(queue->GetContext()->Limits())),
      mQueue(std::move(queue)),
      mAllocator(mQueue->TakeAllocator()) {
    VkCommandBufferBeginInfo info = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
    info.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
    ZEB_VK_CHECK_FOR(Api().vkBeginCommandBuffer(GetCommandBuffer(), &info), GetName());
    // Work of earlier lists on the same queue comes first.
    RecordFullBarrier(VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT);
}

CommandListVulkan::~CommandListVulkan() {
    if (mIsSubmitted)
        mUses.Release();
    else
        mUses.Rollback();
    mQueue->GiveBack(std::move(mAllocator));
}

void CommandListVulkan::RecordFullBarrier(VkPipelineStageFlags toStages, VkAccessFlags toAccess) {
    const VkMemoryBarrier barrier = {VK_STRUCTURE_TYPE_MEMORY_BARRIER, nullptr, VK_ACCESS_MEMORY_WRITE_BIT, toAccess};
    Api().vkCmdPipelineBarrier(GetCommandBuffer(), VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, toStages, 0, 1, &barrier, 0,
                               nullptr, 0, nullptr);
}

UniquePtr<GraphicsCommandEncoder> CommandListVulkan::DoCreateGraphicsCommandEncoder(
    const RenderPassDescription& description) {
    return MakeUnique<GraphicsCommandEncoderVulkan>(*this, description);
}

UniquePtr<ComputeCommandEncoder> CommandListVulkan::DoCreateComputeCommandEncoder() {
    return MakeUnique<ComputeCommandEncoderVulkan>(*this);
}

UniquePtr<CopyCommandEncoder> CommandListVulkan::DoCreateCopyCommandEncoder() {
    return MakeUnique<CopyCommandEncoderVulkan>(*this);
}

void CommandListVulkan::DoSetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) {
    for (DescriptorHeap* heap : {&textureHeap, samplerHeap}) {
        if (heap != nullptr) ToOwn<ClassesVulkan::DescriptorHeapObject>(*heap, "descriptor heap");
    }
}

void CommandListVulkan::DoClose() {
    // What the device wrote is to be seen by the CPU after the wait.
    RecordFullBarrier(VK_PIPELINE_STAGE_HOST_BIT, VK_ACCESS_HOST_READ_BIT);
    ZEB_VK_CHECK_FOR(Api().vkEndCommandBuffer(GetCommandBuffer()), GetName());
}

void CommandListVulkan::Finish() {
    RunFinishedCalls();
    mUses.Release();
}

}  // namespace zeb::render
