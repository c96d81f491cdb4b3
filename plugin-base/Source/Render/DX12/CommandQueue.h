#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "DeviceContext.h"
#include "PluginBase/Render/Commands.h"

namespace zeb::render {

class CommandListDX12;

/// A queue with its fence, the allocators and the event handles that wait to be used again. Lists and events share it;
/// the last of them ends it, after its work.
class QueueState {
public:
    QueueState(std::shared_ptr<DeviceContext> context, std::string name);
    ~QueueState();
    QueueState(const QueueState&) = delete;
    QueueState& operator=(const QueueState&) = delete;

    const std::shared_ptr<DeviceContext>& GetContext() const { return mContext; }

    /// One that no work uses; it needs a Reset.
    ComPointer<ID3D12CommandAllocator> GetAllocatorFromCache();
    void GiveBack(ComPointer<ID3D12CommandAllocator> allocator);

    /// Submits a closed list; the value that the fence is to have when it has run, to be signalled next.
    std::uint64_t Submit(ID3D12CommandList* list);
    void Signal(std::uint64_t fenceValue);
    bool IsCompleted(std::uint64_t fenceValue) const;
    void Wait(std::uint64_t fenceValue);

    /// Takes over a list whose work may still be running, since the wait for it failed. It goes when its work is done,
    /// which is asked for with each new list, or with the queue.
    void KeepUnfinished(UniquePtr<CommandList> list, std::uint64_t fenceValue) noexcept;
    /// Waits for all work of the queue and lets the unfinished lists go. Where that cannot be told either, they and the
    /// device stay for the life of the process.
    void FinishAll() noexcept;

private:
    struct Unfinished {
        UniquePtr<CommandList> mList;
        std::uint64_t mFenceValue;
    };
    void ReleaseFinished();
    void Init();
    void Cleanup();
    void WaitOnEvent(std::uint64_t fenceValue);
    HANDLE TakeEvent();

    std::shared_ptr<DeviceContext> mContext;
    std::string mName;
    ComPointer<ID3D12CommandQueue> mCommandQueue;
    ComPointer<ID3D12Fence> mFence;
    std::atomic<std::uint64_t> mNextFenceValue = 0;
    std::mutex mAllocatorMutex;
    std::vector<ComPointer<ID3D12CommandAllocator>> mAllocators;
    std::uint32_t mNextAllocator = 0;
    std::mutex mEventMutex;
    std::vector<HANDLE> mEvents;
    std::mutex mUnfinishedMutex;
    std::vector<Unfinished> mUnfinished;
};

class CommandQueueDX12 final : public CommandQueue {
public:
    CommandQueueDX12(const std::shared_ptr<DeviceContext>& context, std::string name);
    ~CommandQueueDX12() override { mState->FinishAll(); }
    CommandQueueDX12(const CommandQueueDX12&) = delete;
    CommandQueueDX12& operator=(const CommandQueueDX12&) = delete;

protected:
    UniquePtr<CommandList> DoCreateCommandList(std::string name) override;
    UniquePtr<CommandQueueCompletionEvent> DoExecute(UniquePtr<CommandList> commandList) override;

private:
    std::shared_ptr<QueueState> mState;
};

/// Owns the submitted list. Destroyed without a Wait it waits itself, since the list's resources are in use until then;
/// if that fails the queue keeps the list.
class CommandQueueCompletionEventDX12 final : public CommandQueueCompletionEvent {
public:
    CommandQueueCompletionEventDX12(std::shared_ptr<QueueState> queue, UniquePtr<CommandList> list);
    ~CommandQueueCompletionEventDX12() override;
    CommandQueueCompletionEventDX12(const CommandQueueCompletionEventDX12&) = delete;
    CommandQueueCompletionEventDX12& operator=(const CommandQueueCompletionEventDX12&) = delete;

    void SetFenceValue(std::uint64_t value) { mFenceValue = value; }
    bool IsCompleted() override { return mIsDone || mQueue->IsCompleted(mFenceValue); }
    void Wait() override;

private:
    std::shared_ptr<QueueState> mQueue;
    UniquePtr<CommandList> mOwner;
    CommandListDX12& mList;
    std::uint64_t mFenceValue = 0;
    bool mIsDone = false;
};

}  // namespace zeb::render
