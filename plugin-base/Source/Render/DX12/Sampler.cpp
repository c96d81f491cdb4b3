#include "Sampler.h"

#include "EnumTables.h"

namespace zeb::render {

SamplerDX12::SamplerDX12(std::string name, const SamplerDescription& description) : Sampler(std::move(name)) {
    mDesc.Filter = GetFilterDX12(description);
    mDesc.AddressU = GetAddressModeDX12(description.mAddressU);
    mDesc.AddressV = GetAddressModeDX12(description.mAddressV);
    mDesc.AddressW = GetAddressModeDX12(description.mAddressW);
    mDesc.MaxAnisotropy = 1;
    mDesc.ComparisonFunc = D3D12_COMPARISON_FUNC_NEVER;
    mDesc.MaxLOD = D3D12_FLOAT32_MAX;
}

}  // namespace zeb::render
