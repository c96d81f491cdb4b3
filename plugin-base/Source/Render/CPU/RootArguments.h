#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Render/CPU/DescriptorHeap.h"
#include "Render/CPU/Pipelines.h"

namespace zeb::render::cpu {

/// Everything that one dispatch or draw reads and writes, as it stood when the work was recorded.
struct BoundWork {
    std::shared_ptr<const Pipeline> mPipeline;
    Bindings mBindings;
    std::vector<std::shared_ptr<const void>> mKept;  ///< resources and constants that the bindings point into
};

/// The values bound to a root signature's parameters while an encoder records. What is set fits its parameter, and all
/// are set before they are used: the encoders' interface sees to that.
class RootArguments {
public:
    /// Another signature than the one set before empties all arguments.
    void SetSignature(const RootSignatureCPU& signature);
    void SetTable(std::uint32_t parameter, DescriptorRangeCPU& range, std::uint32_t index);
    void SetConstants(std::uint32_t parameter, std::uint32_t count, const void* data);
    void SetBuffer(std::uint32_t parameter, BufferCPU& buffer, std::uint64_t byteOffset);

    /// What a pipeline's registers make of the arguments. Throws for an argument that is missing or does not fit.
    /// `target`, if any, is drawn to at the same time and may not be read.
    BoundWork Bind(const std::shared_ptr<const Pipeline>& pipeline, const TextureResource* target = nullptr) const;

private:
    struct Argument {
        std::vector<std::uint32_t> mConstants;
        std::shared_ptr<BufferResource> mBuffer;
        std::uint64_t mOffset = 0;
        DescriptorRangeCPU* mRange = nullptr;
        std::uint32_t mIndex = 0;
    };

    Bindings::Slot BindRegister(const BoundRegister& bound, BoundWork& work) const;
    const Descriptor& GetDescriptor(const BoundRegister& bound) const;
    BufferView GetBufferView(const BoundRegister& bound, const Pipeline& pipeline) const;
    bool IsTable(const BoundRegister& bound) const;

    const RootSignatureCPU* mSignature = nullptr;
    std::vector<Argument> mArguments;
};

}  // namespace zeb::render::cpu
