#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "Buffer.h"
#include "Texture.h"
#include "VulkanApi.h"

namespace zeb::render {

/// The resources that one dispatch, draw or copy is about to use.
class PendingUse {
public:
    /// One that is both read and written throws: this interface allows it, others do not.
    void Add(const std::shared_ptr<BufferResource>& buffer, bool isWritten);
    /// A texture is in one layout at a time; a second use of it in another one throws.
    void Add(const std::shared_ptr<TextureResource>& texture, VkImageLayout layout, bool isWritten);

private:
    friend class ResourceUses;
    struct BufferUse {
        std::shared_ptr<BufferResource> mBuffer;
        bool mIsWritten;
    };
    struct TextureUse {
        std::shared_ptr<TextureResource> mTexture;
        VkImageLayout mLayout;
        bool mIsWritten;
    };
    std::vector<BufferUse> mBuffers;
    std::vector<TextureUse> mTextures;
};

/// Orders the work of one command list by what it uses: a barrier goes in front of an operation that reads
/// what was written, or writes what was used, since the last barrier, or that needs a texture in another layout.
/// Barriers are full ones; a frame has some dozens of them, and nearly each separates passes that feed one another.
class ResourceUses {
public:
    bool NeedsBarrier(const PendingUse& use) const;
    /// Records the barrier if one is needed, and notes the use. The resources are kept until Release.
    void Commit(const VolkDeviceTable& api, VkCommandBuffer commandBuffer, const PendingUse& use);
    void Keep(const std::shared_ptr<const void>& object);

    /// The list will never run: textures go back to the layouts that they had before it.
    void Rollback();
    void Release();

private:
    struct Origin {
        std::shared_ptr<TextureResource> mTexture;
        VkImageLayout mLayout;
    };
    bool Conflicts(const void* resource, bool isWritten) const;
    void Note(const std::shared_ptr<const void>& resource, bool isWritten);
    void RememberOrigin(const std::shared_ptr<TextureResource>& texture);

    std::unordered_map<const void*, bool> mSinceBarrier;  ///< whether the resource was written
    std::unordered_map<const void*, std::shared_ptr<const void>> mKept;
    std::unordered_map<const void*, Origin> mOrigins;
};

}  // namespace zeb::render
