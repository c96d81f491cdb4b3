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
    for (const std::function<void()>& command : mCommands) command();
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
