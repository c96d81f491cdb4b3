#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "CommandList.h"
#include "DescriptorHeap.h"
#include "RootSignature.h"

namespace zeb::render {

/// What is bound to a root signature's parameters while an encoder records. The native calls for root constants are
/// made at once, those for tables and buffers with each draw or dispatch, behind its barriers: a table's range may move
/// until then, and Direct3D allows data to change before it is bound, not from then to its use.
class RootArguments {
public:
    /// Another signature than the one set before empties all arguments.
    void SetSignature(const RootSignatureDX12& signature);
    void SetTable(std::uint32_t parameter, DescriptorRangeDX12& range, std::uint32_t index);
    void SetBuffer(std::uint32_t parameter, const std::shared_ptr<ResourceDX12>& buffer, std::uint64_t byteOffset);

    /// The states that the resources must be in; read by `reading` stages. Throws for a table whose descriptors do not
    /// fit the signature, with the pipeline's name.
    void AddNeeds(const std::string& pipeline, D3D12_RESOURCE_STATES reading, PendingStates& states) const;
    /// Has `bindTable` and `bindBuffer` make the native call for each table and each buffer, and `list` keep the
    /// tables.
    template <class BindTable, class BindBuffer>
    void Bind(CommandListDX12& list, BindTable&& bindTable, BindBuffer&& bindBuffer) const {
        for (std::uint32_t i = 0; i < mArguments.size(); ++i) {
            const Argument& argument = mArguments[i];
            if (argument.mRange != nullptr) {
                list.Keep(argument.mRange->GetRun());
                bindTable(i, argument.mRange->GetGpuHandle(argument.mIndex));
            } else if (argument.mBuffer) {
                bindBuffer(i, mSignature->GetParameters()[i].mKind,
                           argument.mBuffer->mResource->GetGPUVirtualAddress() + argument.mByteOffset);
            }
        }
    }

private:
    struct Argument {
        std::shared_ptr<ResourceDX12> mBuffer;
        std::uint64_t mByteOffset = 0;
        DescriptorRangeDX12* mRange = nullptr;
        std::uint32_t mIndex = 0;
    };
    void AddTable(const std::string& pipeline, std::uint32_t parameter, D3D12_RESOURCE_STATES reading,
                  PendingStates& states) const;

    const RootSignatureDX12* mSignature = nullptr;
    std::vector<Argument> mArguments;
};

}  // namespace zeb::render
