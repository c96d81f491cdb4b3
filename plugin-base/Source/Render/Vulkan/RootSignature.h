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

enum class RootParameterKind : std::uint32_t { Table, Constants, ConstantBuffer, ReadOnlyBuffer, ReadWriteBuffer };

/// One parameter. A table covers several bindings, every other kind one.
struct RootParameter {
    RootParameterKind mKind;
    VkShaderStageFlags mStages;
    std::vector<std::uint32_t> mBindings;  ///< in the order of the table's descriptors
    std::uint32_t mConstantCount = 0;      ///< 32-bit words, for root constants
};

class RootSignatureVulkan final : public RootSignature {
public:
    using RootSignature::RootSignature;
    void AddDescriptorTable(const std::vector<DescriptorTableRange>& ranges, ShaderVisibility visibility) override;
    void AddRootConstants(std::uint32_t count, std::uint32_t shaderRegister, std::uint32_t space) override;
    void AddRootConstantBufferView(std::uint32_t shaderRegister, std::uint32_t space) override;
    void AddRootShaderResourceBufferView(std::uint32_t shaderRegister, std::uint32_t space) override;
    void AddRootUnorderedAccessBufferView(std::uint32_t shaderRegister, std::uint32_t space) override;

    const std::vector<RootParameter>& GetParameters() const { return mParameters; }

private:
    void AddRoot(RootParameterKind kind, std::uint32_t shift, std::uint32_t shaderRegister, std::uint32_t space,
                 std::uint32_t constantCount = 0);
    std::uint32_t ToBinding(std::uint32_t shift, std::uint32_t shaderRegister) const;

    std::vector<RootParameter> mParameters;
};

}  // namespace zeb::render
