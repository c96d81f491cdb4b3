#include "Render/CPU/Resources.h"

#include <algorithm>

#include "PluginBase/Render/Failures.h"

namespace zeb::render::cpu {
namespace {

// Far beyond any frame's need; a number above it is a mistake, not a wish.
constexpr std::uint64_t kMaxBufferSize = std::uint64_t{1} << 38;
constexpr std::uint32_t kMaxLayers = 2048;

void CheckDescription(const TextureDescription& description, const std::string& name) {
    const auto& [dimension, format, width, height, arraySize, mipLevels, usage] = description;
    constexpr std::uint32_t kKnownUsage =
        kTextureUsageShaderRead | kTextureUsageUnorderedAccess | kTextureUsageRenderTarget;
    if ((usage & ~kKnownUsage) != 0) ThrowUnknownValue(usage, "resource flags");
    CheckEnumeration(dimension, TextureDimension::Texture2DArray, "resource diamension");
    if (GetBytesPerPixel(format) == 0) ThrowUnknownValue(format, "format");
    if (width > kMaxTextureSize || height > kMaxTextureSize || arraySize > kMaxLayers) {
        ZEB_RENDER_THROW(
            "Failed to create the texture \"{}\" of {} x {} with {} layers: the device's limit is {} x {} with {} "
            "layers",
            name, width, height, arraySize, kMaxTextureSize, kMaxTextureSize, kMaxLayers);
    }
}

}  // namespace

void DeviceReport::Report(const std::string& text) const {
    const std::lock_guard lock(mMutex);
    if (mReceiver) mReceiver(text);
}

BufferResource::BufferResource(const std::string& name, std::uint64_t size) : mName(name), mSize(size) {
    const std::string owner = fmt::format("the buffer \"{}\" of {} bytes", name, size);
    if (size > kMaxBufferSize)
        ZEB_RENDER_THROW("Failed to create {}: the device's limit is {} bytes", owner, kMaxBufferSize);
    mData.reset(static_cast<std::byte*>(std::calloc(static_cast<std::size_t>(size), 1)));
    if (!mData) {
        ZEB_THROW_AS(OutOfMemoryException, kInternalError, fmt::format("Failed to create {}: out of memory", owner));
    }
}

BufferCPU::BufferCPU(std::shared_ptr<const DeviceReport> report, std::string name, std::uint64_t sizeInBytes,
                     MemoryKind memory, BufferState initialState, BufferUsage usage)
    : Buffer(std::move(name), sizeInBytes, memory), mReport(std::move(report)) {
    CheckEnumeration(usage, BufferUsage::DenyShaderResource, "resource flags");
    CheckEnumeration(initialState, BufferState::UnorderedAccess, "buffer state");
    CheckEnumeration(memory, MemoryKind::Readback, "heap type");
    mResource = std::make_shared<BufferResource>(GetName(), sizeInBytes);
}

BufferCPU::~BufferCPU() {
    const std::string problem = CheckUnmapped();
    if (!problem.empty()) mReport->Report(problem);
}

TextureResource::TextureResource(const std::string& name, const TextureDescription& description)
    : mName(name), mDescription(description) {
    CheckDescription(mDescription, mName);
    for (std::uint32_t level = 0; level < description.mMipLevels; ++level) {
        mLevels.emplace_back(description.mFormat, std::max(description.mWidth >> level, 1U),
                             std::max(description.mHeight >> level, 1U), description.mArraySize);
    }
}

std::uint64_t TextureResource::GetLayerSize(std::uint32_t mipLevel) const {
    const Image& image = mLevels[mipLevel];
    return std::uint64_t{image.GetWidth()} * image.GetHeight() * GetBytesPerPixel(mDescription.mFormat);
}

TextureCPU::TextureCPU(std::string name, const TextureDescription& description, TextureState initialState)
    : Texture(std::move(name), description) {
    CheckEnumeration(initialState, TextureState::UnorderedAccess, "resource state");
    mResource = std::make_shared<TextureResource>(GetName(), description);
}

SamplerCPU::SamplerCPU(std::string name, const SamplerDescription& description)
    : Sampler(std::move(name)), mDescription(description) {
    for (const SamplerFilter filter : {description.mMagFilter, description.mMinFilter, description.mMipFilter})
        CheckEnumeration(filter, SamplerFilter::Linear, "texture filter type");
    for (const SamplerAddress mode : {description.mAddressU, description.mAddressV, description.mAddressW})
        CheckEnumeration(mode, SamplerAddress::Clamp, "texture address mode");
}

}  // namespace zeb::render::cpu
