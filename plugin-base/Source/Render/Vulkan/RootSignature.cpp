#include "RootSignature.h"

#include <array>

#include <fmt/format.h>

#include "EnumTables.h"

namespace zeb::render {
namespace {

constexpr std::uint32_t kRegistersPerKind = 32;

// By DescriptorRangeType.
constexpr std::array<std::uint32_t, 6> kRangeShifts = {kReadOnlyShift,  kReadOnlyShift,       kReadWriteShift,
                                                       kReadWriteShift, kConstantBufferShift, kSamplerShift};

constexpr VkShaderStageFlags kAllStages =
    VK_SHADER_STAGE_VERTEX_BIT | VK_SHADER_STAGE_FRAGMENT_BIT | VK_SHADER_STAGE_COMPUTE_BIT;

}  // namespace

std::uint32_t RootSignatureVulkan::ToBinding(std::uint32_t shift, std::uint32_t shaderRegister) const {
    if (shaderRegister >= kRegistersPerKind) {
        ZEB_RENDER_THROW("The root signature \"{}\" uses register {}, the highest is {}", GetName(), shaderRegister,
                         kRegistersPerKind - 1);
    }
    return shift + shaderRegister;
}

void RootSignatureVulkan::AddDescriptorTable(const std::vector<DescriptorTableRange>& ranges,
                                             ShaderVisibility visibility) {
    RootParameter parameter = {RootParameterKind::Table, GetShaderStagesVulkan(visibility), {}};
    for (const DescriptorTableRange& range : ranges) {
        const auto type = static_cast<std::uint32_t>(range.mType);
        if (type >= kRangeShifts.size())
            ZEB_RENDER_THROW("Failed to get the Vulkan descriptor range type for the value of {}", type);
        for (std::uint32_t i = 0; i < range.mCount; ++i)
            parameter.mBindings.push_back(ToBinding(kRangeShifts[type], range.mRegister + i));
    }
    mParameters.push_back(std::move(parameter));
}

void RootSignatureVulkan::AddRoot(RootParameterKind kind, std::uint32_t shift, std::uint32_t shaderRegister,
                                  std::uint32_t space, std::uint32_t constantCount) {
    if (space != 0)
        ZEB_RENDER_THROW("The root signature \"{}\" uses register space {}, only 0 exists", GetName(), space);
    mParameters.push_back({kind, kAllStages, {ToBinding(shift, shaderRegister)}, constantCount});
}

void RootSignatureVulkan::AddRootConstants(std::uint32_t count, std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::Constants, kConstantBufferShift, shaderRegister, space, count);
}

void RootSignatureVulkan::AddRootConstantBufferView(std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::ConstantBuffer, kConstantBufferShift, shaderRegister, space);
}

void RootSignatureVulkan::AddRootShaderResourceBufferView(std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::ReadOnlyBuffer, kReadOnlyShift, shaderRegister, space);
}

void RootSignatureVulkan::AddRootUnorderedAccessBufferView(std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::ReadWriteBuffer, kReadWriteShift, shaderRegister, space);
}

}  // namespace zeb::render
