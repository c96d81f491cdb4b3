#pragma once

#include <memory>
#include <string>

#include "CommandQueue.h"
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

    UniquePtr<GraphicsCommandEncoder> CreateGraphicsCommandEncoder(const RenderPassDescription& description) override;
    UniquePtr<ComputeCommandEncoder> CreateComputeCommandEncoder() override;
    UniquePtr<CopyCommandEncoder> CreateCopyCommandEncoder() override;
    /// Descriptors are pushed with each draw, so nothing is recorded; the heaps must be of this device.
    void SetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) override;

    void Close();
    void MarkSubmitted() { mIsSubmitted = true; }
    bool IsSubmitted() const { return mIsSubmitted; }
    /// The work is done: releases what was kept for it.
    void Finish();

    /// Only one encoder records at a time.
    void BeginEncoder();
    void EndEncoder() { mHasEncoder = false; }

    const std::shared_ptr<DeviceContext>& GetContext() const { return mQueue->GetContext(); }
    const VolkDeviceTable& Api() const { return GetContext()->Api(); }
    VkCommandBuffer GetCommandBuffer() const { return mAllocator->GetCommandBuffer(); }
    VkFence GetFence() const { return mAllocator->GetFence(); }
    CommandAllocator& GetAllocator() { return *mAllocator; }
    ResourceUses& GetUses() { return mUses; }
    void Commit(const PendingUse& use) { mUses.Commit(Api(), GetCommandBuffer(), use); }
    void RecordFullBarrier(VkPipelineStageFlags toStages, VkAccessFlags toAccess);

private:
    std::shared_ptr<QueueState> mQueue;
    std::unique_ptr<CommandAllocator> mAllocator;
    ResourceUses mUses;
    bool mHasEncoder = false;
    bool mIsClosed = false;
    bool mIsSubmitted = false;
};

void SetTextureState(CommandListVulkan& list, Texture& texture, TextureState state);
void SetBufferState(Buffer& buffer, BufferState state);
void CheckEncoderOpen(const CommandListVulkan& list, bool isOpen);

/// What the three encoders have in common. `Base` is the interface that the encoder implements.
template <class Base>
class EncoderVulkan : public Base {
public:
    explicit EncoderVulkan(CommandListVulkan& list) : mList(list) { mList.BeginEncoder(); }
    ~EncoderVulkan() override {
        if (mIsOpen) mList.EndEncoder();
    }
    EncoderVulkan(const EncoderVulkan&) = delete;
    EncoderVulkan& operator=(const EncoderVulkan&) = delete;

    // The native barriers follow from what the work uses; these calls keep the states that the caller tells.
    void TextureTransitionBarrier(Texture& texture, TextureState state) override {
        CheckOpen();
        SetTextureState(mList, texture, state);
    }
    void BufferTransitionBarrier(Buffer& buffer, BufferState state) override {
        CheckOpen();
        SetBufferState(buffer, state);
    }
    void TextureUnorderedAccessBarrier(Texture& texture) override {
        CheckOpen();
        ToVulkan(texture);
    }
    void BufferUnorderedAccessBarrier(Buffer& buffer) override {
        CheckOpen();
        ToVulkan(buffer);
    }
    void End() override {
        CheckOpen();
        mIsOpen = false;
        mList.EndEncoder();
    }

protected:
    void CheckOpen() const { CheckEncoderOpen(mList, mIsOpen); }

    CommandListVulkan& mList;

private:
    bool mIsOpen = true;
};

}  // namespace zeb::render
