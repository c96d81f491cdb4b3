#include "PluginBase/RenderUtils/MultiformatGraphicsPipelineState.h"

#include <utility>

#include <fmt/format.h>

namespace zeb::render {

MultiformatGraphicsPipelineState::MultiformatGraphicsPipelineState(Device& device, std::string name,
                                                                   GraphicsPipelineDescription description)
    : mDevice(device), mName(std::move(name)), mDescription(std::move(description)) {}

GraphicsPipelineState& MultiformatGraphicsPipelineState::Get(Format format) {
    const auto key = static_cast<std::uint8_t>(format);
    const auto found = mStates.find(key);
    if (found != mStates.end()) return *found->second;
    GraphicsPipelineDescription description = mDescription;
    description.mRenderTargetFormats[0] = format;
    auto state = mDevice.CreateGraphicsPipelineState(fmt::format("{}_{}", mName, static_cast<std::uint32_t>(format)),
                                                     description);
    return *mStates.emplace(key, std::move(state)).first->second;
}

}  // namespace zeb::render
