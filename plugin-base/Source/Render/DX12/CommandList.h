#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Buffer.h"
#include "CommandQueue.h"
#include "DescriptorHeap.h"
#include "EnumTables.h"
#include "PluginBase/Render/Commands.h"
#include "Texture.h"

namespace zeb::render {

/// The states that one dispatch, draw or copy needs of its resources. A resource that is read in several ways is in all
/// those states at once; one that is written is in that state alone.
class PendingStates {
public:
    /// A resource that is needed both to be read and to be written throws.
    void Add(const std::shared_ptr<ResourceDX12>& resource, D3D12_RESOURCE_STATES state);

private:
    friend class CommandListDX12;
    struct Need {
        std::shared_ptr<ResourceDX12> mResource;
        D3D12_RESOURCE_STATES mState;
    };
    std::vector<Need> mNeeds;
};

/// One recording. The states of resources advance with it; a list that never runs takes textures back to theirs when
/// it is destroyed. Transitions that the caller states are recorded as stated; what an operation needs beyond them is
/// added, so that a missing one costs a barrier and not the picture.
class CommandListDX12 final : public CommandList {
public:
    CommandListDX12(std::shared_ptr<QueueState> queue, std::string name);
    ~CommandListDX12() override;
    CommandListDX12(const CommandListDX12&) = delete;
    CommandListDX12& operator=(const CommandListDX12&) = delete;

    ID3D12GraphicsCommandList* GetNative() const { return mCommandList.Get(); }
    const std::shared_ptr<DeviceContext>& GetContext() const { return mQueue->GetContext(); }
    void MarkSubmitted() { mIsSubmitted = true; }
    bool IsSubmitted() const { return mIsSubmitted; }
    /// The work is done: calls those who wait for that, then releases what was kept.
    void Finish();

    /// Records a barrier unless the resource is in `state`.
    void Transition(const std::shared_ptr<ResourceDX12>& resource, D3D12_RESOURCE_STATES state);
    /// Records what barriers are lacking, and keeps the resources until the work is done.
    void Commit(const PendingStates& states);
    void RecordUnorderedAccessBarrier(const std::shared_ptr<ResourceDX12>& resource);
    void Keep(const std::shared_ptr<const void>& object) { mKept.emplace(object.get(), object); }
    /// Barriers recorded so far.
    std::uint32_t GetBarrierCount() const { return mBarrierCount; }

protected:
    UniquePtr<GraphicsCommandEncoder> DoCreateGraphicsCommandEncoder(const RenderPassDescription& description) override;
    UniquePtr<ComputeCommandEncoder> DoCreateComputeCommandEncoder() override;
    UniquePtr<CopyCommandEncoder> DoCreateCopyCommandEncoder() override;
    void DoSetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) override;
    void DoClose() override;

private:
    void Init();
    void Touch(const std::shared_ptr<ResourceDX12>& resource);

    std::shared_ptr<QueueState> mQueue;
    ComPointer<ID3D12CommandAllocator> mCommandAllocator;
    ComPointer<ID3D12GraphicsCommandList> mCommandList;
    std::uint64_t mNumber;
    std::uint32_t mBarrierCount = 0;
    bool mIsNativeClosed = false;
    bool mIsSubmitted = false;
    std::unordered_map<const void*, std::shared_ptr<const void>> mKept;
    /// Textures that this list moved on, with the states that they came in.
    std::unordered_map<ResourceDX12*, D3D12_RESOURCE_STATES> mOrigins;
};

/// What the three encoders have in common. `Base` is the interface that the encoder implements.
template <class Base>
class EncoderDX12 : public Base {
protected:
    template <class... Args>
    explicit EncoderDX12(CommandListDX12& list, const Args&... args) : Base(list, args...), mList(list) {}

    void DoTextureTransitionBarrier(Texture& texture, TextureState state) override {
        mList.Transition(ToDX12(texture).GetResource(), GetResourceStateDX12(state));
    }
    void DoBufferTransitionBarrier(Buffer& buffer, BufferState state) override {
        const D3D12_RESOURCE_STATES native = GetResourceStateDX12(state);
        const std::shared_ptr<ResourceDX12>& resource = ToDX12(buffer).GetResource();
        // Memory that the CPU sees stays in its one state, whatever is stated.
        if (!resource->mIsFixed) mList.Transition(resource, native);
    }
    void DoTextureUnorderedAccessBarrier(Texture& texture) override {
        mList.RecordUnorderedAccessBarrier(ToDX12(texture).GetResource());
    }
    void DoBufferUnorderedAccessBarrier(Buffer& buffer) override {
        mList.RecordUnorderedAccessBarrier(ToDX12(buffer).GetResource());
    }

    CommandListDX12& mList;
};

}  // namespace zeb::render
