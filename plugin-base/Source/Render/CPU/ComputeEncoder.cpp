#include "Render/CPU/Encoders.h"

namespace zeb::render::cpu {
namespace {

// The least that every graphics interface allows; what fits here fits there.
constexpr std::uint32_t kMaxGroups = 65535;

}  // namespace

void ComputeCommandEncoderCPU::SetPipelineState(ComputePipelineState& state) {
    CheckOpen();
    mPipeline = ToCPU<ComputePipelineStateCPU>(state, "pipeline").GetPipeline();
}

void ComputeCommandEncoderCPU::Dispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                                        std::uint32_t, std::uint32_t, std::uint32_t) {
    CheckOpen();
    if (!mPipeline) ZEB_RENDER_THROW("A dispatch of the command list \"{}\" has no pipeline", mList.GetName());
    if (groupsX == 0 || groupsY == 0 || groupsZ == 0) return;
    if (groupsX > kMaxGroups || groupsY > kMaxGroups || groupsZ > kMaxGroups) {
        ZEB_RENDER_THROW("{} x {} x {} groups of \"{}\" are more than the device's limit of {} x {} x {}", groupsX,
                         groupsY, groupsZ, mPipeline->mName, kMaxGroups, kMaxGroups, kMaxGroups);
    }
    const auto work = std::make_shared<BoundWork>(mArguments.Bind(mPipeline));
    mList.Record([work, groups = glm::uvec3(groupsX, groupsY, groupsZ)] {
        work->mPipeline->mProgram.mCompute(work->mBindings, groups);
    });
}

}  // namespace zeb::render::cpu
