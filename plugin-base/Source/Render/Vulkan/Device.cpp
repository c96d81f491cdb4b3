#include "Device.h"

#include <fmt/format.h>

#include "Buffer.h"
#include "CommandQueue.h"
#include "DescriptorHeap.h"
#include "PipelineStates.h"
#include "RootSignature.h"
#include "Sampler.h"
#include "ShaderLibrary.h"
#include "Texture.h"

namespace zeb::render {
namespace {

// Raw data is counted in 32-bit words.
constexpr std::uint64_t kRawStride = 4;

void SetBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer, std::uint64_t offset,
                   std::uint64_t size) {
    const std::shared_ptr<BufferResource>& resource = ToVulkan(buffer).GetResource();
    if (size == 0 || offset > resource->mSize || size > resource->mSize - offset) {
        ZEB_RENDER_THROW("A view of {} bytes at {} lies outside the buffer \"{}\" of {} bytes", size, offset,
                         buffer.GetName(), resource->mSize);
    }
    ToVulkan(range).Set(index, DescriptorHeapType::ShaderResources, BufferView{resource, offset, size});
}

void SetTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture, TextureViewKind kind,
                    std::uint32_t neededUsage, DescriptorHeapType heap) {
    const std::shared_ptr<TextureResource>& resource = ToVulkan(texture).GetResource();
    if ((resource->mDescription.mUsage & neededUsage) != neededUsage) {
        ZEB_RENDER_THROW("The texture \"{}\" of usage {} takes no view for the usage {}", texture.GetName(),
                         resource->mDescription.mUsage, neededUsage);
    }
    ToVulkan(range).Set(index, heap, TextureView{resource, kind});
}

}  // namespace

DeviceVulkan::DeviceVulkan(std::shared_ptr<DeviceContext> context, std::string name,
                           const DescriptorHeapSizes& heapSizes)
    : Device(std::move(name), heapSizes), mContext(std::move(context)) {
    const VkPhysicalDeviceLimits& limits = mContext->Limits();
    for (const std::uint32_t limit :
         {limits.maxImageDimension2D, limits.maxFramebufferWidth, limits.maxFramebufferHeight,
          limits.maxViewportDimensions[0], limits.maxViewportDimensions[1]})
        LimitTileSize(limit);
}

UniquePtr<RootSignature> DeviceVulkan::CreateRootSignature(std::string name) {
    return MakeUnique<RootSignatureVulkan>(std::move(name));
}

UniquePtr<Buffer> DeviceVulkan::CreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                             BufferState initialState, BufferUsage usage) {
    return MakeUnique<BufferVulkan>(mContext, std::move(name), sizeInBytes, memory, initialState, usage);
}

UniquePtr<Texture> DeviceVulkan::CreateTexture(std::string name, const TextureDescription& description, std::uint32_t,
                                               TextureState initialState) {
    return MakeUnique<TextureVulkan>(mContext, std::move(name), description, initialState);
}

UniquePtr<Sampler> DeviceVulkan::CreateSampler(std::string name, const SamplerDescription& description) {
    return MakeUnique<SamplerVulkan>(mContext, std::move(name), description);
}

UniquePtr<ShaderLibrary> DeviceVulkan::CreateShaderLibraryFromSource(std::string name, std::string, std::string) {
    return MakeUnique<ShaderLibraryFromSource>(std::move(name));
}

UniquePtr<ShaderLibrary> DeviceVulkan::CreateShaderLibraryFromEmbeddedData(std::string name) {
    return MakeUnique<ShaderLibraryFromEmbeddedData>(std::move(name));
}

UniquePtr<DescriptorHeap> DeviceVulkan::CreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                             std::int32_t count) {
    return MakeUnique<DescriptorHeapVulkan>(std::move(name), type, count);
}

void DeviceVulkan::CreateConstantBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                            std::uint64_t byteOffset, std::uint32_t sizeInBytes) {
    SetBufferView(range, index, buffer, byteOffset, sizeInBytes);
}

void DeviceVulkan::CreateShaderResourceBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                                  std::uint64_t firstElement, std::uint32_t elementCount,
                                                  std::uint32_t stride) {
    const std::uint64_t size = stride == 0 ? kRawStride : stride;
    SetBufferView(range, index, buffer, firstElement * size, elementCount * size);
}

void DeviceVulkan::CreateUnorderedAccessBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                                   std::uint64_t firstElement, std::uint32_t elementCount,
                                                   std::uint32_t stride) {
    CreateShaderResourceBufferView(range, index, buffer, firstElement, elementCount, stride);
}

void DeviceVulkan::CreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture) {
    SetTextureView(range, index, texture, TextureViewKind::Read, 0, DescriptorHeapType::ShaderResources);
}

void DeviceVulkan::CreateUnorderedAccessTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture) {
    SetTextureView(range, index, texture, TextureViewKind::ReadWrite, kTextureUsageUnorderedAccess,
                   DescriptorHeapType::ShaderResources);
}

void DeviceVulkan::CreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) {
    ToVulkan(range).Set(index, DescriptorHeapType::Samplers, ToVulkan(sampler).GetResource());
}

void DeviceVulkan::CreateRenderTargetView(DescriptorRange& range, std::uint32_t index, Texture& texture) {
    SetTextureView(range, index, texture, TextureViewKind::RenderTarget, kTextureUsageRenderTarget,
                   DescriptorHeapType::RenderTargets);
}

UniquePtr<GraphicsPipelineState> DeviceVulkan::CreateGraphicsPipelineState(
    std::string name, const GraphicsPipelineDescription& description) {
    return MakeUnique<GraphicsPipelineStateVulkan>(mContext, std::move(name), description);
}

UniquePtr<ComputePipelineState> DeviceVulkan::CreateComputePipelineState(
    std::string name, const ComputePipelineDescription& description) {
    return MakeUnique<ComputePipelineStateVulkan>(mContext, std::move(name), description);
}

UniquePtr<CommandQueue> DeviceVulkan::CreateCommandQueue(std::string name) {
    return MakeUnique<CommandQueueVulkan>(mContext, std::move(name));
}

}  // namespace zeb::render
