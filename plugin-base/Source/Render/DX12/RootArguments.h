#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CommandList.h"
#include "DescriptorHeap.h"
#include "RootSignature.h"

namespace zeb::render {

/// What is bound to a root signature's parameters while an encoder records. The native calls are made at once, but for
/// tables, whose ranges may move until the draw or dispatch; this remembers which resources that will use.
class RootArguments {
public:
    /// Another signature than the one set before empties all arguments.
    void SetSignature(const RootSignatureDX12& signature);
    void SetTable(std::uint32_t parameter, DescriptorRangeDX12& range, std::uint32_t index);
    void SetBuffer(std::uint32_t parameter, const std::shared_ptr<ResourceDX12>& buffer);

    /// The states that the resources must be in; read by `reading` stages. Throws for a table whose descriptors do not
    /// fit the signature, with the pipeline's name.
    void AddNeeds(const std::string& pipeline, D3D12_RESOURCE_STATES reading, PendingStates& states) const;
    /// Has `bind` make the native call for each table that lies elsewhere than at the last draw or dispatch, and `list`
    /// keep them.
    template <class Bind>
    void BindTables(CommandListDX12& list, Bind&& bind) {
        for (std::size_t i = 0; i < mArguments.size(); ++i) {
            Argument& argument = mArguments[i];
            if (argument.mRange == nullptr) continue;
            list.Keep(argument.mRange->GetRun());
            const D3D12_GPU_DESCRIPTOR_HANDLE handle = argument.mRange->GetGpuHandle(argument.mIndex);
            if (handle.ptr != std::exchange(argument.mBound, handle.ptr)) bind(static_cast<UINT>(i), handle);
        }
    }

private:
    struct Argument {
        std::shared_ptr<ResourceDX12> mBuffer;
        DescriptorRangeDX12* mRange = nullptr;
        std::uint32_t mIndex = 0;
        UINT64 mBound = 0;  ///< where the list has the table
    };
    void AddTable(const std::string& pipeline, std::uint32_t parameter, D3D12_RESOURCE_STATES reading,
                  PendingStates& states) const;

    const RootSignatureDX12* mSignature = nullptr;
    std::vector<Argument> mArguments;
};

}  // namespace zeb::render
