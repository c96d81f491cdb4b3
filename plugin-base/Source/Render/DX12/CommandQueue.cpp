#include "CommandQueue.h"

#include "CommandList.h"
#include "PluginBase/Render/Failures.h"

namespace zeb::render {

QueueState::QueueState(std::shared_ptr<DeviceContext> context, std::string name)
    : mContext(std::move(context)), mName(std::move(name)) {
    Init();
}

QueueState::~QueueState() {
    try {
        Cleanup();
    } catch (const std::exception& failure) {
        mContext->Report(failure.what());
    }
    for (const HANDLE event : mEvents) CloseHandle(event);
}

void QueueState::Init() {
    ID3D12Device* device = mContext->Get();
    D3D12_COMMAND_QUEUE_DESC desc = {};
    desc.Type = D3D12_COMMAND_LIST_TYPE_DIRECT;
    ZEB_DX12_CHECK_TEXT(device->CreateCommandQueue(&desc, IID_PPV_ARGS(mCommandQueue.ReleaseAndGetAddressOf())),
                        "mDevice.CreateCommandQueue(&desc, IID_PPV_ARGS(mCommandQueue.ReleaseAndGetAddressOf()))",
                        mContext.get());
    SetNativeName(mCommandQueue.Get(), mName);
    ZEB_DX12_CHECK_TEXT(
        device->CreateFence(mNextFenceValue, D3D12_FENCE_FLAG_NONE, IID_PPV_ARGS(mFence.ReleaseAndGetAddressOf())),
        "mDevice.CreateFence(mNextFenceValue, D3D12_FENCE_FLAG_NONE, IID_PPV_ARGS(mFence.ReleaseAndGetAddressOf()))",
        mContext.get());
    ++mNextFenceValue;
    SetNativeName(mFence.Get(), mName);
}

void QueueState::Cleanup() {
    if (!mFence) return;
    const std::uint64_t fence = mNextFenceValue++;
    ZEB_DX12_CHECK(mCommandQueue->Signal(mFence.Get(), fence), mContext.get());
    if (!IsCompleted(fence)) WaitOnEvent(fence);
}

ComPointer<ID3D12CommandAllocator> QueueState::GetAllocatorFromCache() {
    ReleaseFinished();
    const std::lock_guard lock(mAllocatorMutex);
    ComPointer<ID3D12CommandAllocator> commandAllocator;
    if (!mAllocators.empty()) {
        commandAllocator = std::move(mAllocators.back());
        mAllocators.pop_back();
        return commandAllocator;
    }
    ID3D12Device* device = mContext->Get();
    ZEB_DX12_CHECK_TEXT(device->CreateCommandAllocator(D3D12_COMMAND_LIST_TYPE_DIRECT,
                                                       IID_PPV_ARGS(commandAllocator.ReleaseAndGetAddressOf())),
                        "mDevice.CreateCommandAllocator( D3D12_COMMAND_LIST_TYPE_DIRECT, "
                        "IID_PPV_ARGS(commandAllocator.ReleaseAndGetAddressOf()))",
                        mContext.get());
    SetNativeName(commandAllocator.Get(), fmt::format("{}: {}", mName, mNextAllocator));
    ++mNextAllocator;
    return commandAllocator;
}

void QueueState::GiveBack(ComPointer<ID3D12CommandAllocator> allocator) {
    const std::lock_guard lock(mAllocatorMutex);
    mAllocators.push_back(std::move(allocator));
}

void QueueState::KeepUnfinished(UniquePtr<CommandList> list, std::uint64_t fenceValue) noexcept {
    const std::lock_guard lock(mUnfinishedMutex);
    try {
        mUnfinished.reserve(mUnfinished.size() + 1);
        mUnfinished.push_back({std::move(list), fenceValue});
    } catch (const std::bad_alloc&) {
        static_cast<void>(list.release());  // better lost than freed under the device's hands
    }
}

void QueueState::ReleaseFinished() {
    std::vector<UniquePtr<CommandList>> finished;
    const std::lock_guard lock(mUnfinishedMutex);
    finished.reserve(mUnfinished.size());
    std::erase_if(mUnfinished, [&](Unfinished& unfinished) {
        if (!IsCompleted(unfinished.mFenceValue)) return false;
        finished.push_back(std::move(unfinished.mList));
        return true;
    });
}

void QueueState::FinishAll() noexcept {
    std::vector<Unfinished> unfinished;
    {
        const std::lock_guard lock(mUnfinishedMutex);
        unfinished.swap(mUnfinished);
    }
    if (unfinished.empty()) return;
    try {
        Cleanup();
    } catch (const DeviceLostException&) {  // there is nothing left that could use them
    } catch (const std::exception& failure) {
        mContext->Report(failure.what());
        for (Unfinished& one : unfinished) static_cast<void>(one.mList.release());
    }
}

std::uint64_t QueueState::Submit(ID3D12CommandList* list) {
    mCommandQueue->ExecuteCommandLists(1, &list);
    return mNextFenceValue++;
}

void QueueState::Signal(std::uint64_t fenceValue) {
    ZEB_DX12_CHECK(mCommandQueue->Signal(mFence.Get(), fenceValue), mContext.get());
}

bool QueueState::IsCompleted(std::uint64_t fenceValue) const { return fenceValue <= mFence->GetCompletedValue(); }

void QueueState::Wait(std::uint64_t fenceValue) {
    // Signalled once more, which is what tells of a device that is gone; not below a later list's value, for the fence
    // only grows.
    if (fenceValue + 1 == mNextFenceValue) {
        ZEB_DX12_CHECK_TEXT(mCommandQueue->Signal(mFence.Get(), fenceValue),
                            "mCommandQueue.mCommandQueue->Signal( mCommandQueue.mFence.Get(), mFenceValue)",
                            mContext.get());
    }
    if (!IsCompleted(fenceValue)) WaitOnEvent(fenceValue);
    // All fences of a device that is gone stand at the greatest value, so that nobody waits for what will not be done.
    if (mFence->GetCompletedValue() == UINT64_MAX) {
        ZEB_DX12_CHECK_TEXT(DXGI_ERROR_DEVICE_REMOVED,
                            "mCommandQueue.mFence->SetEventOnCompletion(mFenceValue, fenceEvent.Get())",
                            mContext.get());
    }
}

HANDLE QueueState::TakeEvent() {
    const std::lock_guard lock(mEventMutex);
    if (mEvents.empty()) {
        const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        if (event == nullptr)
            ZEB_RENDER_THROW("Failed to create an event for the queue \"{}\": code {}", mName, GetLastError());
        return event;
    }
    const HANDLE event = mEvents.back();
    mEvents.pop_back();
    return event;
}

void QueueState::WaitOnEvent(std::uint64_t fenceValue) {
    const HANDLE event = TakeEvent();
    const HRESULT result = mFence->SetEventOnCompletion(fenceValue, event);
    if (SUCCEEDED(result)) WaitForSingleObjectEx(event, INFINITE, FALSE);
    {
        const std::lock_guard lock(mEventMutex);
        mEvents.push_back(event);
    }
    ZEB_DX12_CHECK_TEXT(result, "mCommandQueue.mFence->SetEventOnCompletion(mFenceValue, fenceEvent.Get())",
                        mContext.get());
}

CommandQueueDX12::CommandQueueDX12(const std::shared_ptr<DeviceContext>& context, std::string name)
    : CommandQueue(std::move(name)), mState(std::make_shared<QueueState>(context, GetName())) {}

UniquePtr<CommandList> CommandQueueDX12::DoCreateCommandList(std::string name) {
    return MakeUnique<CommandListDX12>(mState, std::move(name));
}

UniquePtr<CommandQueueCompletionEvent> CommandQueueDX12::DoExecute(UniquePtr<CommandList> commandList) {
    auto& list = ToOwn<CommandListDX12>(*commandList, "command list");
    // The event is made first: if the signal fails, it still waits for the list that it owns.
    auto event = MakeUnique<CommandQueueCompletionEventDX12>(mState, std::move(commandList));
    list.MarkSubmitted();
    const std::uint64_t fenceValue = mState->Submit(list.GetNative());
    event->SetFenceValue(fenceValue);
    mState->Signal(fenceValue);
    return event;
}

CommandQueueCompletionEventDX12::CommandQueueCompletionEventDX12(std::shared_ptr<QueueState> queue,
                                                                 UniquePtr<CommandList> list)
    : mQueue(std::move(queue)), mOwner(std::move(list)), mList(static_cast<CommandListDX12&>(*mOwner)) {}

CommandQueueCompletionEventDX12::~CommandQueueCompletionEventDX12() {
    if (mIsDone || !mList.IsSubmitted()) return;
    bool isLost = false;
    try {
        Wait();
    } catch (const DeviceLostException&) {  // told where the loss was met first
        isLost = true;
    } catch (const std::exception& failure) {
        mQueue->GetContext()->Report(failure.what());
    }
    if (!mIsDone && !isLost) mQueue->KeepUnfinished(std::move(mOwner), mFenceValue);
}

void CommandQueueCompletionEventDX12::Wait() {
    if (mIsDone) return;
    mQueue->Wait(mFenceValue);
    mIsDone = true;
    mList.Finish();
    mQueue->GetContext()->ReportMessages();
}

}  // namespace zeb::render
