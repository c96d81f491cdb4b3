#include <fmt/format.h>

#include "Encoders.h"

namespace zeb::render {

void ComputeCommandEncoderVulkan::SetPipelineState(ComputePipelineState& state) {
    CheckOpen();
    mPipeline = ToVulkan(state).GetResource();
}

void ComputeCommandEncoderVulkan::Dispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                                           std::uint32_t, std::uint32_t, std::uint32_t) {
    CheckOpen();
    if (!mPipeline) ZEB_RENDER_THROW("A dispatch of the command list \"{}\" has no pipeline", mList.GetName());
    if (groupsX == 0 || groupsY == 0 || groupsZ == 0) return;
    const PipelineLayout& layout = *mPipeline->mLayout;
    const auto& limits = mList.GetContext()->Limits().maxComputeWorkGroupCount;
    if (groupsX > limits[0] || groupsY > limits[1] || groupsZ > limits[2]) {
        ZEB_RENDER_THROW("{} x {} x {} groups of \"{}\" are more than the device's limit of {} x {} x {}", groupsX,
                         groupsY, groupsZ, layout.GetName(), limits[0], limits[1], limits[2]);
    }
    PendingUse use;
    mArguments.AddUses(layout, use);
    mList.Commit(use);
    mList.GetUses().Keep(mPipeline);
    const VkCommandBuffer commands = mList.GetCommandBuffer();
    mList.Api().vkCmdBindPipeline(commands, VK_PIPELINE_BIND_POINT_COMPUTE, mPipeline->mPipeline);
    mArguments.Push(mList, layout, VK_PIPELINE_BIND_POINT_COMPUTE);
    mList.Api().vkCmdDispatch(commands, groupsX, groupsY, groupsZ);
}

}  // namespace zeb::render
