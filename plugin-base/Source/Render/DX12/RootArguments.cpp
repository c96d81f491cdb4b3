#include "RootArguments.h"

namespace zeb::render {
namespace {

using Kind = DescriptorRecord::Kind;

Kind GetKind(DescriptorRangeType type) {
    switch (type) {
        case DescriptorRangeType::Texture:
        case DescriptorRangeType::Buffer: return Kind::Read;
        case DescriptorRangeType::UnorderedAccessTexture:
        case DescriptorRangeType::UnorderedAccessBuffer: return Kind::ReadWrite;
        case DescriptorRangeType::ConstantBuffer: return Kind::Constants;
        default: return Kind::Sampler;
    }
}

D3D12_RESOURCE_STATES GetNeed(Kind kind, D3D12_RESOURCE_STATES reading) {
    switch (kind) {
        case Kind::Constants: return D3D12_RESOURCE_STATE_VERTEX_AND_CONSTANT_BUFFER;
        case Kind::ReadWrite: return D3D12_RESOURCE_STATE_UNORDERED_ACCESS;
        default: return reading;
    }
}

}  // namespace

void RootArguments::SetSignature(const RootSignatureDX12& signature) {
    if (mSignature == &signature) return;
    mSignature = &signature;
    mArguments.assign(signature.GetParameters().size(), Argument());
}

void RootArguments::SetTable(std::uint32_t parameter, DescriptorRangeDX12& range, std::uint32_t index) {
    mArguments[parameter].mRange = &range;
    mArguments[parameter].mIndex = index;
}

void RootArguments::SetBuffer(std::uint32_t parameter, const std::shared_ptr<ResourceDX12>& buffer,
                              std::uint64_t byteOffset) {
    mArguments[parameter].mBuffer = buffer;
    mArguments[parameter].mByteOffset = byteOffset;
}

void RootArguments::AddTable(const std::string& pipeline, std::uint32_t parameter, D3D12_RESOURCE_STATES reading,
                             PendingStates& states) const {
    const Argument& argument = mArguments[parameter];
    std::uint32_t index = argument.mIndex;
    for (const DescriptorTableRange& range : mSignature->GetParameters()[parameter].mRanges) {
        const Kind wanted = GetKind(range.mType);
        for (std::uint32_t i = 0; i < range.mCount; ++i, ++index) {
            const DescriptorRecord& record = argument.mRange->GetRecord(index);
            if (record.mKind != wanted) {
                ZEB_RENDER_THROW(
                    "The pipeline \"{}\" is used, but no fitting view is bound to root parameter {} for its register "
                    "{}",
                    pipeline, parameter, range.mRegister + i);
            }
            if (record.mResource) states.Add(record.mResource, GetNeed(wanted, reading));
        }
    }
}

void RootArguments::AddNeeds(const std::string& pipeline, D3D12_RESOURCE_STATES reading, PendingStates& states) const {
    const std::vector<RootParameter>& parameters = mSignature->GetParameters();
    for (std::uint32_t i = 0; i < parameters.size(); ++i) {
        switch (parameters[i].mKind) {
            case RootParameterKind::Constants: break;
            case RootParameterKind::Table: AddTable(pipeline, i, reading, states); break;
            case RootParameterKind::ConstantBuffer:
                states.Add(mArguments[i].mBuffer, GetNeed(Kind::Constants, reading));
                break;
            case RootParameterKind::ReadOnlyBuffer:
                states.Add(mArguments[i].mBuffer, GetNeed(Kind::Read, reading));
                break;
            case RootParameterKind::ReadWriteBuffer:
                states.Add(mArguments[i].mBuffer, GetNeed(Kind::ReadWrite, reading));
                break;
        }
    }
}

}  // namespace zeb::render
