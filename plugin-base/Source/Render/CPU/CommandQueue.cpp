#include "Render/CPU/CommandQueue.h"

#include "Render/CPU/DescriptorHeap.h"
#include "Render/CPU/Encoders.h"

namespace zeb::render::cpu {
namespace {

/// Owns a list that has run; what it kept goes with the wait.
class CompletionEventCPU final : public CommandQueueCompletionEvent {
public:
    explicit CompletionEventCPU(UniquePtr<CommandList> list) : mOwner(std::move(list)) {}
    bool IsCompleted() override { return true; }
    void Wait() override { static_cast<CommandListCPU&>(*mOwner).Finish(); }

private:
    UniquePtr<CommandList> mOwner;
};

}  // namespace

UniquePtr<GraphicsCommandEncoder> CommandListCPU::CreateGraphicsCommandEncoder(
    const RenderPassDescription& description) {
    return MakeUnique<GraphicsCommandEncoderCPU>(*this, description);
}

UniquePtr<ComputeCommandEncoder> CommandListCPU::CreateComputeCommandEncoder() {
    return MakeUnique<ComputeCommandEncoderCPU>(*this);
}

UniquePtr<CopyCommandEncoder> CommandListCPU::CreateCopyCommandEncoder() {
    return MakeUnique<CopyCommandEncoderCPU>(*this);
}

void CommandListCPU::SetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) {
    for (DescriptorHeap* heap : {&textureHeap, samplerHeap}) {
        if (heap != nullptr) ToCPU<DescriptorHeapCPU>(*heap, "descriptor heap");
    }
}

void CommandListCPU::BeginEncoder() {
    if (mIsClosed) ZEB_RENDER_THROW("The command list \"{}\" is closed", GetName());
    if (mHasEncoder) ZEB_RENDER_THROW("The command list \"{}\" has an open encoder already", GetName());
    mHasEncoder = true;
}

void CommandListCPU::CheckEncoderOpen(bool isOpen) const {
    if (!isOpen) ZEB_RENDER_THROW("An encoder of the command list \"{}\" was ended already", GetName());
}

void CommandListCPU::Close() {
    if (mHasEncoder) ZEB_RENDER_THROW("The command list \"{}\" still has an open encoder", GetName());
    if (mIsClosed) ZEB_RENDER_THROW("The command list \"{}\" was executed already", GetName());
    mIsClosed = true;
}

void CommandListCPU::Run() const {
    for (const std::function<void()>& command : mCommands) command();
}

UniquePtr<CommandList> CommandQueueCPU::CreateCommandList(std::string name) {
    return MakeUnique<CommandListCPU>(std::move(name));
}

UniquePtr<CommandQueueCompletionEvent> CommandQueueCPU::Execute(UniquePtr<CommandList> commandList) {
    if (!commandList) ZEB_RENDER_THROW("Failed to execute a command list on the queue \"{}\": commandList", GetName());
    auto& list = ToCPU<CommandListCPU>(*commandList, "command list");
    list.Close();
    list.Run();
    return MakeUnique<CompletionEventCPU>(std::move(commandList));
}

}  // namespace zeb::render::cpu
