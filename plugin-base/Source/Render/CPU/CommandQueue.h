#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Render/CPU/Resources.h"

namespace zeb::render::cpu {

/// One recording: closures that the queue calls in order. They hold what they use.
class CommandListCPU final : public CommandList {
public:
    using CommandList::CommandList;

    UniquePtr<GraphicsCommandEncoder> CreateGraphicsCommandEncoder(const RenderPassDescription& description) override;
    UniquePtr<ComputeCommandEncoder> CreateComputeCommandEncoder() override;
    UniquePtr<CopyCommandEncoder> CreateCopyCommandEncoder() override;
    /// Descriptors are copied into the work that uses them, so nothing is recorded; the heaps must be of this device.
    void SetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) override;

    void Record(std::function<void()> command) { mCommands.push_back(std::move(command)); }
    void Close();
    void Run() const;
    /// The work is done: releases what was kept for it.
    void Finish() { mCommands.clear(); }

    /// Only one encoder records at a time.
    void BeginEncoder();
    void EndEncoder() { mHasEncoder = false; }
    void CheckEncoderOpen(bool isOpen) const;

private:
    std::vector<std::function<void()>> mCommands;
    bool mHasEncoder = false;
    bool mIsClosed = false;
};

/// Runs lists on the thread that hands them over, which shares out the work inside them over the cores. Lists of
/// several threads run at once.
class CommandQueueCPU final : public CommandQueue {
public:
    using CommandQueue::CommandQueue;
    UniquePtr<CommandList> CreateCommandList(std::string name) override;
    /// Returns when the list has run.
    UniquePtr<CommandQueueCompletionEvent> Execute(UniquePtr<CommandList> commandList) override;
};

/// What the three encoders have in common. `Base` is the interface that the encoder implements.
template <class Base>
class EncoderCPU : public Base {
public:
    explicit EncoderCPU(CommandListCPU& list) : mList(list) { mList.BeginEncoder(); }
    ~EncoderCPU() override {
        if (mIsOpen) mList.EndEncoder();
    }
    EncoderCPU(const EncoderCPU&) = delete;
    EncoderCPU& operator=(const EncoderCPU&) = delete;

    // Work runs in the order of its recording, so barriers have nothing to do but to be correct.
    void TextureTransitionBarrier(Texture& texture, TextureState state) override {
        CheckOpen();
        CheckEnumeration(state, TextureState::UnorderedAccess, "resource state");
        ToCPU(texture);
    }
    void BufferTransitionBarrier(Buffer& buffer, BufferState state) override {
        CheckOpen();
        CheckEnumeration(state, BufferState::UnorderedAccess, "buffer state");
        ToCPU(buffer);
    }
    void TextureUnorderedAccessBarrier(Texture& texture) override {
        CheckOpen();
        ToCPU(texture);
    }
    void BufferUnorderedAccessBarrier(Buffer& buffer) override {
        CheckOpen();
        ToCPU(buffer);
    }
    void End() override {
        CheckOpen();
        mIsOpen = false;
        mList.EndEncoder();
    }

protected:
    void CheckOpen() const { mList.CheckEncoderOpen(mIsOpen); }

    CommandListCPU& mList;

private:
    bool mIsOpen = true;
};

}  // namespace zeb::render::cpu
