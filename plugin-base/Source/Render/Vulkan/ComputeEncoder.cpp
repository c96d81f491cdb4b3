#include <fmt/format.h>

#include "Encoders.h"
#include "PushDescriptors.h"

namespace zeb::render {

void ComputeCommandEncoderVulkan::DoSetPipelineState(ComputePipelineState& state) {
    mPipeline = ToVulkan(state).GetResource();
}

void ComputeCommandEncoderVulkan::DoDispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                                             std::uint32_t) {
    const PipelineLayout& layout = *mPipeline->mLayout;
    PendingUse use;
    AddUses(mArguments, layout, use);
    mList.Commit(use);
    mList.GetUses().Keep(mPipeline);
    const VkCommandBuffer commands = mList.GetCommandBuffer();
    mList.Api().vkCmdBindPipeline(commands, VK_PIPELINE_BIND_POINT_COMPUTE, mPipeline->mPipeline);
    PushDescriptors(mArguments, mList, layout, VK_PIPELINE_BIND_POINT_COMPUTE);
    mList.Api().vkCmdDispatch(commands, groupsX, groupsY, groupsZ);
}

}  // namespace zeb::render
