#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "PluginBase/Render/Device.h"

namespace zeb::render {

/// One pipeline per render-target format, each made the first time its format is asked for and named
/// "{name}_{format number}". What the description refers to must outlive this object.
class MultiformatGraphicsPipelineState {
public:
    MultiformatGraphicsPipelineState(Device& device, std::string name, GraphicsPipelineDescription description);

    GraphicsPipelineState& Get(Format format);

private:
    Device& mDevice;
    std::string mName;
    GraphicsPipelineDescription mDescription;
    std::map<std::uint8_t, UniquePtr<GraphicsPipelineState>> mStates;
};

}  // namespace zeb::render
