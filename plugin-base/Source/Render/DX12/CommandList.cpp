#include "CommandList.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "Encoders.h"

namespace zeb::render {
namespace {

const D3D12_RESOURCE_STATES kReadOnlyStates =
    D3D12_RESOURCE_STATE_GENERIC_READ | D3D12_RESOURCE_STATE_DEPTH_READ | D3D12_RESOURCE_STATE_RESOLVE_SOURCE;

bool IsReadOnly(D3D12_RESOURCE_STATES state) {
    return state != D3D12_RESOURCE_STATE_COMMON && (state & ~kReadOnlyStates) == 0;
}

std::uint64_t GetNextListNumber() {
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}

}  // namespace

void PendingStates::Add(const std::shared_ptr<ResourceDX12>& resource, D3D12_RESOURCE_STATES state) {
    for (Need& need : mNeeds) {
        if (need.mResource != resource) continue;
        if (IsReadOnly(need.mState) && IsReadOnly(state)) {
            need.mState |= state;
        } else if (need.mState != state) {
            ThrowUsedInTwoWays(resource->mIsBuffer ? "buffer" : "texture", resource->mName);
        }
        return;
    }
    mNeeds.push_back({resource, state});
}

CommandListDX12::CommandListDX12(std::shared_ptr<QueueState> queue, std::string name)
    : CommandList(std::move(name)),
      mQueue(std::move(queue)),
      mCommandAllocator(mQueue->GetAllocatorFromCache()),
      mNumber(GetNextListNumber()) {
    Init();
}

void CommandListDX12::Init() {
    ID3D12Device* device = GetContext()->Get();
    ZEB_DX12_CHECK(mCommandAllocator->Reset(), GetContext().get());
    ZEB_DX12_CHECK_TEXT(
        device->CreateCommandList(0, D3D12_COMMAND_LIST_TYPE_DIRECT, mCommandAllocator.Get(), nullptr,
                                  IID_PPV_ARGS(mCommandList.ReleaseAndGetAddressOf())),
        "mDevice.CreateCommandList( 0, D3D12_COMMAND_LIST_TYPE_DIRECT, mCommandAllocator.Get(), nullptr, "
        "IID_PPV_ARGS(mCommandList.ReleaseAndGetAddressOf()))",
        GetContext().get());
    SetNativeName(mCommandList.Get(), GetName());
}

CommandListDX12::~CommandListDX12() {
    if (!mIsSubmitted) {
        for (const auto& [texture, state] : mOrigins) texture->mState = state;
    }
    // An allocator is free for the next list only once this one is closed.
    if (!mIsNativeClosed) mCommandList->Close();
    mCommandList = {};
    try {
        mQueue->GiveBack(std::move(mCommandAllocator));
    } catch (const std::exception& failure) {
        GetContext()->Report(failure.what());
    }
}

void CommandListDX12::Finish() {
    RunFinishedCalls();
    mOrigins.clear();
    mKept.clear();
}

// Buffers fall back to the common state between lists; textures keep theirs.
void CommandListDX12::Touch(const std::shared_ptr<ResourceDX12>& resource) {
    Keep(resource);
    if (!resource->mIsBuffer) {
        mOrigins.try_emplace(resource.get(), resource->mState);
        return;
    }
    if (resource->mIsFixed || resource->mList == mNumber) return;
    resource->mList = mNumber;
    resource->mState = D3D12_RESOURCE_STATE_COMMON;
}

void CommandListDX12::Transition(const std::shared_ptr<ResourceDX12>& resource, D3D12_RESOURCE_STATES state) {
    Touch(resource);
    if (resource->mState == state) return;
    D3D12_RESOURCE_BARRIER barrier = {};
    barrier.Type = D3D12_RESOURCE_BARRIER_TYPE_TRANSITION;
    barrier.Transition.pResource = resource->mResource.Get();
    barrier.Transition.Subresource = D3D12_RESOURCE_BARRIER_ALL_SUBRESOURCES;
    barrier.Transition.StateBefore = resource->mState;
    barrier.Transition.StateAfter = state;
    mCommandList->ResourceBarrier(1, &barrier);
    ++mBarrierCount;
    resource->mState = state;
}

void CommandListDX12::Commit(const PendingStates& states) {
    for (const PendingStates::Need& need : states.mNeeds) {
        ResourceDX12& resource = *need.mResource;
        Touch(need.mResource);
        const bool isThere =
            resource.mState == need.mState ||
            (IsReadOnly(resource.mState) && IsReadOnly(need.mState) && (need.mState & ~resource.mState) == 0);
        if (isThere) continue;
        if (resource.mIsFixed) {
            ZEB_RENDER_THROW("The buffer \"{}\" lies in memory that the device cannot use in the state {}",
                             resource.mName, static_cast<std::uint32_t>(need.mState));
        }
        Transition(need.mResource, need.mState);
    }
}

void CommandListDX12::RecordUnorderedAccessBarrier(const std::shared_ptr<ResourceDX12>& resource) {
    Keep(resource);
    D3D12_RESOURCE_BARRIER barrier = {};
    barrier.Type = D3D12_RESOURCE_BARRIER_TYPE_UAV;
    barrier.UAV.pResource = resource->mResource.Get();
    mCommandList->ResourceBarrier(1, &barrier);
    ++mBarrierCount;
}

UniquePtr<GraphicsCommandEncoder> CommandListDX12::DoCreateGraphicsCommandEncoder(
    const RenderPassDescription& description) {
    return MakeUnique<GraphicsCommandEncoderDX12>(*this, description);
}

UniquePtr<ComputeCommandEncoder> CommandListDX12::DoCreateComputeCommandEncoder() {
    return MakeUnique<ComputeCommandEncoderDX12>(*this);
}

UniquePtr<CopyCommandEncoder> CommandListDX12::DoCreateCopyCommandEncoder() {
    return MakeUnique<CopyCommandEncoderDX12>(*this);
}

void CommandListDX12::DoSetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) {
    std::array<ID3D12DescriptorHeap*, 2> native = {};
    UINT count = 0;
    for (DescriptorHeap* heap : {&textureHeap, samplerHeap}) {
        if (heap == nullptr) continue;
        const auto& table = ToOwn<DescriptorHeapDX12>(*heap, "descriptor heap").GetTable();
        Keep(table);
        native[count++] = table->mHeap.Get();
    }
    mCommandList->SetDescriptorHeaps(count, native.data());
}

void CommandListDX12::DoClose() {
    mIsNativeClosed = true;
    ZEB_DX12_CHECK_TEXT(mCommandList->Close(), "commandListDX12.Close()", GetContext().get());
}

}  // namespace zeb::render
