#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "PluginBase/Misc/RoomRule.h"
#include "PluginBase/Render/Device.h"

/// What a `Buffer` is created with each time it grows.
struct BufferKind {
    zeb::render::MemoryKind heap;
    zeb::render::BufferState access;
    zeb::render::BufferUsage unordered;
};

/// Written by the CPU, read by the GPU; alone on the GPU and written by programs; read back by the CPU.
inline constexpr BufferKind kUploadBuffer = {zeb::render::MemoryKind::Upload, zeb::render::BufferState::GenericRead,
                                             zeb::render::BufferUsage::None};
inline constexpr BufferKind kGpuBuffer = {zeb::render::MemoryKind::Default, zeb::render::BufferState::Common,
                                          zeb::render::BufferUsage::UnorderedAccess};
inline constexpr BufferKind kReadbackBuffer = {
    zeb::render::MemoryKind::Readback, zeb::render::BufferState::CopyDestination, zeb::render::BufferUsage::None};

/// A named GPU buffer that grows on demand, and shrinks after several uses that need far less than it has. Both drop
/// the contents. Nothing is created before it has an element.
class Buffer {
public:
    /// `stride` is the bytes of an element, 0 for blocks of bytes, which are counted by four.
    Buffer(zeb::render::Device& device, std::string name, std::uint32_t stride, const BufferKind& kind);

    /// Makes room for `count` elements; true when a new buffer was created.
    bool SetCount(std::uint64_t count);
    bool SetByteSize(std::uint64_t bytes) { return SetCount(bytes / GetElementSize()); }

    /// Address of an upload buffer's first byte, until Unmap. There must be an element.
    std::byte* Map();
    void Unmap();

    /// Throws zeb::Exception naming the buffer while it never had an element.
    zeb::render::Buffer& Get() const;
    std::uint64_t GetCount() const { return mCount; }
    std::uint32_t GetStride() const { return mStride; }
    const std::string& GetName() const { return mName; }

private:
    std::uint32_t GetElementSize() const { return mStride == 0 ? 4 : mStride; }

    zeb::render::Device& mDevice;
    std::string mName;
    std::uint32_t mStride;
    BufferKind mKind;
    zeb::UniquePtr<zeb::render::Buffer> mBuffer;
    zeb::RoomRule mRoom;
    std::uint64_t mCount = 0;
};

/// A buffer of records of type `T`, which may stand farther apart than they are large.
template <class T>
class StructuredBuffer : public Buffer {
public:
    StructuredBuffer(zeb::render::Device& device, std::string name, const BufferKind& kind,
                     std::uint32_t stride = sizeof(T))
        : Buffer(device, std::move(name), stride, kind) {}

    void Store(std::byte* mapped, std::uint64_t index, const T& value) const {
        std::memcpy(mapped + index * GetStride(), &value, sizeof(T));
    }
};

/// Maps an upload buffer for its lifetime.
class MappedBuffer {
public:
    explicit MappedBuffer(Buffer& buffer) : mBuffer(buffer), mData(buffer.Map()) {}
    ~MappedBuffer() { mBuffer.Unmap(); }
    MappedBuffer(const MappedBuffer&) = delete;
    MappedBuffer& operator=(const MappedBuffer&) = delete;
    std::byte* Get() const { return mData; }

private:
    Buffer& mBuffer;
    std::byte* mData;
};
