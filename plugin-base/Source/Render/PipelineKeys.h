#pragma once

#include <string>

#include "PluginBase/Render/Objects.h"
#include "SharedObjects.h"

/// What native objects are made from, for threads that want them alike. Names belong to it, since failures tell them.
namespace zeb::render {

ObjectKey MakeKey(const RootSignature& signature);
ObjectKey MakeKey(const std::string& name, const GraphicsPipelineDescription& description);
ObjectKey MakeKey(const std::string& name, const ComputePipelineDescription& description);

}  // namespace zeb::render
