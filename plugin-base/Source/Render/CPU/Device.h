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

    bool CanCapture() const override { return false; }
    // There is no debugger to tell.
    void BeginCapture() override {}
    void EndCapture() override {}
    // There are no waves, and a group is a loop: programs are chosen that need neither waves nor barriers.
    std::uint32_t GetWaveLaneCount() const override { return 0; }
    bool AreGroupBarriersCostly() const override { return true; }

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
    oneapi::tbb::task_scheduler_handle mThreads;
    std::shared_ptr<const DeviceReport> mReport;
};

}  // namespace zeb::render::cpu
