#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "PluginBase/Render/Render.h"

/// Runs single GPU programs on given bytes and reads back what they wrote.
namespace nimbrel::test {

using Bytes = std::vector<std::byte>;

template <class T>
Bytes ToBytes(std::span<const T> values) {
    Bytes bytes(values.size_bytes());
    if (!bytes.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}
template <class T>
Bytes ToBytes(const std::vector<T>& values) {
    return ToBytes(std::span<const T>(values));
}
/// Bytes of one record.
template <class T>
Bytes RecordBytes(const T& value) {
    return ToBytes(std::span<const T>(&value, 1));
}
template <class T>
std::vector<T> FromBytes(const Bytes& bytes, std::size_t offset, std::size_t count) {
    std::vector<T> values(count);
    if (count != 0) std::memcpy(values.data(), bytes.data() + offset, count * sizeof(T));
    return values;
}

/// The process's device, with validation where the machine has it; a message
/// of the validation layer fails the running test.
zeb::render::Device& GetDevice();

/// A buffer that programs read and write, with the contents that it starts
/// with.
struct GpuBuffer {
    zeb::UniquePtr<zeb::render::Buffer> mBuffer;
    zeb::UniquePtr<zeb::render::Buffer> mTransfer;  ///< start values, later what was written
};

struct GpuTexture {
    zeb::UniquePtr<zeb::render::Texture> mTexture;
    zeb::UniquePtr<zeb::render::DescriptorRange> mRange;
    zeb::UniquePtr<zeb::render::Buffer> mTransfer;
};

/// One resource of a program, at a register: exactly one of the pointers is
/// set, or none for a sampler.
struct Binding {
    std::string mRegister;  ///< "t1", "u8", "b6", "s14"
    const GpuBuffer* mBuffer = nullptr;
    const GpuTexture* mTexture = nullptr;
    Bytes mConstants;
    std::uint64_t mOffset = 0;
};

/// One command list. Resources live until the object goes; results stand after
/// Execute.
class GpuRun {
public:
    GpuRun();
    ~GpuRun();

    GpuBuffer& AddBuffer(const Bytes& contents);
    GpuTexture& AddTexture(zeb::render::Format format, std::uint32_t width, std::uint32_t height, const Bytes& texels);

    /// Records one dispatch, with a barrier on all buffers behind it.
    void Dispatch(const std::string& program, const std::vector<Binding>& bindings, std::uint32_t groupsX,
                  std::uint32_t groupsY = 1);
    /// Draws `vertices` of a strip into a target of the size and format and
    /// returns the target's texels, tightly packed.
    GpuTexture& Draw(const std::string& program, const std::vector<Binding>& bindings, zeb::render::Format format,
                     std::uint32_t width, std::uint32_t height, std::uint32_t vertices);
    /// Submits and waits. Nothing can be recorded afterwards.
    void Execute();

    static Bytes Read(const GpuBuffer& buffer);
    static Bytes Read(const GpuTexture& texture);

private:
    void Bind(zeb::render::GraphicsAndComputeCommandEncoderBase& encoder, const std::vector<Binding>& bindings);
    void Upload();
    void Fetch();

    zeb::UniquePtr<zeb::render::CommandList> mList;
    zeb::UniquePtr<zeb::render::ComputeCommandEncoder> mEncoder;
    zeb::UniquePtr<zeb::render::Sampler> mSampler;
    zeb::UniquePtr<zeb::render::DescriptorRange> mSamplerRange;
    std::vector<std::unique_ptr<GpuBuffer>> mBuffers;
    std::vector<std::unique_ptr<GpuTexture>> mTextures;
    std::vector<std::unique_ptr<GpuTexture>> mTargets;
    std::vector<zeb::UniquePtr<zeb::render::Buffer>> mConstants;
    std::vector<zeb::UniquePtr<zeb::render::Buffer>> mStartValues;
    bool mIsUploaded = false;
};

}  // namespace nimbrel::test
