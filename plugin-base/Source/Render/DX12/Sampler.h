#pragma once

#include "DX12Api.h"
#include "PluginBase/Render/Objects.h"

namespace zeb::render {

/// A description: the native sampler is the descriptor that a view of it writes.
class SamplerDX12 final : public Sampler {
public:
    SamplerDX12(std::string name, const SamplerDescription& description);
    const D3D12_SAMPLER_DESC& GetDesc() const { return mDesc; }

private:
    D3D12_SAMPLER_DESC mDesc = {};
};

}  // namespace zeb::render
