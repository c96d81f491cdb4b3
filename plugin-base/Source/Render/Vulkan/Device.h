#pragma once

#include <memory>

#include "DeviceContext.h"
#include "PluginBase/Render/Device.h"

namespace zeb::render {

class DeviceVulkan final : public Device {
public:
    DeviceVulkan(std::shared_ptr<DeviceContext> context, std::string name, const DescriptorHeapSizes& heapSizes);
    ~DeviceVulkan() override { ReleaseThreadData(); }

    UniquePtr<RootSignature> CreateRootSignature(std::string name) override;
    UniquePtr<Buffer> CreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                   BufferState initialState, BufferUsage usage) override;
    UniquePtr<Texture> CreateTexture(std::string name, const TextureDescription& description, std::uint32_t reserved,
                                     TextureState initialState) override;
    UniquePtr<Sampler> CreateSampler(std::string name, const SamplerDescription& description) override;
    UniquePtr<ShaderLibrary> CreateShaderLibraryFromSource(std::string name, std::string source,
                                                           std::string options) override;
    UniquePtr<ShaderLibrary> CreateShaderLibraryFromEmbeddedData(std::string name) override;
    UniquePtr<DescriptorHeap> CreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                   std::int32_t count) override;
    void CreateConstantBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer, std::uint64_t byteOffset,
                                  std::uint32_t sizeInBytes) override;
    void CreateShaderResourceBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                        std::uint64_t firstElement, std::uint32_t elementCount,
                                        std::uint32_t stride) override;
    void CreateUnorderedAccessBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                         std::uint64_t firstElement, std::uint32_t elementCount,
                                         std::uint32_t stride) override;
    void CreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture) override;
    void CreateUnorderedAccessTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture) override;
    void CreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) override;
    void CreateRenderTargetView(DescriptorRange& range, std::uint32_t index, Texture& texture) override;
    UniquePtr<GraphicsPipelineState> CreateGraphicsPipelineState(
        std::string name, const GraphicsPipelineDescription& description) override;
    UniquePtr<ComputePipelineState> CreateComputePipelineState(std::string name,
                                                               const ComputePipelineDescription& description) override;
    bool CanCapture() const override { return false; }
    // There is no debugger to tell.
    void BeginCapture() override {}
    void EndCapture() override {}
    UniquePtr<CommandQueue> CreateCommandQueue(std::string name) override;
    std::uint32_t GetWaveLaneCount() const override { return mContext->GetWaveLaneCount(); }
    // Programs of a software device run group by group on one core, where each barrier switches through all threads.
    bool AreGroupBarriersCostly() const override { return mContext->IsSoftware(); }

    const std::shared_ptr<DeviceContext>& GetContext() const { return mContext; }

private:
    std::shared_ptr<DeviceContext> mContext;
};

}  // namespace zeb::render
