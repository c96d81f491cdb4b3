#include "RenderHelper/Buffer.h"

#include <utility>

#include <fmt/format.h>

#include "PluginBase/Exception.h"

Buffer::Buffer(zeb::render::Device& device, std::string name, std::uint32_t stride, const BufferKind& kind)
    : mDevice(device), mName(std::move(name)), mStride(stride), mKind(kind) {}

bool Buffer::SetCount(std::uint64_t count) {
    mCount = count;
    const std::uint64_t size = count * GetElementSize();
    if (mBuffer != nullptr && mRoom.IsTooLarge(mBuffer->GetSizeInBytes(), size)) mBuffer.reset();
    if (size == 0 || (mBuffer != nullptr && mBuffer->GetSizeInBytes() >= size)) return false;
    mBuffer.reset();  // before the new one: both at once might not fit
    mBuffer = mDevice.CreateBuffer(mName, size, mKind.heap, mKind.access, mKind.unordered);
    return true;
}

std::byte* Buffer::Map() { return Get().Map(0, 0); }
void Buffer::Unmap() { mBuffer->Unmap(); }

zeb::render::Buffer& Buffer::Get() const {
    if (mBuffer == nullptr) ZEB_THROW(zeb::kInternalError, fmt::format("Buffer \"{}\" has no elements", mName));
    return *mBuffer;
}
