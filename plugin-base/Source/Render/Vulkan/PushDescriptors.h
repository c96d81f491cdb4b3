#pragma once

#include "Classes.h"
#include "CommandList.h"
#include "PipelineLayout.h"
#include "RootArguments.h"

/// The way of an encoder's arguments into a pipeline's bindings. Both throw for an argument that is missing or does
/// not fit.
namespace zeb::render {

void AddUses(const RootArgumentsOf<ClassesVulkan>& arguments, const PipelineLayout& layout, PendingUse& use);

/// Records the descriptors, pushed or in a set of the list's own, and what is left of buffer offsets.
void PushDescriptors(const RootArgumentsOf<ClassesVulkan>& arguments, CommandListVulkan& list,
                     const PipelineLayout& layout, VkPipelineBindPoint bindPoint);

}  // namespace zeb::render
