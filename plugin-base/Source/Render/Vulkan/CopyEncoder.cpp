#include <algorithm>

#include <fmt/format.h>

#include "Encoders.h"

namespace zeb::render {
namespace {

void CheckBufferRange(const BufferResource& buffer, std::uint64_t offset, std::uint64_t size) {
    if (offset <= buffer.mSize && size <= buffer.mSize - offset) return;
    ZEB_RENDER_THROW("A copy of {} bytes at {} lies outside the buffer \"{}\" of {} bytes", size, offset, buffer.mName,
                     buffer.mSize);
}

VkImageSubresourceLayers GetLayers(std::uint32_t mipLevel, std::uint32_t arrayIndex, std::uint32_t count) {
    return {VK_IMAGE_ASPECT_COLOR_BIT, mipLevel, arrayIndex, count};
}

// The copy between a texture's rectangle and rows in a buffer, checked against both.
VkBufferImageCopy MakeCopy(const TextureResource& texture, const TextureRegion& region, const BufferResource& buffer,
                           std::uint64_t bufferOffset, std::uint64_t rowPitch) {
    const TextureDescription& description = texture.mDescription;
    const auto fits = [&](std::uint32_t at, std::uint32_t length, std::uint32_t whole) {
        const std::uint32_t size = std::max(whole >> std::min(region.mMipLevel, 31U), 1U);
        return length > 0 && at <= size && length <= size - at;
    };
    if (region.mMipLevel >= description.mMipLevels || region.mArrayIndex >= description.mArraySize ||
        !fits(region.mX, region.mWidth, description.mWidth) || !fits(region.mY, region.mHeight, description.mHeight)) {
        ZEB_RENDER_THROW(
            "A copy of {} x {} at ({}, {}), level {}, layer {}, lies outside the texture \"{}\" of {} x {}",
            region.mWidth, region.mHeight, region.mX, region.mY, region.mMipLevel, region.mArrayIndex, texture.mName,
            description.mWidth, description.mHeight);
    }
    const std::uint64_t texel = GetBytesPerPixel(description.mFormat);
    const std::uint64_t rowSize = texel * region.mWidth;
    if (bufferOffset % texel != 0 || rowPitch % texel != 0 || rowPitch < rowSize || rowPitch / texel > UINT32_MAX) {
        ZEB_RENDER_THROW("Rows of {} bytes at offset {} with a pitch of {} bytes do not fit the texture \"{}\"",
                         rowSize, bufferOffset, rowPitch, texture.mName);
    }
    CheckBufferRange(buffer, bufferOffset, rowPitch * (region.mHeight - 1) + rowSize);
    VkBufferImageCopy copy = {};
    copy.bufferOffset = bufferOffset;
    copy.bufferRowLength = static_cast<std::uint32_t>(rowPitch / texel);
    copy.imageSubresource = GetLayers(region.mMipLevel, region.mArrayIndex, 1);
    copy.imageOffset = {static_cast<std::int32_t>(region.mX), static_cast<std::int32_t>(region.mY), 0};
    copy.imageExtent = {region.mWidth, region.mHeight, 1};
    return copy;
}

TextureRegion GetWhole(const Texture& texture) { return {0, 0, texture.GetWidth(), texture.GetHeight(), 0, 0}; }

std::uint64_t GetTightPitch(const Texture& texture) {
    return std::uint64_t{texture.GetWidth()} * GetBytesPerPixel(texture.GetFormat());
}

}  // namespace

void CopyCommandEncoderVulkan::CopyToTextureFromBuffer(Texture& destination, const TextureRegion& region,
                                                       Buffer& source, std::uint64_t bufferOffset,
                                                       std::uint64_t rowPitch) {
    CheckOpen();
    const auto& texture = ToVulkan(destination).GetResource();
    const auto& buffer = ToVulkan(source).GetResource();
    const VkBufferImageCopy copy = MakeCopy(*texture, region, *buffer, bufferOffset, rowPitch);
    PendingUse use;
    use.Add(buffer, false);
    use.Add(texture, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, true);
    mList.Commit(use);
    mList.Api().vkCmdCopyBufferToImage(mList.GetCommandBuffer(), buffer->mBuffer, texture->mImage,
                                       VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &copy);
}

void CopyCommandEncoderVulkan::CopyToTextureFromBuffer(Texture& destination, Buffer& source) {
    CopyToTextureFromBuffer(destination, GetWhole(destination), source, 0, GetTightPitch(destination));
}

void CopyCommandEncoderVulkan::CopyToBufferFromTexture(Buffer& destination, std::uint64_t bufferOffset,
                                                       std::uint64_t rowPitch, Texture& source,
                                                       const TextureRegion& region) {
    CheckOpen();
    const auto& texture = ToVulkan(source).GetResource();
    const auto& buffer = ToVulkan(destination).GetResource();
    const VkBufferImageCopy copy = MakeCopy(*texture, region, *buffer, bufferOffset, rowPitch);
    PendingUse use;
    use.Add(buffer, true);
    use.Add(texture, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, false);
    mList.Commit(use);
    mList.Api().vkCmdCopyImageToBuffer(mList.GetCommandBuffer(), texture->mImage, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL,
                                       buffer->mBuffer, 1, &copy);
}

void CopyCommandEncoderVulkan::CopyToBufferFromTexture(Buffer& destination, Texture& source) {
    CopyToBufferFromTexture(destination, 0, GetTightPitch(source), source, GetWhole(source));
}

void CopyCommandEncoderVulkan::CopyTexture(Texture& destination, Texture& source) {
    CheckOpen();
    const auto& to = ToVulkan(destination).GetResource();
    const auto& from = ToVulkan(source).GetResource();
    const TextureDescription& a = to->mDescription;
    const TextureDescription& b = from->mDescription;
    if (to == from || a.mFormat != b.mFormat || a.mWidth != b.mWidth || a.mHeight != b.mHeight ||
        a.mArraySize != b.mArraySize || a.mMipLevels != b.mMipLevels) {
        ZEB_RENDER_THROW("The texture \"{}\" cannot be copied to \"{}\": they differ in format or size, or are one",
                         from->mName, to->mName);
    }
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

void CopyCommandEncoderVulkan::CopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source,
                                          std::uint64_t sourceOffset, std::uint64_t sizeInBytes) {
    CheckOpen();
    const auto& to = ToVulkan(destination).GetResource();
    const auto& from = ToVulkan(source).GetResource();
    CheckBufferRange(*to, destinationOffset, sizeInBytes);
    CheckBufferRange(*from, sourceOffset, sizeInBytes);
    if (to == from && sourceOffset < destinationOffset + sizeInBytes && destinationOffset < sourceOffset + sizeInBytes)
        ZEB_RENDER_THROW("A copy of {} bytes within the buffer \"{}\" overlaps itself", sizeInBytes, to->mName);
    if (sizeInBytes == 0) return;
    PendingUse use;
    use.Add(from, false);
    use.Add(to, true);
    mList.Commit(use);
    const VkBufferCopy copy = {sourceOffset, destinationOffset, sizeInBytes};
    mList.Api().vkCmdCopyBuffer(mList.GetCommandBuffer(), from->mBuffer, to->mBuffer, 1, &copy);
}

}  // namespace zeb::render
