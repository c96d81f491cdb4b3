#pragma once

#include <memory>

#include "DeviceContext.h"
#include "DeviceOf.h"

namespace zeb::render {

class BufferDX12;
class CommandQueueDX12;
class ComputePipelineStateDX12;
class DescriptorHeapDX12;
class GraphicsPipelineStateDX12;
class RootSignatureDX12;
class SamplerDX12;
class TextureDX12;

struct ClassesDX12 {
    using Context = std::shared_ptr<DeviceContext>;
    using RootSignatureObject = RootSignatureDX12;
    using BufferObject = BufferDX12;
    using TextureObject = TextureDX12;
    using SamplerObject = SamplerDX12;
    using DescriptorHeapObject = DescriptorHeapDX12;
    using GraphicsPipelineObject = GraphicsPipelineStateDX12;
    using ComputePipelineObject = ComputePipelineStateDX12;
    using CommandQueueObject = CommandQueueDX12;
};

class DeviceDX12 final : public DeviceOf<ClassesDX12> {
public:
    DeviceDX12(std::shared_ptr<DeviceContext> context, std::string name, const DescriptorHeapSizes& heapSizes);
    ~DeviceDX12() override;

    std::uint32_t GetWaveLaneCount() const override { return GetContext()->GetWaveLaneCount(); }
    // Adapters that run in software are passed over.
    bool AreGroupBarriersCostly() const override { return false; }

protected:
    UniquePtr<ShaderLibrary> DoCreateShaderLibraryFromEmbeddedData(std::string name) override;
    void DoCreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                            const BufferViewDescription& view) override;
    void DoCreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture,
                             TextureViewKind kind) override;
    void DoCreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) override;
};

}  // namespace zeb::render
