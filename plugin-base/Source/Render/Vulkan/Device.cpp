#include "Device.h"

#include "Buffer.h"
#include "CommandQueue.h"
#include "PipelineStates.h"
#include "Sampler.h"
#include "ShaderLibrary.h"
#include "Texture.h"

namespace zeb::render {

DeviceVulkan::DeviceVulkan(std::shared_ptr<DeviceContext> context, std::string name,
                           const DescriptorHeapSizes& heapSizes)
    : DeviceOf(std::move(context), std::move(name), heapSizes) {
    const VkPhysicalDeviceLimits& limits = GetContext()->Limits();
    for (const std::uint32_t limit :
         {limits.maxImageDimension2D, limits.maxFramebufferWidth, limits.maxFramebufferHeight,
          limits.maxViewportDimensions[0], limits.maxViewportDimensions[1]})
        LimitTileSize(limit);
    LimitStorageRange(limits.maxStorageBufferRange);
    LimitMemory(GetContext()->GetMaxAllocationSize());
}

DeviceVulkan::~DeviceVulkan() = default;

UniquePtr<ShaderLibrary> DeviceVulkan::DoCreateShaderLibraryFromEmbeddedData(std::string name) {
    return MakeUnique<ShaderLibraryFromEmbeddedData>(std::move(name), ShaderFormat::Spirv);
}

void DeviceVulkan::DoCreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                      const BufferViewDescription& view) {
    DescriptorRangeVulkan::From(range).Set(
        index, BufferViewOf<ClassesVulkan>{ToVulkan(buffer).GetResource(), view.mByteOffset, view.mSizeInBytes});
}

void DeviceVulkan::DoCreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture,
                                       TextureViewKind kind) {
    DescriptorRangeVulkan::From(range).Set(index, TextureViewOf<ClassesVulkan>{ToVulkan(texture).GetResource(), kind});
}

void DeviceVulkan::DoCreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) {
    DescriptorRangeVulkan::From(range).Set(index, ToOwn<SamplerVulkan>(sampler, "sampler").GetResource());
}

}  // namespace zeb::render
