#include "Render/CPU/Device.h"

#include <new>

#include "Render/CPU/CommandQueue.h"
#include "Render/CPU/DescriptorHeap.h"
#include "Render/CPU/Pipelines.h"
#include "Render/ShaderLibrary.h"

namespace zeb::render::cpu {
namespace {

// Raw data is counted in 32-bit words.
constexpr std::uint64_t kRawStride = 4;

void SetBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer, std::uint64_t offset,
                   std::uint64_t size) {
    const std::shared_ptr<BufferResource>& resource = ToCPU(buffer).GetResource();
    if (size == 0 || offset > resource->mSize || size > resource->mSize - offset) {
        ZEB_RENDER_THROW("A view of {} bytes at {} lies outside the buffer \"{}\" of {} bytes", size, offset,
                         buffer.GetName(), resource->mSize);
    }
    ToCPU(range).Set(index, DescriptorHeapType::ShaderResources, BufferView{resource, offset, size});
}

void SetTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture, TextureViewKind kind,
                    std::uint32_t neededUsage, DescriptorHeapType heap) {
    const std::shared_ptr<TextureResource>& resource = ToCPU(texture).GetResource();
    if ((resource->mDescription.mUsage & neededUsage) != neededUsage) {
        ZEB_RENDER_THROW("The texture \"{}\" of usage {} takes no view for the usage {}", texture.GetName(),
                         resource->mDescription.mUsage, neededUsage);
    }
    ToCPU(range).Set(index, heap, BoundTexture{resource, kind});
}

}  // namespace

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

UniquePtr<RootSignature> DeviceCPU::CreateRootSignature(std::string name) {
    return MakeUnique<RootSignatureCPU>(std::move(name));
}

UniquePtr<Buffer> DeviceCPU::CreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                          BufferState initialState, BufferUsage usage) {
    return MakeUnique<BufferCPU>(mReport, std::move(name), sizeInBytes, memory, initialState, usage);
}

UniquePtr<Texture> DeviceCPU::CreateTexture(std::string name, const TextureDescription& description, std::uint32_t,
                                            TextureState initialState) {
    return MakeUnique<TextureCPU>(std::move(name), description, initialState);
}

UniquePtr<Sampler> DeviceCPU::CreateSampler(std::string name, const SamplerDescription& description) {
    return MakeUnique<SamplerCPU>(std::move(name), description);
}

UniquePtr<ShaderLibrary> DeviceCPU::CreateShaderLibraryFromSource(std::string name, std::string, std::string) {
    return MakeUnique<ShaderLibraryFromSource>(std::move(name));
}

UniquePtr<ShaderLibrary> DeviceCPU::CreateShaderLibraryFromEmbeddedData(std::string name) {
    return MakeUnique<ShaderLibraryCPU>(std::move(name));
}

UniquePtr<DescriptorHeap> DeviceCPU::CreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                          std::int32_t count) {
    return MakeUnique<DescriptorHeapCPU>(std::move(name), type, count);
}

void DeviceCPU::CreateConstantBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                         std::uint64_t byteOffset, std::uint32_t sizeInBytes) {
    SetBufferView(range, index, buffer, byteOffset, sizeInBytes);
}

void DeviceCPU::CreateShaderResourceBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                               std::uint64_t firstElement, std::uint32_t elementCount,
                                               std::uint32_t stride) {
    const std::uint64_t size = stride == 0 ? kRawStride : stride;
    SetBufferView(range, index, buffer, firstElement * size, elementCount * size);
}

void DeviceCPU::CreateUnorderedAccessBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                                std::uint64_t firstElement, std::uint32_t elementCount,
                                                std::uint32_t stride) {
    CreateShaderResourceBufferView(range, index, buffer, firstElement, elementCount, stride);
}

void DeviceCPU::CreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture) {
    SetTextureView(range, index, texture, TextureViewKind::Read, 0, DescriptorHeapType::ShaderResources);
}

void DeviceCPU::CreateUnorderedAccessTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture) {
    SetTextureView(range, index, texture, TextureViewKind::ReadWrite, kTextureUsageUnorderedAccess,
                   DescriptorHeapType::ShaderResources);
}

void DeviceCPU::CreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) {
    ToCPU(range).Set(index, DescriptorHeapType::Samplers, ToCPU(sampler).GetDescription());
}

void DeviceCPU::CreateRenderTargetView(DescriptorRange& range, std::uint32_t index, Texture& texture) {
    SetTextureView(range, index, texture, TextureViewKind::RenderTarget, kTextureUsageRenderTarget,
                   DescriptorHeapType::RenderTargets);
}

UniquePtr<GraphicsPipelineState> DeviceCPU::CreateGraphicsPipelineState(
    std::string name, const GraphicsPipelineDescription& description) {
    return MakeUnique<GraphicsPipelineStateCPU>(std::move(name), description);
}

UniquePtr<ComputePipelineState> DeviceCPU::CreateComputePipelineState(std::string name,
                                                                      const ComputePipelineDescription& description) {
    return MakeUnique<ComputePipelineStateCPU>(std::move(name), description);
}

UniquePtr<CommandQueue> DeviceCPU::CreateCommandQueue(std::string name) {
    return MakeUnique<CommandQueueCPU>(std::move(name));
}

}  // namespace zeb::render::cpu
