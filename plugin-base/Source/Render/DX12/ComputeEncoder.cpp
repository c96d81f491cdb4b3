#include "Encoders.h"

namespace zeb::render {

void ComputeCommandEncoderDX12::DoSetPipelineState(ComputePipelineState& state) {
    const auto& resource = ToOwn<ComputePipelineStateDX12>(state, "pipeline").GetResource();
    mList.Keep(resource);
    mList.GetNative()->SetPipelineState(resource->mPipelineState.Get());
    mPipelineName = state.GetName();
}

void ComputeCommandEncoderDX12::DoDispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                                           std::uint32_t) {
    PendingStates states;
    Prepare(mPipelineName, D3D12_RESOURCE_STATE_NON_PIXEL_SHADER_RESOURCE, states);
    mList.GetNative()->Dispatch(groupsX, groupsY, groupsZ);
}

}  // namespace zeb::render
