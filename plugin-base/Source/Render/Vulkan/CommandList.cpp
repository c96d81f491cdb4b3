#include "CommandList.h"

#include <fmt/format.h>

#include "DescriptorHeap.h"
#include "Encoders.h"
#include "EnumTables.h"

namespace zeb::render {

CommandListVulkan::CommandListVulkan(std::shared_ptr<QueueState> queue, std::string name)
    : CommandList(std::move(name)), mQueue(std::move(queue)), mAllocator(mQueue->TakeAllocator()) {
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

UniquePtr<GraphicsCommandEncoder> CommandListVulkan::CreateGraphicsCommandEncoder(
    const RenderPassDescription& description) {
    return MakeUnique<GraphicsCommandEncoderVulkan>(*this, description);
}

UniquePtr<ComputeCommandEncoder> CommandListVulkan::CreateComputeCommandEncoder() {
    return MakeUnique<ComputeCommandEncoderVulkan>(*this);
}

UniquePtr<CopyCommandEncoder> CommandListVulkan::CreateCopyCommandEncoder() {
    return MakeUnique<CopyCommandEncoderVulkan>(*this);
}

void CommandListVulkan::SetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) {
    for (const DescriptorHeap* heap : {&textureHeap, static_cast<DescriptorHeap*>(samplerHeap)}) {
        if (heap != nullptr && dynamic_cast<const DescriptorHeapVulkan*>(heap) == nullptr)
            ZEB_RENDER_THROW("The descriptor heap \"{}\" belongs to another device", heap->GetName());
    }
}

void CommandListVulkan::BeginEncoder() {
    if (mIsClosed) ZEB_RENDER_THROW("The command list \"{}\" is closed", GetName());
    if (mHasEncoder) ZEB_RENDER_THROW("The command list \"{}\" has an open encoder already", GetName());
    mHasEncoder = true;
}

void CommandListVulkan::Close() {
    if (mHasEncoder) ZEB_RENDER_THROW("The command list \"{}\" still has an open encoder", GetName());
    if (mIsClosed) ZEB_RENDER_THROW("The command list \"{}\" was executed already", GetName());
    mIsClosed = true;
    // What the device wrote is to be seen by the CPU after the wait.
    RecordFullBarrier(VK_PIPELINE_STAGE_HOST_BIT, VK_ACCESS_HOST_READ_BIT);
    ZEB_VK_CHECK_FOR(Api().vkEndCommandBuffer(GetCommandBuffer()), GetName());
}

void CommandListVulkan::Finish() { mUses.Release(); }

void SetTextureState(CommandListVulkan& list, Texture& texture, TextureState state) {
    CheckTextureState(state);
    const std::shared_ptr<TextureResource>& resource = ToVulkan(texture).GetResource();
    if (resource->mState != state) list.GetUses().SetState(resource, state);
}

void SetBufferState(Buffer& buffer, BufferState state) {
    CheckBufferState(state);
    ToVulkan(buffer).SetState(state);
}

void CheckEncoderOpen(const CommandListVulkan& list, bool isOpen) {
    if (!isOpen) ZEB_RENDER_THROW("An encoder of the command list \"{}\" was ended already", list.GetName());
}

}  // namespace zeb::render
