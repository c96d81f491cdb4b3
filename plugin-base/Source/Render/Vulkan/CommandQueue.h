#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Buffer.h"
#include "DeviceContext.h"
#include "PluginBase/Render/Commands.h"

namespace zeb::render {

class CommandListVulkan;

/// A piece of CPU-written memory that a program reads as constants.
struct UniformSlice {
    VkBuffer mBuffer = VK_NULL_HANDLE;
    std::uint64_t mOffset = 0;
};

/// The native side of one command list: pool, command buffer, fence, the ring of uniform memory for root constants,
/// and the descriptor sets of a driver that takes none along with its commands. It is used again once the list's work
/// is done.
class CommandAllocator {
public:
    CommandAllocator(std::shared_ptr<DeviceContext> context, std::string name);
    ~CommandAllocator();
    CommandAllocator(const CommandAllocator&) = delete;
    CommandAllocator& operator=(const CommandAllocator&) = delete;

    /// Takes back everything recorded and handed out.
    void Reset();
    UniformSlice WriteUniforms(const void* data, std::size_t size);
    /// A set that lives until the next Reset.
    VkDescriptorSet AllocateSet(VkDescriptorSetLayout layout);

    VkCommandBuffer GetCommandBuffer() const { return mCommandBuffer; }
    VkFence GetFence() const { return mFence; }

private:
    void Destroy();
    void AddSetPool();

    std::shared_ptr<DeviceContext> mContext;
    std::string mName;
    VkCommandPool mPool = VK_NULL_HANDLE;
    VkCommandBuffer mCommandBuffer = VK_NULL_HANDLE;
    VkFence mFence = VK_NULL_HANDLE;
    std::vector<std::unique_ptr<BufferResource>> mUniformBlocks;
    std::size_t mUniformBlock = 0;
    std::uint64_t mUniformOffset = 0;
    std::vector<VkDescriptorPool> mSetPools;
    std::size_t mSetPool = 0;  ///< the first with room, all before it are full
};

/// What a queue's lists and events share with it; the last of them ends it.
class QueueState {
public:
    QueueState(std::shared_ptr<DeviceContext> context, std::string name);

    const std::shared_ptr<DeviceContext>& GetContext() const { return mContext; }
    std::unique_ptr<CommandAllocator> TakeAllocator();
    void GiveBack(std::unique_ptr<CommandAllocator> allocator);
    /// Submits under the native queue's lock.
    void Submit(VkCommandBuffer commandBuffer, VkFence fence);

    /// Takes over a list whose work may still be running, since the wait for it failed. It goes when its work is done,
    /// which is asked for with each new list, or with the queue.
    void KeepUnfinished(UniquePtr<CommandList> list) noexcept;
    /// Waits for all work of the native queue and lets the unfinished lists go. Where that cannot be told either, they
    /// and the device stay for the life of the process.
    void FinishAll() noexcept;

private:
    void ReleaseFinished();

    std::shared_ptr<DeviceContext> mContext;
    std::string mName;
    QueueSlot& mSlot;
    std::mutex mMutex;
    std::vector<std::unique_ptr<CommandAllocator>> mFree;
    std::vector<UniquePtr<CommandList>> mUnfinished;
    std::uint32_t mNextNumber = 0;
};

class CommandQueueVulkan final : public CommandQueue {
public:
    CommandQueueVulkan(const std::shared_ptr<DeviceContext>& context, std::string name);
    ~CommandQueueVulkan() override { mState->FinishAll(); }
    CommandQueueVulkan(const CommandQueueVulkan&) = delete;
    CommandQueueVulkan& operator=(const CommandQueueVulkan&) = delete;

protected:
    UniquePtr<CommandList> DoCreateCommandList(std::string name) override;
    UniquePtr<CommandQueueCompletionEvent> DoExecute(UniquePtr<CommandList> commandList) override;

private:
    std::shared_ptr<QueueState> mState;
};

/// Owns the submitted list. Destroyed without a Wait it waits itself, since the list's resources are in use until then;
/// if that fails the queue keeps the list.
class CommandQueueCompletionEventVulkan final : public CommandQueueCompletionEvent {
public:
    CommandQueueCompletionEventVulkan(std::shared_ptr<QueueState> queue, UniquePtr<CommandList> list);
    ~CommandQueueCompletionEventVulkan() override;
    CommandQueueCompletionEventVulkan(const CommandQueueCompletionEventVulkan&) = delete;
    CommandQueueCompletionEventVulkan& operator=(const CommandQueueCompletionEventVulkan&) = delete;

    bool IsCompleted() override;
    void Wait() override;

private:
    std::shared_ptr<QueueState> mQueue;
    UniquePtr<CommandList> mOwner;
    CommandListVulkan& mList;
    bool mIsDone = false;
};

}  // namespace zeb::render
