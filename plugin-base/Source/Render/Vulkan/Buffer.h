#pragma once

#include <memory>

#include "DeviceContext.h"
#include "PluginBase/Render/Objects.h"

namespace zeb::render {

/// The native buffer. Command lists and descriptors share it, so it outlives a `Buffer` that was replaced
/// while work on it is pending.
struct BufferResource {
    BufferResource(std::shared_ptr<DeviceContext> context, const std::string& name, std::uint64_t size,
                   MemoryKind memory);
    ~BufferResource();
    BufferResource(const BufferResource&) = delete;
    BufferResource& operator=(const BufferResource&) = delete;

    std::shared_ptr<DeviceContext> mContext;
    std::string mName;
    std::uint64_t mSize;
    VkBuffer mBuffer = VK_NULL_HANDLE;
    MemoryBlock mMemory;
};

class BufferVulkan final : public Buffer {
public:
    BufferVulkan(const std::shared_ptr<DeviceContext>& context, std::string name, std::uint64_t sizeInBytes,
                 MemoryKind memory, BufferState initialState, BufferUsage usage);
    /// A map left open is reported to the validation's receiver.
    ~BufferVulkan() override;

    const std::shared_ptr<BufferResource>& GetResource() const { return mResource; }

protected:
    std::byte* DoMap(std::uint64_t begin, std::uint64_t end) override;
    // The memory stays mapped.
    void DoUnmap() override {}

private:
    std::shared_ptr<BufferResource> mResource;
};

/// The back end's own object behind an interface; a stranger's object is a failure that names it.
BufferVulkan& ToVulkan(Buffer& buffer);

}  // namespace zeb::render
