#include "Render/CPU/CommandQueue.h"

#include "Render/CPU/Encoders.h"

namespace zeb::render::cpu {
namespace {

/// Owns a list that has run; what it kept goes with the wait, or with the event.
class CompletionEventCPU final : public CommandQueueCompletionEvent {
public:
    CompletionEventCPU(std::shared_ptr<const DeviceReport> report, UniquePtr<CommandList> list)
        : mReport(std::move(report)), mOwner(std::move(list)) {}
    ~CompletionEventCPU() override {
        try {
            static_cast<CommandListCPU&>(*mOwner).Finish();
        } catch (const std::exception& failure) {
            mReport->Report(failure.what());
        }
    }
    CompletionEventCPU(const CompletionEventCPU&) = delete;
    CompletionEventCPU& operator=(const CompletionEventCPU&) = delete;

    bool IsCompleted() override { return true; }
    void Wait() override { static_cast<CommandListCPU&>(*mOwner).Finish(); }

private:
    std::shared_ptr<const DeviceReport> mReport;
    UniquePtr<CommandList> mOwner;
};

}  // namespace

UniquePtr<GraphicsCommandEncoder> CommandListCPU::DoCreateGraphicsCommandEncoder(
    const RenderPassDescription& description) {
    return MakeUnique<GraphicsCommandEncoderCPU>(*this, description);
}

UniquePtr<ComputeCommandEncoder> CommandListCPU::DoCreateComputeCommandEncoder() {
    return MakeUnique<ComputeCommandEncoderCPU>(*this);
}

UniquePtr<CopyCommandEncoder> CommandListCPU::DoCreateCopyCommandEncoder() {
    return MakeUnique<CopyCommandEncoderCPU>(*this);
}

void CommandListCPU::DoSetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) {
    for (DescriptorHeap* heap : {&textureHeap, samplerHeap}) {
        if (heap != nullptr) ToOwn<ClassesCPU::DescriptorHeapObject>(*heap, "descriptor heap");
    }
}

void CommandListCPU::Run() const {
    for (std::size_t i = 0; i < mCommands.size();) {
        if (mCommands[i].mDispatch != nullptr) {
            i += RunDispatches(i);
        } else {
            mCommands[i].mFunction();
            ++i;
        }
    }
}

std::size_t CommandListCPU::RunDispatches(std::size_t first) const {
    const BoundWork& work = *mCommands[first].mDispatch;
    const Program& program = work.mPipeline->mProgram;
    if (program.mSequence != nullptr) {
        std::vector<Dispatch> dispatches;
        for (std::size_t i = first; i < mCommands.size() && mCommands[i].mDispatch != nullptr; ++i) {
            const BoundWork& next = *mCommands[i].mDispatch;
            dispatches.push_back({next.mPipeline->mProgram, next.mBindings, mCommands[i].mGroups});
        }
        const std::size_t done = program.mSequence(dispatches);
        if (done != 0) return done;
    }
    program.mCompute(work.mBindings, mCommands[first].mGroups);
    return 1;
}

UniquePtr<CommandList> CommandQueueCPU::DoCreateCommandList(std::string name) {
    return MakeUnique<CommandListCPU>(std::move(name));
}

UniquePtr<CommandQueueCompletionEvent> CommandQueueCPU::DoExecute(UniquePtr<CommandList> commandList) {
    auto& list = ToOwn<CommandListCPU>(*commandList, "command list");
    list.Run();
    return MakeUnique<CompletionEventCPU>(mReport, std::move(commandList));
}

}  // namespace zeb::render::cpu
