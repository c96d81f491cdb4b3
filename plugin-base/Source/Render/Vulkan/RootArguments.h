#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "CommandList.h"
#include "DescriptorHeap.h"
#include "PipelineLayout.h"
#include "RootSignature.h"

namespace zeb::render {

/// The values bound to a root signature's parameters while an encoder records, and their way into push descriptors.
/// What is set fits its parameter, and all are set before they are used: the encoders' interface sees to that.
class RootArguments {
public:
    /// Another signature than the one set before empties all arguments.
    void SetSignature(const RootSignatureVulkan& signature);
    void SetTable(std::uint32_t parameter, DescriptorRangeVulkan& range, std::uint32_t index);
    void SetConstants(std::uint32_t parameter, std::uint32_t count, const void* data);
    void SetBuffer(std::uint32_t parameter, BufferVulkan& buffer, std::uint64_t byteOffset);

    /// What a pipeline's bindings make of the arguments. Throws for an argument that is missing or does not fit.
    void AddUses(const PipelineLayout& layout, PendingUse& use) const;
    /// Records the push of descriptors and buffer offsets.
    void Push(CommandListVulkan& list, const PipelineLayout& layout, VkPipelineBindPoint bindPoint);

private:
    struct Argument {
        std::vector<std::uint32_t> mConstants;
        std::optional<UniformSlice> mUploaded;  ///< the constants as they stand in the list's ring
        std::shared_ptr<BufferResource> mBuffer;
        std::uint64_t mOffset = 0;
        DescriptorRangeVulkan* mRange = nullptr;
        std::uint32_t mIndex = 0;
    };
    class Writer;

    BufferView GetBufferView(const PipelineLayout& layout, const PipelineBinding& binding) const;
    const Descriptor& GetDescriptor(const PipelineBinding& binding) const;
    const TextureView& GetTextureView(const PipelineLayout& layout, const PipelineBinding& binding) const;
    bool IsConstants(const PipelineBinding& binding) const;

    const RootSignatureVulkan* mSignature = nullptr;
    std::vector<Argument> mArguments;
};

}  // namespace zeb::render
