#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Render/CPU/Resources.h"

namespace zeb::render::cpu {

/// One recording: closures that the queue runs in order. They hold what they use.
class CommandListCPU final : public CommandList {
public:
    explicit CommandListCPU(std::string name) : CommandList(std::move(name)) {}

    void Record(std::function<void()> command) { mCommands.push_back(std::move(command)); }
    void Run() const;
    /// The wait is over: calls those who wait for that, then releases what was kept.
    void Finish() {
        RunFinishedCalls();
        mCommands.clear();
    }

protected:
    UniquePtr<GraphicsCommandEncoder> DoCreateGraphicsCommandEncoder(const RenderPassDescription& description) override;
    UniquePtr<ComputeCommandEncoder> DoCreateComputeCommandEncoder() override;
    UniquePtr<CopyCommandEncoder> DoCreateCopyCommandEncoder() override;
    /// Descriptors are copied into the work that uses them, so nothing is recorded; the heaps must be of this device.
    void DoSetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) override;
    void DoClose() override {}

private:
    std::vector<std::function<void()>> mCommands;
};

/// Runs lists on the thread that hands them over, which shares out the work inside them over the cores. Lists of
/// several threads run at once.
class CommandQueueCPU final : public CommandQueue {
public:
    CommandQueueCPU(std::shared_ptr<const DeviceReport> report, std::string name)
        : CommandQueue(std::move(name)), mReport(std::move(report)) {}

protected:
    UniquePtr<CommandList> DoCreateCommandList(std::string name) override;
    /// Returns when the list has run.
    UniquePtr<CommandQueueCompletionEvent> DoExecute(UniquePtr<CommandList> commandList) override;

private:
    std::shared_ptr<const DeviceReport> mReport;
};

}  // namespace zeb::render::cpu
