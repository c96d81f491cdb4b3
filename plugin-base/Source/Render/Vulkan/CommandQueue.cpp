#include "CommandQueue.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include <fmt/format.h>

#include "CommandList.h"
#include "PluginBase/Render/Failures.h"

namespace zeb::render {
namespace {

constexpr std::uint64_t kUniformBlockSize = 64 * 1024;
// Of one pool of descriptor sets: enough for a frame of a few instances, which has some sixty.
constexpr std::uint32_t kSetsOfPool = 128;
constexpr VkDescriptorPoolSize kDescriptorsOfPool[] = {{VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, 5 * kSetsOfPool},
                                                       {VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, 4 * kSetsOfPool},
                                                       {VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE, 3 * kSetsOfPool},
                                                       {VK_DESCRIPTOR_TYPE_STORAGE_IMAGE, kSetsOfPool},
                                                       {VK_DESCRIPTOR_TYPE_SAMPLER, kSetsOfPool}};

std::uint64_t AlignUp(std::uint64_t value, std::uint64_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

}  // namespace

CommandAllocator::CommandAllocator(std::shared_ptr<DeviceContext> context, std::string name)
    : mContext(std::move(context)), mName(std::move(name)) {
    const VolkDeviceTable& api = mContext->Api();
    try {
        VkCommandPoolCreateInfo pool = {VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
        pool.flags = VK_COMMAND_POOL_CREATE_TRANSIENT_BIT;
        pool.queueFamilyIndex = mContext->GetQueueFamily();
        ZEB_VK_CHECK_FOR(api.vkCreateCommandPool(mContext->Get(), &pool, nullptr, &mPool), mName);
        VkCommandBufferAllocateInfo buffer = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
        buffer.commandPool = mPool;
        buffer.level = VK_COMMAND_BUFFER_LEVEL_PRIMARY;
        buffer.commandBufferCount = 1;
        ZEB_VK_CHECK_FOR(api.vkAllocateCommandBuffers(mContext->Get(), &buffer, &mCommandBuffer), mName);
        const VkFenceCreateInfo fence = {VK_STRUCTURE_TYPE_FENCE_CREATE_INFO};
        ZEB_VK_CHECK_FOR(api.vkCreateFence(mContext->Get(), &fence, nullptr, &mFence), mName);
    } catch (...) {
        Destroy();
        throw;
    }
    mContext->SetName(VK_OBJECT_TYPE_COMMAND_BUFFER, mCommandBuffer, mName);
}

CommandAllocator::~CommandAllocator() { Destroy(); }

void CommandAllocator::Destroy() {
    for (const VkDescriptorPool pool : mSetPools)
        mContext->Api().vkDestroyDescriptorPool(mContext->Get(), pool, nullptr);
    mContext->Api().vkDestroyFence(mContext->Get(), mFence, nullptr);
    mContext->Api().vkDestroyCommandPool(mContext->Get(), mPool, nullptr);
}

void CommandAllocator::Reset() {
    ZEB_VK_CHECK_FOR(mContext->Api().vkResetCommandPool(mContext->Get(), mPool, 0), mName);
    ZEB_VK_CHECK_FOR(mContext->Api().vkResetFences(mContext->Get(), 1, &mFence), mName);
    for (const VkDescriptorPool pool : mSetPools) {
        ZEB_VK_CHECK_FOR(mContext->Api().vkResetDescriptorPool(mContext->Get(), pool, 0), mName);
    }
    mUniformBlock = 0;
    mUniformOffset = 0;
    mSetPool = 0;
}

void CommandAllocator::AddSetPool() {
    VkDescriptorPoolCreateInfo info = {VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO};
    info.maxSets = kSetsOfPool;
    info.poolSizeCount = static_cast<std::uint32_t>(std::size(kDescriptorsOfPool));
    info.pPoolSizes = kDescriptorsOfPool;
    mSetPools.reserve(mSetPools.size() + 1);
    VkDescriptorPool pool = VK_NULL_HANDLE;
    ZEB_VK_CHECK_FOR(mContext->Api().vkCreateDescriptorPool(mContext->Get(), &info, nullptr, &pool), mName);
    mSetPools.push_back(pool);
}

VkDescriptorSet CommandAllocator::AllocateSet(VkDescriptorSetLayout layout) {
    for (;;) {
        const bool isNew = mSetPool == mSetPools.size();
        if (isNew) AddSetPool();
        VkDescriptorSetAllocateInfo info = {VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO};
        info.descriptorPool = mSetPools[mSetPool];
        info.descriptorSetCount = 1;
        info.pSetLayouts = &layout;
        VkDescriptorSet set = VK_NULL_HANDLE;
        const VkResult result = mContext->Api().vkAllocateDescriptorSets(mContext->Get(), &info, &set);
        if (result == VK_SUCCESS) return set;
        const bool isFull = result == VK_ERROR_OUT_OF_POOL_MEMORY || result == VK_ERROR_FRAGMENTED_POOL;
        if (!isFull || isNew) ZEB_VK_CHECK_FOR(result, mName);
        ++mSetPool;
    }
}

UniformSlice CommandAllocator::WriteUniforms(const void* data, std::size_t size) {
    const std::uint64_t alignment = std::max<std::uint64_t>(mContext->Limits().minUniformBufferOffsetAlignment, 16);
    // Blocks are padded to whole 16-byte rows, as programs see them.
    const std::uint64_t room = AlignUp(size, 16);
    mUniformOffset = AlignUp(mUniformOffset, alignment);
    if (mUniformBlock < mUniformBlocks.size() && mUniformOffset + room > mUniformBlocks[mUniformBlock]->mSize) {
        ++mUniformBlock;
        mUniformOffset = 0;
    }
    if (mUniformBlock == mUniformBlocks.size()) {
        mUniformBlocks.push_back(std::make_unique<BufferResource>(
            mContext, mName + " constants", std::max(kUniformBlockSize, room), MemoryKind::Upload));
    }
    const BufferResource& block = *mUniformBlocks[mUniformBlock];
    const UniformSlice slice = {block.mBuffer, mUniformOffset};
    std::memcpy(block.mMemory.mMapped + mUniformOffset, data, size);
    mUniformOffset += room;
    return slice;
}

QueueState::QueueState(std::shared_ptr<DeviceContext> context, std::string name)
    : mContext(std::move(context)), mName(std::move(name)), mSlot(mContext->GetNextQueue()) {}

std::unique_ptr<CommandAllocator> QueueState::TakeAllocator() {
    ReleaseFinished();
    std::unique_ptr<CommandAllocator> allocator;
    std::uint32_t number = 0;
    {
        const std::lock_guard lock(mMutex);
        if (mFree.empty()) {
            number = mNextNumber++;
        } else {
            allocator = std::move(mFree.back());
            mFree.pop_back();
        }
    }
    if (allocator)
        allocator->Reset();
    else
        allocator = std::make_unique<CommandAllocator>(mContext, fmt::format("{}: {}", mName, number));
    return allocator;
}

void QueueState::GiveBack(std::unique_ptr<CommandAllocator> allocator) {
    const std::lock_guard lock(mMutex);
    mFree.push_back(std::move(allocator));
}

void QueueState::Submit(VkCommandBuffer commandBuffer, VkFence fence) {
    VkSubmitInfo info = {VK_STRUCTURE_TYPE_SUBMIT_INFO};
    info.commandBufferCount = 1;
    info.pCommandBuffers = &commandBuffer;
    const std::lock_guard lock(mSlot.mMutex);
    ZEB_VK_CHECK_FOR(mContext->Api().vkQueueSubmit(mSlot.mQueue, 1, &info, fence), mName);
}

void QueueState::KeepUnfinished(UniquePtr<CommandList> list) noexcept {
    const std::lock_guard lock(mMutex);
    try {
        mUnfinished.reserve(mUnfinished.size() + 1);
        mUnfinished.push_back(std::move(list));
    } catch (const std::bad_alloc&) {
        static_cast<void>(list.release());  // better lost than freed under the device's hands
    }
}

void QueueState::ReleaseFinished() {
    std::vector<UniquePtr<CommandList>> finished;  // destroyed after the lock, which their allocators' return takes
    const std::lock_guard lock(mMutex);
    finished.reserve(mUnfinished.size());
    std::erase_if(mUnfinished, [&](UniquePtr<CommandList>& list) {
        const VkFence fence = static_cast<CommandListVulkan&>(*list).GetFence();
        const VkResult status = mContext->Api().vkGetFenceStatus(mContext->Get(), fence);
        if (status != VK_SUCCESS && status != VK_ERROR_DEVICE_LOST) return false;
        finished.push_back(std::move(list));
        return true;
    });
}

void QueueState::FinishAll() noexcept {
    std::vector<UniquePtr<CommandList>> unfinished;
    {
        const std::lock_guard lock(mMutex);
        unfinished.swap(mUnfinished);
    }
    if (unfinished.empty()) return;
    const std::lock_guard lock(mSlot.mMutex);
    const VkResult result = mContext->Api().vkQueueWaitIdle(mSlot.mQueue);
    if (result == VK_SUCCESS || result == VK_ERROR_DEVICE_LOST) return;
    for (UniquePtr<CommandList>& list : unfinished) static_cast<void>(list.release());
}

CommandQueueVulkan::CommandQueueVulkan(const std::shared_ptr<DeviceContext>& context, std::string name)
    : CommandQueue(std::move(name)), mState(std::make_shared<QueueState>(context, GetName())) {}

UniquePtr<CommandList> CommandQueueVulkan::DoCreateCommandList(std::string name) {
    return MakeUnique<CommandListVulkan>(mState, std::move(name));
}

UniquePtr<CommandQueueCompletionEvent> CommandQueueVulkan::DoExecute(UniquePtr<CommandList> commandList) {
    auto& list = ToOwn<CommandListVulkan>(*commandList, "command list");
    // The event is made first: once work is submitted nothing may fail that would drop the list.
    auto event = MakeUnique<CommandQueueCompletionEventVulkan>(mState, std::move(commandList));
    mState->Submit(list.GetCommandBuffer(), list.GetFence());
    list.MarkSubmitted();
    return event;
}

CommandQueueCompletionEventVulkan::CommandQueueCompletionEventVulkan(std::shared_ptr<QueueState> queue,
                                                                     UniquePtr<CommandList> list)
    : mQueue(std::move(queue)), mOwner(std::move(list)), mList(static_cast<CommandListVulkan&>(*mOwner)) {}

CommandQueueCompletionEventVulkan::~CommandQueueCompletionEventVulkan() {
    if (mIsDone || !mList.IsSubmitted()) return;
    bool isLost = false;
    try {
        Wait();
    } catch (const DeviceLostException&) {  // told where the loss was met first
        isLost = true;
    } catch (const std::exception& failure) {
        mQueue->GetContext()->GetInstance().Report(failure.what());
    }
    if (!mIsDone && !isLost) mQueue->KeepUnfinished(std::move(mOwner));
}

bool CommandQueueCompletionEventVulkan::IsCompleted() {
    if (mIsDone) return true;
    const DeviceContext& context = *mQueue->GetContext();
    const VkResult status = context.Api().vkGetFenceStatus(context.Get(), mList.GetFence());
    if (status == VK_NOT_READY) return false;
    ZEB_VK_CHECK_FOR(status, mList.GetName());
    return true;
}

void CommandQueueCompletionEventVulkan::Wait() {
    if (mIsDone) return;
    const DeviceContext& context = *mQueue->GetContext();
    const VkFence fence = mList.GetFence();
    ZEB_VK_CHECK_FOR(context.Api().vkWaitForFences(context.Get(), 1, &fence, VK_TRUE, UINT64_MAX), mList.GetName());
    mIsDone = true;
    mList.Finish();
}

}  // namespace zeb::render
