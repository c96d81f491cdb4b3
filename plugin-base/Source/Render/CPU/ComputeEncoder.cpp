#include "Render/CPU/Encoders.h"
#include "Render/CPU/Sort.h"

namespace zeb::render::cpu {

void ComputeCommandEncoderCPU::DoSetPipelineState(ComputePipelineState& state) {
    mPipeline = ToOwn<ComputePipelineStateCPU>(state, "pipeline").GetPipeline();
}

void ComputeCommandEncoderCPU::DoDispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                                          std::uint32_t) {
    const auto work = std::make_shared<const BoundWork>(Bind(mArguments, mPipeline));
    mList.Record([work, groups = glm::uvec3(groupsX, groupsY, groupsZ)] {
        work->mPipeline->mProgram.mCompute(work->mBindings, groups);
    });
}

void ComputeCommandEncoderCPU::DoSort(Buffer& keys, Buffer& payload, std::uint32_t count) {
    const auto keysResource = ToOwn<BufferCPU>(keys, "buffer").GetResource();
    const auto payloadResource = ToOwn<BufferCPU>(payload, "buffer").GetResource();
    mList.Record([keysResource, payloadResource, count] {
        const auto words = [count](const BufferResource& buffer) {
            return std::span(reinterpret_cast<std::uint32_t*>(buffer.Bytes().data()), count);
        };
        cpu::Sort(words(*keysResource), words(*payloadResource));
    });
}

}  // namespace zeb::render::cpu
