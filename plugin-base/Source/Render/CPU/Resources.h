#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "PluginBase/Render/Render.h"
#include "Render/CPU/Image.h"
#include "Render/EnumTable.h"

/// Buffers, textures and samplers in the process's own memory. Command lists and descriptors share the resource behind
/// an object, so it outlives one that was replaced while work on it is pending.
namespace zeb::render::cpu {

/// What all objects of a device share: where its complaints go.
class DeviceReport {
public:
    explicit DeviceReport(std::function<void(const std::string&)> receiver) : mReceiver(std::move(receiver)) {}
    /// Thread: any. Without a receiver the text is dropped.
    void Report(const std::string& text) const;

private:
    mutable std::mutex mMutex;
    std::function<void(const std::string&)> mReceiver;
};

inline constexpr std::uint32_t kMaxTextureSize = 16384;

struct BufferResource {
    BufferResource(const std::string& name, std::uint64_t size);

    std::span<std::byte> Bytes() const { return {mData.get(), static_cast<std::size_t>(mSize)}; }

    std::string mName;
    std::uint64_t mSize;

private:
    struct Free {
        void operator()(std::byte* data) const { std::free(data); }
    };
    std::unique_ptr<std::byte[], Free> mData;  ///< zero at first, aligned for any type
};

class BufferCPU final : public Buffer {
public:
    BufferCPU(std::shared_ptr<const DeviceReport> report, std::string name, std::uint64_t sizeInBytes,
              MemoryKind memory, BufferState initialState, BufferUsage usage);
    /// A map left open is reported to the validation's receiver.
    ~BufferCPU() override;

    const std::shared_ptr<BufferResource>& GetResource() const { return mResource; }

protected:
    std::byte* DoMap(std::uint64_t, std::uint64_t) override { return mResource->Bytes().data(); }
    void DoUnmap() override {}

private:
    std::shared_ptr<const DeviceReport> mReport;
    std::shared_ptr<BufferResource> mResource;
};

struct TextureResource {
    TextureResource(const std::string& name, const TextureDescription& description);

    /// Bytes of one layer of a level.
    std::uint64_t GetLayerSize(std::uint32_t mipLevel) const;

    std::string mName;
    TextureDescription mDescription;
    std::vector<Image> mLevels;
};

class TextureCPU final : public Texture {
public:
    TextureCPU(std::string name, const TextureDescription& description, TextureState initialState);
    const std::shared_ptr<TextureResource>& GetResource() const { return mResource; }

private:
    std::shared_ptr<TextureResource> mResource;
};

class SamplerCPU final : public Sampler {
public:
    SamplerCPU(std::string name, const SamplerDescription& description);
    const SamplerDescription& GetDescription() const { return mDescription; }

private:
    SamplerDescription mDescription;
};

inline BufferCPU& ToCPU(Buffer& buffer) { return ToOwn<BufferCPU>(buffer, "buffer"); }
inline TextureCPU& ToCPU(Texture& texture) { return ToOwn<TextureCPU>(texture, "texture"); }

}  // namespace zeb::render::cpu
