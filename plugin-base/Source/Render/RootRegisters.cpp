#include "RootRegisters.h"

#include <array>

#include "EnumTable.h"

namespace zeb::render {
namespace {

RegisterKind GetKind(DescriptorRangeType type) {
    switch (type) {
        case DescriptorRangeType::Texture:
        case DescriptorRangeType::Buffer: return RegisterKind::ReadOnly;
        case DescriptorRangeType::UnorderedAccessTexture:
        case DescriptorRangeType::UnorderedAccessBuffer: return RegisterKind::ReadWrite;
        case DescriptorRangeType::ConstantBuffer: return RegisterKind::Constants;
        default: return RegisterKind::Sampler;
    }
}

/// Of every kind but a table.
RegisterKind GetKind(RootParameterKind kind) {
    switch (kind) {
        case RootParameterKind::ReadOnlyBuffer: return RegisterKind::ReadOnly;
        case RootParameterKind::ReadWriteBuffer: return RegisterKind::ReadWrite;
        default: return RegisterKind::Constants;
    }
}

/// The register's descriptor in a table, counted over all its ranges.
std::optional<std::uint32_t> FindTableSlot(const RootParameter& table, RegisterKind kind, std::uint32_t number) {
    std::uint32_t slot = 0;
    for (const DescriptorTableRange& range : table.mRanges) {
        const bool isInside = number >= range.mRegister && number - range.mRegister < range.mCount;
        if (GetKind(range.mType) == kind && isInside) return slot + (number - range.mRegister);
        slot += range.mCount;
    }
    return std::nullopt;
}

}  // namespace

std::string GetRegisterName(RegisterKind kind, std::uint32_t number) {
    constexpr std::array kLetters = {'b', 't', 'u', 's'};
    return fmt::format("{}{}", kLetters[static_cast<std::size_t>(kind)], number);
}

std::optional<RegisterPlace> FindPlace(const RootSignature& signature, RegisterKind kind, std::uint32_t number,
                                       bool isTexture, const std::function<bool(ShaderVisibility)>& isSeen) {
    const std::vector<RootParameter>& parameters = signature.GetParameters();
    for (std::uint32_t i = 0; i < parameters.size(); ++i) {
        const RootParameter& parameter = parameters[i];
        if (!isSeen(parameter.mVisibility)) continue;
        if (parameter.mKind == RootParameterKind::Table) {
            if (const auto slot = FindTableSlot(parameter, kind, number)) return RegisterPlace{i, *slot, number};
        } else if (!isTexture && GetKind(parameter.mKind) == kind && parameter.mRegister == number) {
            return RegisterPlace{i, 0, number};
        }
    }
    return std::nullopt;
}

void CheckRootParameter(const RootParameter& parameter, const std::string& signature) {
    if (parameter.mSpace != 0) {
        ZEB_RENDER_THROW("The root signature \"{}\" uses register space {}, this device has only 0", signature,
                         parameter.mSpace);
    }
    CheckEnumeration(parameter.mVisibility, ShaderVisibility::Pixel, "shader visibility");
    for (const DescriptorTableRange& range : parameter.mRanges)
        CheckEnumeration(range.mType, DescriptorRangeType::Sampler, "descriptor range type");
}

}  // namespace zeb::render
