#include "RootSignature.h"

#include <array>

#include "EnumTables.h"
#include "PipelineKeys.h"

namespace zeb::render {
namespace {

// By RootParameterKind.
constexpr std::array kParameterTypes = {D3D12_ROOT_PARAMETER_TYPE_DESCRIPTOR_TABLE,
                                        D3D12_ROOT_PARAMETER_TYPE_32BIT_CONSTANTS, D3D12_ROOT_PARAMETER_TYPE_CBV,
                                        D3D12_ROOT_PARAMETER_TYPE_SRV, D3D12_ROOT_PARAMETER_TYPE_UAV};

const D3D12_ROOT_SIGNATURE_FLAGS kFlags = D3D12_ROOT_SIGNATURE_FLAG_ALLOW_INPUT_ASSEMBLER_INPUT_LAYOUT |
                                          D3D12_ROOT_SIGNATURE_FLAG_DENY_HULL_SHADER_ROOT_ACCESS |
                                          D3D12_ROOT_SIGNATURE_FLAG_DENY_DOMAIN_SHADER_ROOT_ACCESS |
                                          D3D12_ROOT_SIGNATURE_FLAG_DENY_GEOMETRY_SHADER_ROOT_ACCESS;

// A description for devices that know version 1.0 only: the same without the flags of ranges and descriptors.
struct DescriptionOf10 {
    explicit DescriptionOf10(const std::vector<D3D12_ROOT_PARAMETER1>& parameters) : mRanges(parameters.size()) {
        for (std::size_t i = 0; i < parameters.size(); ++i) mParameters.push_back(Convert(parameters[i], mRanges[i]));
    }

    static D3D12_ROOT_PARAMETER Convert(const D3D12_ROOT_PARAMETER1& from,
                                        std::vector<D3D12_DESCRIPTOR_RANGE>& ranges) {
        D3D12_ROOT_PARAMETER to = {};
        to.ParameterType = from.ParameterType;
        to.ShaderVisibility = from.ShaderVisibility;
        if (from.ParameterType == D3D12_ROOT_PARAMETER_TYPE_32BIT_CONSTANTS) {
            to.Constants = from.Constants;
        } else if (from.ParameterType != D3D12_ROOT_PARAMETER_TYPE_DESCRIPTOR_TABLE) {
            to.Descriptor = {from.Descriptor.ShaderRegister, from.Descriptor.RegisterSpace};
        } else {
            const D3D12_ROOT_DESCRIPTOR_TABLE1& table = from.DescriptorTable;
            for (UINT i = 0; i < table.NumDescriptorRanges; ++i) {
                const D3D12_DESCRIPTOR_RANGE1& range = table.pDescriptorRanges[i];
                ranges.push_back({range.RangeType, range.NumDescriptors, range.BaseShaderRegister, range.RegisterSpace,
                                  range.OffsetInDescriptorsFromTableStart});
            }
            to.DescriptorTable = {table.NumDescriptorRanges, ranges.data()};
        }
        return to;
    }

    std::vector<std::vector<D3D12_DESCRIPTOR_RANGE>> mRanges;
    std::vector<D3D12_ROOT_PARAMETER> mParameters;
};

}  // namespace

void RootSignatureDX12::DoAddParameter(const RootParameter& parameter) {
    NativeParameter native = {};
    native.mParameter.ParameterType = kParameterTypes[static_cast<std::size_t>(parameter.mKind)];
    native.mParameter.ShaderVisibility = GetShaderVisibilityDX12(parameter.mVisibility);
    if (parameter.mKind == RootParameterKind::Constants)
        native.mParameter.Constants = {parameter.mRegister, parameter.mSpace, parameter.mConstantCount};
    else if (parameter.mKind != RootParameterKind::Table)
        native.mParameter.Descriptor = {parameter.mRegister, parameter.mSpace, D3D12_ROOT_DESCRIPTOR_FLAG_NONE};
    for (const DescriptorTableRange& range : parameter.mRanges) {
        native.mRanges.push_back({GetDescriptorRangeTypeDX12(range.mType), range.mCount, range.mRegister, 0,
                                  D3D12_DESCRIPTOR_RANGE_FLAG_NONE, D3D12_DESCRIPTOR_RANGE_OFFSET_APPEND});
    }
    mNative.push_back(std::move(native));
}

ComPointer<ID3DBlob> RootSignatureDX12::Serialize() const {
    std::vector<D3D12_ROOT_PARAMETER1> parameters;
    for (const NativeParameter& native : mNative) {
        parameters.push_back(native.mParameter);
        if (native.mParameter.ParameterType == D3D12_ROOT_PARAMETER_TYPE_DESCRIPTOR_TABLE)
            parameters.back().DescriptorTable = {static_cast<UINT>(native.mRanges.size()), native.mRanges.data()};
    }
    D3D12_VERSIONED_ROOT_SIGNATURE_DESC desc = {};
    const DescriptionOf10 old(parameters);
    if (mContext->GetRootSignatureVersion() >= D3D_ROOT_SIGNATURE_VERSION_1_1) {
        desc.Version = D3D_ROOT_SIGNATURE_VERSION_1_1;
        desc.Desc_1_1 = {static_cast<UINT>(parameters.size()), parameters.data(), 0, nullptr, kFlags};
    } else {
        desc.Version = D3D_ROOT_SIGNATURE_VERSION_1_0;
        desc.Desc_1_0 = {static_cast<UINT>(old.mParameters.size()), old.mParameters.data(), 0, nullptr, kFlags};
    }
    ComPointer<ID3DBlob> signature;
    ComPointer<ID3DBlob> error;
    const HRESULT result = GetDX12Api().D3D12SerializeVersionedRootSignature(&desc, signature.ReleaseAndGetAddressOf(),
                                                                             error.ReleaseAndGetAddressOf());
    if (FAILED(result)) {
        const std::string message = error ? std::string(static_cast<const char*>(error->GetBufferPointer()))
                                          : GetFailureText(result, mContext.get());
        ZEB_RENDER_THROW("Failed to serialize the root signature \"{}\": {}", GetName(), message);
    }
    return signature;
}

std::shared_ptr<RootSignatureResource> RootSignatureDX12::Compile() const {
    const ComPointer<ID3DBlob> signature = Serialize();
    auto resource = std::make_shared<RootSignatureResource>();
    ZEB_DX12_CHECK_TEXT(
        mContext->Get()->CreateRootSignature(0, signature->GetBufferPointer(), signature->GetBufferSize(),
                                             IID_PPV_ARGS(resource->mRootSignature.ReleaseAndGetAddressOf())),
        "mDevice.CreateRootSignature(0, signature->GetBufferPointer(), signature->GetBufferSize(), "
        "IID_PPV_ARGS(&mRootSignature))",
        mContext.get());
    SetNativeName(resource->mRootSignature.Get(), GetName());
    return resource;
}

ID3D12RootSignature* RootSignatureDX12::CompileAndGet() {
    if (!mResource) mResource = mContext->RootSignatures().Get(MakeKey(*this), [this] { return Compile(); });
    return mResource->mRootSignature.Get();
}

RootSignatureDX12& ToDX12(RootSignature& signature) { return ToOwn<RootSignatureDX12>(signature, "root signature"); }

}  // namespace zeb::render
