#include "Render/CPU/Encoders.h"

namespace zeb::render::cpu {
void ComputeCommandEncoderCPU::DoSetPipelineState(ComputePipelineState& state) {
    mPipeline = ToOwn<ComputePipelineStateCPU>(state, "pipeline").GetPipeline();
}

void ComputeCommandEncoderCPU::DoDispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                                          std::uint32_t) {
    mList.Record(std::make_shared<const BoundWork>(Bind(mArguments, mPipeline)), {groupsX, groupsY, groupsZ});
}

}  // namespace zeb::render::cpu
