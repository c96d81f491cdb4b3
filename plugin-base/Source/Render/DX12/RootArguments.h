#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "CommandList.h"
#include "DescriptorHeap.h"
#include "RootSignature.h"

namespace zeb::render {

/// What is bound to a root signature's parameters while an encoder records: the native calls are made at once, this
/// remembers which resources a draw or dispatch will use.
class RootArguments {
public:
    /// Another signature than the one set before empties all arguments.
    void SetSignature(const RootSignatureDX12& signature);
    void SetTable(std::uint32_t parameter, DescriptorRangeDX12& range, std::uint32_t index);
    void SetBuffer(std::uint32_t parameter, const std::shared_ptr<ResourceDX12>& buffer);

    /// The states that the resources must be in; read by `reading` stages. Throws for a table whose descriptors do not
    /// fit the signature, with the pipeline's name.
    void AddNeeds(const std::string& pipeline, D3D12_RESOURCE_STATES reading, PendingStates& states) const;

private:
    struct Argument {
        std::shared_ptr<ResourceDX12> mBuffer;
        DescriptorRangeDX12* mRange = nullptr;
        std::uint32_t mIndex = 0;
    };
    void AddTable(const std::string& pipeline, std::uint32_t parameter, D3D12_RESOURCE_STATES reading,
                  PendingStates& states) const;

    const RootSignatureDX12* mSignature = nullptr;
    std::vector<Argument> mArguments;
};

}  // namespace zeb::render
