#pragma once

#include <vector>

#include "PluginBase/Render/Objects.h"
#include "VulkanApi.h"

namespace zeb::render {

/// Where registers of each kind begin among the bindings of set 0; the programs are compiled with the same shifts.
enum BindingShift : std::uint32_t {
    kConstantBufferShift = 0,
    kReadOnlyShift = 32,
    kReadWriteShift = 64,
    kSamplerShift = 96,
};

/// A parameter as Vulkan has it. A table covers several bindings, every other kind one.
struct RootBindings {
    VkShaderStageFlags mStages;
    std::vector<std::uint32_t> mBindings;  ///< in the order of the table's descriptors
};

class RootSignatureVulkan final : public RootSignature {
public:
    using RootSignature::RootSignature;

    /// One for each parameter.
    const std::vector<RootBindings>& GetBindings() const { return mBindings; }

protected:
    void DoAddParameter(const RootParameter& parameter) override;

private:
    std::vector<RootBindings> mBindings;
};

}  // namespace zeb::render
