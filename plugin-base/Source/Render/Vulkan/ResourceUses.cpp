#include "ResourceUses.h"

#include <algorithm>

#include <fmt/format.h>

namespace zeb::render {

void PendingUse::Add(const std::shared_ptr<BufferResource>& buffer, bool isWritten) {
    for (BufferUse& use : mBuffers) {
        if (use.mBuffer != buffer) continue;
        if (use.mIsWritten != isWritten) ThrowUsedInTwoWays("buffer", buffer->mName);
        return;
    }
    mBuffers.push_back({buffer, isWritten});
}

void PendingUse::Add(const std::shared_ptr<TextureResource>& texture, VkImageLayout layout, bool isWritten) {
    for (TextureUse& use : mTextures) {
        if (use.mTexture != texture) continue;
        if (use.mLayout != layout) ThrowUsedInTwoWays("texture", texture->mName);
        use.mIsWritten |= isWritten;
        return;
    }
    mTextures.push_back({texture, layout, isWritten});
}

bool ResourceUses::Conflicts(const void* resource, bool isWritten) const {
    const auto found = mSinceBarrier.find(resource);
    return found != mSinceBarrier.end() && (isWritten || found->second);
}

bool ResourceUses::NeedsBarrier(const PendingUse& use) const {
    return std::any_of(use.mBuffers.begin(), use.mBuffers.end(),
                       [&](const auto& b) { return Conflicts(b.mBuffer.get(), b.mIsWritten); }) ||
           std::any_of(use.mTextures.begin(), use.mTextures.end(), [&](const auto& t) {
               return t.mTexture->mLayout != t.mLayout || Conflicts(t.mTexture.get(), t.mIsWritten);
           });
}

void ResourceUses::Commit(const VolkDeviceTable& api, VkCommandBuffer commandBuffer, const PendingUse& use) {
    if (NeedsBarrier(use)) {
        constexpr VkAccessFlags kAnyAccess = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
        const VkMemoryBarrier memory = {VK_STRUCTURE_TYPE_MEMORY_BARRIER, nullptr, VK_ACCESS_MEMORY_WRITE_BIT,
                                        kAnyAccess};
        std::vector<VkImageMemoryBarrier> images;
        for (const PendingUse::TextureUse& texture : use.mTextures) {
            if (texture.mTexture->mLayout == texture.mLayout) continue;
            RememberOrigin(texture.mTexture);
            VkImageMemoryBarrier barrier = {VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
            barrier.srcAccessMask = VK_ACCESS_MEMORY_WRITE_BIT;
            barrier.dstAccessMask = kAnyAccess;
            barrier.oldLayout = texture.mTexture->mLayout;
            barrier.newLayout = texture.mLayout;
            barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
            barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
            barrier.image = texture.mTexture->mImage;
            barrier.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, 0, VK_REMAINING_MIP_LEVELS, 0,
                                        VK_REMAINING_ARRAY_LAYERS};
            images.push_back(barrier);
            texture.mTexture->mLayout = texture.mLayout;
        }
        api.vkCmdPipelineBarrier(commandBuffer, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT,
                                 0, 1, &memory, 0, nullptr, static_cast<std::uint32_t>(images.size()), images.data());
        mSinceBarrier.clear();
    }
    for (const PendingUse::BufferUse& buffer : use.mBuffers) Note(buffer.mBuffer, buffer.mIsWritten);
    for (const PendingUse::TextureUse& texture : use.mTextures) Note(texture.mTexture, texture.mIsWritten);
}

void ResourceUses::Note(const std::shared_ptr<const void>& resource, bool isWritten) {
    mSinceBarrier[resource.get()] |= isWritten;
    Keep(resource);
}

void ResourceUses::Keep(const std::shared_ptr<const void>& object) { mKept.emplace(object.get(), object); }

void ResourceUses::RememberOrigin(const std::shared_ptr<TextureResource>& texture) {
    mOrigins.try_emplace(texture.get(), Origin{texture, texture->mLayout});
}

void ResourceUses::Rollback() {
    for (const auto& [key, origin] : mOrigins) origin.mTexture->mLayout = origin.mLayout;
    Release();
}

void ResourceUses::Release() {
    mSinceBarrier.clear();
    mOrigins.clear();
    mKept.clear();
}

}  // namespace zeb::render
