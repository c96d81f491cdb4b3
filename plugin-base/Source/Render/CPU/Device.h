#pragma once

#include <functional>
#include <memory>
#include <string>

#include <oneapi/tbb/global_control.h>

#include "PluginBase/Render/Device.h"
#include "Render/CPU/Resources.h"

namespace zeb::render::cpu {

/// The machine's own cores as a device: programs are the functions of Programs.h, run on a pool of threads that is kept
/// between frames and shared by all threads that render. What other devices refuse is refused here with the same words.
class DeviceCPU final : public Device {
public:
    DeviceCPU(std::string name, const RenderOptions& options);
    /// Ends the pool's threads, as far as no one else uses it.
    ~DeviceCPU() override;

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
    // There are no waves, and a group is a loop: programs are chosen that need neither waves nor barriers.
    std::uint32_t GetWaveLaneCount() const override { return 0; }
    bool AreGroupBarriersCostly() const override { return true; }

private:
    oneapi::tbb::task_scheduler_handle mThreads;
    std::shared_ptr<const DeviceReport> mReport;
};

}  // namespace zeb::render::cpu
