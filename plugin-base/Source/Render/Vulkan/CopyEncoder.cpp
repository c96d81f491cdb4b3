#include <algorithm>

#include <fmt/format.h>

#include "Encoders.h"

namespace zeb::render {
namespace {

VkImageSubresourceLayers GetLayers(std::uint32_t mipLevel, std::uint32_t arrayIndex, std::uint32_t count) {
    return {VK_IMAGE_ASPECT_COLOR_BIT, mipLevel, arrayIndex, count};
}

VkBufferImageCopy GetNativeCopy(const TextureResource& texture, const TextureBufferCopy& copy) {
    const TextureRegion& region = copy.mRegion;
    VkBufferImageCopy native = {};
    native.bufferOffset = copy.mBufferOffset;
    native.bufferRowLength =
        static_cast<std::uint32_t>(copy.mRowPitch / GetBytesPerPixel(texture.mDescription.mFormat));
    native.imageSubresource = GetLayers(region.mMipLevel, region.mArrayIndex, 1);
    native.imageOffset = {static_cast<std::int32_t>(region.mX), static_cast<std::int32_t>(region.mY), 0};
    native.imageExtent = {region.mWidth, region.mHeight, 1};
    return native;
}

}  // namespace

void CopyCommandEncoderVulkan::DoCopyToTexture(Texture& destination, Buffer& source, const TextureBufferCopy& copy) {
    const auto& texture = ToVulkan(destination).GetResource();
    const auto& buffer = ToVulkan(source).GetResource();
    const VkBufferImageCopy native = GetNativeCopy(*texture, copy);
    PendingUse use;
    use.Add(buffer, false);
    use.Add(texture, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, true);
    mList.Commit(use);
    mList.Api().vkCmdCopyBufferToImage(mList.GetCommandBuffer(), buffer->mBuffer, texture->mImage,
                                       VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &native);
}

void CopyCommandEncoderVulkan::DoCopyToBuffer(Buffer& destination, Texture& source, const TextureBufferCopy& copy) {
    const auto& texture = ToVulkan(source).GetResource();
    const auto& buffer = ToVulkan(destination).GetResource();
    const VkBufferImageCopy native = GetNativeCopy(*texture, copy);
    PendingUse use;
    use.Add(buffer, true);
    use.Add(texture, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, false);
    mList.Commit(use);
    mList.Api().vkCmdCopyImageToBuffer(mList.GetCommandBuffer(), texture->mImage, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL,
                                       buffer->mBuffer, 1, &native);
}

void CopyCommandEncoderVulkan::DoCopyTexture(Texture& destination, Texture& source) {
    const auto& to = ToVulkan(destination).GetResource();
    const auto& from = ToVulkan(source).GetResource();
    const TextureDescription& a = to->mDescription;
    PendingUse use;
    use.Add(from, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, false);
    use.Add(to, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, true);
    mList.Commit(use);
    std::vector<VkImageCopy> copies;
    for (std::uint32_t level = 0; level < a.mMipLevels; ++level) {
        const VkImageSubresourceLayers layers = GetLayers(level, 0, a.mArraySize);
        copies.push_back(
            {layers, {}, layers, {}, {std::max(a.mWidth >> level, 1U), std::max(a.mHeight >> level, 1U), 1}});
    }
    mList.Api().vkCmdCopyImage(mList.GetCommandBuffer(), from->mImage, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, to->mImage,
                               VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, static_cast<std::uint32_t>(copies.size()),
                               copies.data());
}

void CopyCommandEncoderVulkan::DoCopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source,
                                            std::uint64_t sourceOffset, std::uint64_t sizeInBytes) {
    const auto& to = ToVulkan(destination).GetResource();
    const auto& from = ToVulkan(source).GetResource();
    PendingUse use;
    if (from != to) use.Add(from, false);  // a copy within one buffer counts as a write of it
    use.Add(to, true);
    mList.Commit(use);
    const VkBufferCopy copy = {sourceOffset, destinationOffset, sizeInBytes};
    mList.Api().vkCmdCopyBuffer(mList.GetCommandBuffer(), from->mBuffer, to->mBuffer, 1, &copy);
}

}  // namespace zeb::render
