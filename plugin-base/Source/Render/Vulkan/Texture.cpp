#include "Texture.h"

#include <fmt/format.h>

#include "EnumTable.h"
#include "EnumTables.h"

namespace zeb::render {
namespace {

VkImageUsageFlags GetImageUsage(std::uint32_t usage) {
    VkImageUsageFlags flags =
        VK_IMAGE_USAGE_TRANSFER_SRC_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT | VK_IMAGE_USAGE_SAMPLED_BIT;
    if ((usage & kTextureUsageUnorderedAccess) != 0) flags |= VK_IMAGE_USAGE_STORAGE_BIT;
    if ((usage & kTextureUsageRenderTarget) != 0) flags |= VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT;
    return flags;
}

void CheckUsage(std::uint32_t usage) {
    constexpr std::uint32_t kKnownUsage =
        kTextureUsageShaderRead | kTextureUsageUnorderedAccess | kTextureUsageRenderTarget;
    if ((usage & ~kKnownUsage) != 0) ThrowUnknownValue(usage, "resource flags");
}

}  // namespace

TextureResource::TextureResource(std::shared_ptr<DeviceContext> context, const std::string& name,
                                 const TextureDescription& description)
    : mContext(std::move(context)), mName(name), mDescription(description) {
    CheckUsage(mDescription.mUsage);
    const VkImageViewType viewType = GetImageViewTypeVulkan(mDescription.mDimension);
    try {
        CreateImage();
        mView = CreateView(viewType, mDescription.mMipLevels, mDescription.mArraySize);
        mTargetView = CreateView(VK_IMAGE_VIEW_TYPE_2D, 1, 1);
    } catch (...) {
        Destroy();
        throw;
    }
}

TextureResource::~TextureResource() { Destroy(); }

void TextureResource::CreateImage() {
    const VolkDeviceTable& api = mContext->Api();
    const std::string owner =
        fmt::format("the texture \"{}\" of {} x {}", mName, mDescription.mWidth, mDescription.mHeight);
    VkImageCreateInfo info = {VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
    info.imageType = VK_IMAGE_TYPE_2D;
    info.format = GetFormatVulkan(mDescription.mFormat);
    info.extent = {mDescription.mWidth, mDescription.mHeight, 1};
    info.mipLevels = mDescription.mMipLevels;
    info.arrayLayers = mDescription.mArraySize;
    info.samples = VK_SAMPLE_COUNT_1_BIT;
    info.tiling = VK_IMAGE_TILING_OPTIMAL;
    info.usage = GetImageUsage(mDescription.mUsage);
    info.initialLayout = VK_IMAGE_LAYOUT_UNDEFINED;

    VkImageFormatProperties limits;
    const VkResult supported = vkGetPhysicalDeviceImageFormatProperties(
        mContext->GetPhysicalDevice(), info.format, info.imageType, info.tiling, info.usage, 0, &limits);
    if (supported != VK_SUCCESS) {
        ZEB_RENDER_THROW("Failed to create {}: the device does not support the format {} for the usage {} ({})", owner,
                         static_cast<std::uint32_t>(mDescription.mFormat), mDescription.mUsage,
                         GetResultText(supported));
    }
    if (info.extent.width > limits.maxExtent.width || info.extent.height > limits.maxExtent.height ||
        info.arrayLayers > limits.maxArrayLayers) {
        ZEB_RENDER_THROW("Failed to create {} with {} layers: the device's limit is {} x {} with {} layers", owner,
                         info.arrayLayers, limits.maxExtent.width, limits.maxExtent.height, limits.maxArrayLayers);
    }
    ZEB_VK_CHECK_FOR(api.vkCreateImage(mContext->Get(), &info, nullptr, &mImage), owner);
    VkMemoryRequirements requirements;
    api.vkGetImageMemoryRequirements(mContext->Get(), mImage, &requirements);
    mMemory = mContext->Allocate(requirements, MemoryKind::Default, owner);
    ZEB_VK_CHECK_FOR(api.vkBindImageMemory(mContext->Get(), mImage, mMemory.mMemory, 0), owner);
    mContext->SetName(VK_OBJECT_TYPE_IMAGE, mImage, mName);
}

VkImageView TextureResource::CreateView(VkImageViewType type, std::uint32_t mipLevels, std::uint32_t layers) const {
    VkImageViewCreateInfo info = {VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO};
    info.image = mImage;
    info.viewType = type;
    info.format = GetFormatVulkan(mDescription.mFormat);
    info.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, 0, mipLevels, 0, layers};
    VkImageView view = VK_NULL_HANDLE;
    ZEB_VK_CHECK_FOR(mContext->Api().vkCreateImageView(mContext->Get(), &info, nullptr, &view), mName);
    return view;
}

void TextureResource::Destroy() {
    const VolkDeviceTable& api = mContext->Api();
    api.vkDestroyImageView(mContext->Get(), mTargetView, nullptr);
    api.vkDestroyImageView(mContext->Get(), mView, nullptr);
    api.vkDestroyImage(mContext->Get(), mImage, nullptr);
    mContext->Free(mMemory);
}

TextureVulkan::TextureVulkan(const std::shared_ptr<DeviceContext>& context, std::string name,
                             const TextureDescription& description, TextureState initialState)
    : Texture(std::move(name), description),
      mResource(std::make_shared<TextureResource>(context, GetName(), description)) {
    CheckEnumeration(initialState, TextureState::UnorderedAccess, "resource state");
}

TextureVulkan& ToVulkan(Texture& texture) { return ToOwn<TextureVulkan>(texture, "texture"); }

}  // namespace zeb::render
