#include "Encoders.h"

namespace zeb::render {

void ComputeCalls::SetRootSignature(ID3D12GraphicsCommandList* list, ID3D12RootSignature* signature) {
    list->SetComputeRootSignature(signature);
}

void ComputeCalls::SetRootDescriptorTable(ID3D12GraphicsCommandList* list, UINT parameter,
                                          D3D12_GPU_DESCRIPTOR_HANDLE handle) {
    list->SetComputeRootDescriptorTable(parameter, handle);
}

void ComputeCalls::SetRoot32BitConstants(ID3D12GraphicsCommandList* list, UINT parameter, UINT count,
                                         const void* data) {
    list->SetComputeRoot32BitConstants(parameter, count, data, 0);
}

void ComputeCalls::SetRootBufferView(ID3D12GraphicsCommandList* list, RootParameterKind kind, UINT parameter,
                                     D3D12_GPU_VIRTUAL_ADDRESS address) {
    switch (kind) {
        case RootParameterKind::ConstantBuffer: list->SetComputeRootConstantBufferView(parameter, address); break;
        case RootParameterKind::ReadOnlyBuffer: list->SetComputeRootShaderResourceView(parameter, address); break;
        default: list->SetComputeRootUnorderedAccessView(parameter, address); break;
    }
}

void ComputeCommandEncoderDX12::DoSetPipelineState(ComputePipelineState& state) {
    const auto& resource = ToOwn<ComputePipelineStateDX12>(state, "pipeline").GetResource();
    mList.Keep(resource);
    mList.GetNative()->SetPipelineState(resource->mPipelineState.Get());
    mPipelineName = state.GetName();
}

void ComputeCommandEncoderDX12::DoDispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                                           std::uint32_t) {
    PendingStates states;
    mArguments.AddNeeds(mPipelineName, D3D12_RESOURCE_STATE_NON_PIXEL_SHADER_RESOURCE, states);
    mList.Commit(states);
    mList.GetNative()->Dispatch(groupsX, groupsY, groupsZ);
}

}  // namespace zeb::render
