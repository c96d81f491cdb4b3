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
DeviceVulkan::DeviceVulkan(std::shared_ptr<DeviceContext> context, std::string name,
                           const DescriptorHeapSizes& heapSizes)
    : Device(std::move(name), heapSizes), mContext(std::move(context)) {
    const VkPhysicalDeviceLimits& limits = mContext->Limits();
    for (const std::uint32_t limit :
         {limits.maxImageDimension2D, limits.maxFramebufferWidth, limits.maxFramebufferHeight,
          limits.maxViewportDimensions[0], limits.maxViewportDimensions[1]})
        LimitTileSize(limit);
}

UniquePtr<RootSignature> DeviceVulkan::DoCreateRootSignature(std::string name) {
    return MakeUnique<RootSignatureVulkan>(std::move(name));
}

UniquePtr<Buffer> DeviceVulkan::DoCreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                               BufferState initialState, BufferUsage usage) {
    return MakeUnique<BufferVulkan>(mContext, std::move(name), sizeInBytes, memory, initialState, usage);
}

UniquePtr<Texture> DeviceVulkan::DoCreateTexture(std::string name, const TextureDescription& description,
                                                 TextureState initialState) {
    return MakeUnique<TextureVulkan>(mContext, std::move(name), description, initialState);
}

UniquePtr<Sampler> DeviceVulkan::DoCreateSampler(std::string name, const SamplerDescription& description) {
    return MakeUnique<SamplerVulkan>(mContext, std::move(name), description);
}

UniquePtr<ShaderLibrary> DeviceVulkan::DoCreateShaderLibraryFromEmbeddedData(std::string name) {
    return MakeUnique<ShaderLibraryFromEmbeddedData>(std::move(name), ShaderFormat::Spirv);
}

UniquePtr<DescriptorHeap> DeviceVulkan::DoCreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                               std::int32_t count) {
    return MakeUnique<DescriptorHeapVulkan>(std::move(name), type, count);
}

void DeviceVulkan::DoCreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                      const BufferViewDescription& view) {
    ToVulkan(range).Set(index, BufferView{ToVulkan(buffer).GetResource(), view.mByteOffset, view.mSizeInBytes});
}

void DeviceVulkan::DoCreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture,
                                       TextureViewKind kind) {
    ToVulkan(range).Set(index, TextureView{ToVulkan(texture).GetResource(), kind});
}

void DeviceVulkan::DoCreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) {
    ToVulkan(range).Set(index, ToVulkan(sampler).GetResource());
}

UniquePtr<GraphicsPipelineState> DeviceVulkan::DoCreateGraphicsPipelineState(
    std::string name, const GraphicsPipelineDescription& description) {
    return MakeUnique<GraphicsPipelineStateVulkan>(mContext, std::move(name), description);
}

UniquePtr<ComputePipelineState> DeviceVulkan::DoCreateComputePipelineState(
    std::string name, const ComputePipelineDescription& description) {
    return MakeUnique<ComputePipelineStateVulkan>(mContext, std::move(name), description);
}

UniquePtr<CommandQueue> DeviceVulkan::DoCreateCommandQueue(std::string name) {
    return MakeUnique<CommandQueueVulkan>(mContext, std::move(name));
}

}  // namespace zeb::render
