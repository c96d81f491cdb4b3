#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <glm/vec3.hpp>

#include "Render/CPU/Resources.h"

namespace zeb::render::cpu {

struct BoundWork;

/// One recording: closures and dispatches that the queue runs in order. They hold what they use.
class CommandListCPU final : public CommandList {
public:
    explicit CommandListCPU(std::string name) : CommandList(std::move(name)) {}

    void Record(std::function<void()> command) { mCommands.push_back({std::move(command), nullptr, {}}); }
    void Record(std::shared_ptr<const BoundWork> work, const glm::uvec3& groups) {
        mCommands.push_back({nullptr, std::move(work), groups});
    }
    /// Dispatches recorded one after another may run as one piece of work (see SequenceFunction).
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
    struct Command {
        std::function<void()> mFunction;
        std::shared_ptr<const BoundWork> mDispatch;  ///< null for a closure
        glm::uvec3 mGroups;
    };

    std::size_t RunDispatches(std::size_t first) const;

    std::vector<Command> mCommands;
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
