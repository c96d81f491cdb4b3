#pragma once

#include <memory>

#include "DeviceContext.h"
#include "PluginBase/Render/Objects.h"

namespace zeb::render {

/// The native image with its views and the layout that the work recorded so far leaves it in.
struct TextureResource {
    TextureResource(std::shared_ptr<DeviceContext> context, const std::string& name,
                    const TextureDescription& description);
    ~TextureResource();
    TextureResource(const TextureResource&) = delete;
    TextureResource& operator=(const TextureResource&) = delete;

    std::shared_ptr<DeviceContext> mContext;
    std::string mName;
    TextureDescription mDescription;
    VkImageLayout mLayout = VK_IMAGE_LAYOUT_UNDEFINED;
    VkImage mImage = VK_NULL_HANDLE;
    VkImageView mView = VK_NULL_HANDLE;        ///< all mip levels and layers, for reading
    VkImageView mTargetView = VK_NULL_HANDLE;  ///< first level and layer, for drawing and writing
    MemoryBlock mMemory;

private:
    void CreateImage();
    VkImageView CreateView(VkImageViewType type, std::uint32_t mipLevels, std::uint32_t layers) const;
    void Destroy();
};

class TextureVulkan final : public Texture {
public:
    TextureVulkan(const std::shared_ptr<DeviceContext>& context, std::string name,
                  const TextureDescription& description, TextureState initialState);

    const std::shared_ptr<TextureResource>& GetResource() const { return mResource; }

private:
    std::shared_ptr<TextureResource> mResource;
};

TextureVulkan& ToVulkan(Texture& texture);

}  // namespace zeb::render
