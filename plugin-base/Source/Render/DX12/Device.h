#pragma once

#include <memory>

#include "DeviceContext.h"
#include "PluginBase/Render/Device.h"

namespace zeb::render {

class DeviceDX12 final : public Device {
public:
    DeviceDX12(std::shared_ptr<DeviceContext> context, std::string name, const DescriptorHeapSizes& heapSizes)
        : Device(std::move(name), heapSizes), mContext(std::move(context)) {}
    ~DeviceDX12() override { ReleaseThreadData(); }

    // There is no debugger to tell.
    bool CanCapture() const override { return false; }
    void BeginCapture() override {}
    void EndCapture() override {}
    std::uint32_t GetWaveLaneCount() const override { return mContext->GetWaveLaneCount(); }
    // Adapters that run in software are passed over.
    bool AreGroupBarriersCostly() const override { return false; }

    const std::shared_ptr<DeviceContext>& GetContext() const { return mContext; }

protected:
    UniquePtr<RootSignature> DoCreateRootSignature(std::string name) override;
    UniquePtr<Buffer> DoCreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                     BufferState initialState, BufferUsage usage) override;
    UniquePtr<Texture> DoCreateTexture(std::string name, const TextureDescription& description,
                                       TextureState initialState) override;
    UniquePtr<Sampler> DoCreateSampler(std::string name, const SamplerDescription& description) override;
    UniquePtr<ShaderLibrary> DoCreateShaderLibraryFromEmbeddedData(std::string name) override;
    UniquePtr<DescriptorHeap> DoCreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                     std::int32_t count) override;
    void DoCreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                            const BufferViewDescription& view) override;
    void DoCreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture,
                             TextureViewKind kind) override;
    void DoCreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) override;
    UniquePtr<GraphicsPipelineState> DoCreateGraphicsPipelineState(
        std::string name, const GraphicsPipelineDescription& description) override;
    UniquePtr<ComputePipelineState> DoCreateComputePipelineState(
        std::string name, const ComputePipelineDescription& description) override;
    UniquePtr<CommandQueue> DoCreateCommandQueue(std::string name) override;

private:
    std::shared_ptr<DeviceContext> mContext;
};

}  // namespace zeb::render
