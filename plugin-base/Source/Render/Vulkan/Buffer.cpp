#include "Buffer.h"

#include <fmt/format.h>

#include "EnumTable.h"

namespace zeb::render {

BufferResource::BufferResource(std::shared_ptr<DeviceContext> context, const std::string& name, std::uint64_t size,
                               MemoryKind memory)
    : mContext(std::move(context)), mName(name), mSize(size) {
    const VolkDeviceTable& api = mContext->Api();
    const std::string owner = fmt::format("the buffer \"{}\" of {} bytes", name, size);
    if (size > mContext->GetMaxAllocationSize()) {
        ZEB_RENDER_THROW("Failed to create {}: the device's limit is {} bytes", owner,
                         mContext->GetMaxAllocationSize());
    }
    VkBufferCreateInfo info = {VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
    info.size = size;
    info.usage = VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_TRANSFER_DST_BIT |
                 VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT | VK_BUFFER_USAGE_STORAGE_BUFFER_BIT |
                 VK_BUFFER_USAGE_INDEX_BUFFER_BIT | VK_BUFFER_USAGE_VERTEX_BUFFER_BIT;
    ZEB_VK_CHECK_FOR(api.vkCreateBuffer(mContext->Get(), &info, nullptr, &mBuffer), owner);
    try {
        VkMemoryRequirements requirements;
        api.vkGetBufferMemoryRequirements(mContext->Get(), mBuffer, &requirements);
        mMemory = mContext->Allocate(requirements, memory, owner);
        ZEB_VK_CHECK_FOR(api.vkBindBufferMemory(mContext->Get(), mBuffer, mMemory.mMemory, 0), owner);
    } catch (...) {
        api.vkDestroyBuffer(mContext->Get(), mBuffer, nullptr);
        mContext->Free(mMemory);
        throw;
    }
    mContext->SetName(VK_OBJECT_TYPE_BUFFER, mBuffer, name);
}

BufferResource::~BufferResource() {
    mContext->Api().vkDestroyBuffer(mContext->Get(), mBuffer, nullptr);
    mContext->Free(mMemory);
}

BufferVulkan::BufferVulkan(const std::shared_ptr<DeviceContext>& context, std::string name, std::uint64_t sizeInBytes,
                           MemoryKind memory, BufferState initialState, BufferUsage usage)
    : Buffer(std::move(name), sizeInBytes, memory) {
    CheckEnumeration(usage, BufferUsage::DenyShaderResource, "resource flags");
    CheckEnumeration(initialState, BufferState::UnorderedAccess, "buffer state");
    mResource = std::make_shared<BufferResource>(context, GetName(), sizeInBytes, memory);
}

BufferVulkan::~BufferVulkan() {
    const std::string problem = CheckUnmapped();
    if (!problem.empty()) mResource->mContext->GetInstance().Report(problem);
}

std::byte* BufferVulkan::DoMap(std::uint64_t begin, std::uint64_t end) {
    const MemoryBlock& memory = mResource->mMemory;
    if (!memory.mIsCoherent && begin != end) {
        const DeviceContext& context = *mResource->mContext;
        VkMappedMemoryRange range = {VK_STRUCTURE_TYPE_MAPPED_MEMORY_RANGE};
        range.memory = memory.mMemory;
        range.size = VK_WHOLE_SIZE;
        ZEB_VK_CHECK_FOR(context.Api().vkInvalidateMappedMemoryRanges(context.Get(), 1, &range), GetName());
    }
    return memory.mMapped;
}

BufferVulkan& ToVulkan(Buffer& buffer) { return ToOwn<BufferVulkan>(buffer, "buffer"); }

}  // namespace zeb::render
