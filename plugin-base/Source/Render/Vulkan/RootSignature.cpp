#include "RootSignature.h"

#include <array>

#include <fmt/format.h>

#include "EnumTables.h"

namespace zeb::render {
namespace {

// By DescriptorRangeType.
constexpr std::array<std::uint32_t, 6> kRangeShifts = {kReadOnlyShift,  kReadOnlyShift,       kReadWriteShift,
                                                       kReadWriteShift, kConstantBufferShift, kSamplerShift};

// By RootParameterKind, but for tables.
constexpr std::array<std::uint32_t, 5> kParameterShifts = {0, kConstantBufferShift, kConstantBufferShift,
                                                           kReadOnlyShift, kReadWriteShift};

}  // namespace

void RootSignatureVulkan::DoAddParameter(const RootParameter& parameter) {
    RootBindings native = {GetShaderStagesVulkan(parameter.mVisibility), {}};
    if (parameter.mKind != RootParameterKind::Table)
        native.mBindings.push_back(kParameterShifts[static_cast<std::size_t>(parameter.mKind)] + parameter.mRegister);
    for (const DescriptorTableRange& range : parameter.mRanges) {
        const auto type = static_cast<std::uint32_t>(range.mType);
        if (type >= kRangeShifts.size())
            ZEB_RENDER_THROW("Failed to get the Vulkan descriptor range type for the value of {}", type);
        for (std::uint32_t i = 0; i < range.mCount; ++i)
            native.mBindings.push_back(kRangeShifts[type] + range.mRegister + i);
    }
    mBindings.push_back(std::move(native));
}

}  // namespace zeb::render
