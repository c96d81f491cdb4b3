#include "Render/CPU/Device.h"

#include <new>

#include "Render/CPU/CommandQueue.h"
#include "Render/CPU/DescriptorHeap.h"
#include "Render/CPU/Pipelines.h"
#include "Render/ShaderLibrary.h"

namespace zeb::render::cpu {
DeviceCPU::DeviceCPU(std::string name, const RenderOptions& options)
    : Device(std::move(name), options.mHeapSizes),
      mThreads(oneapi::tbb::attach{}),
      mReport(std::make_shared<DeviceReport>(options.mReportValidation)) {
    RegisterFrameworkPrograms();
}

DeviceCPU::~DeviceCPU() {
    ReleaseThreadData();
    oneapi::tbb::finalize(mThreads, std::nothrow);
}

UniquePtr<RootSignature> DeviceCPU::DoCreateRootSignature(std::string name) {
    return MakeUnique<RootSignatureCPU>(std::move(name));
}

UniquePtr<Buffer> DeviceCPU::DoCreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                            BufferState initialState, BufferUsage usage) {
    return MakeUnique<BufferCPU>(mReport, std::move(name), sizeInBytes, memory, initialState, usage);
}

UniquePtr<Texture> DeviceCPU::DoCreateTexture(std::string name, const TextureDescription& description,
                                              TextureState initialState) {
    return MakeUnique<TextureCPU>(std::move(name), description, initialState);
}

UniquePtr<Sampler> DeviceCPU::DoCreateSampler(std::string name, const SamplerDescription& description) {
    return MakeUnique<SamplerCPU>(std::move(name), description);
}

UniquePtr<ShaderLibrary> DeviceCPU::DoCreateShaderLibraryFromEmbeddedData(std::string name) {
    return MakeUnique<ShaderLibraryCPU>(std::move(name));
}

UniquePtr<DescriptorHeap> DeviceCPU::DoCreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                            std::int32_t count) {
    return MakeUnique<DescriptorHeapCPU>(std::move(name), type, count);
}

void DeviceCPU::DoCreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                   const BufferViewDescription& view) {
    ToCPU(range).Set(index, BufferView{ToCPU(buffer).GetResource(), view.mByteOffset, view.mSizeInBytes});
}

void DeviceCPU::DoCreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture,
                                    TextureViewKind kind) {
    ToCPU(range).Set(index, BoundTexture{ToCPU(texture).GetResource(), kind});
}

void DeviceCPU::DoCreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) {
    ToCPU(range).Set(index, ToCPU(sampler).GetDescription());
}

UniquePtr<GraphicsPipelineState> DeviceCPU::DoCreateGraphicsPipelineState(
    std::string name, const GraphicsPipelineDescription& description) {
    return MakeUnique<GraphicsPipelineStateCPU>(std::move(name), description);
}

UniquePtr<ComputePipelineState> DeviceCPU::DoCreateComputePipelineState(std::string name,
                                                                        const ComputePipelineDescription& description) {
    return MakeUnique<ComputePipelineStateCPU>(std::move(name), description);
}

UniquePtr<CommandQueue> DeviceCPU::DoCreateCommandQueue(std::string name) {
    return MakeUnique<CommandQueueCPU>(std::move(name));
}

}  // namespace zeb::render::cpu
