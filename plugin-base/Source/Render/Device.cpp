#include "PluginBase/Render/Device.h"

#include <algorithm>
#include <bit>

#include "FontManager.h"
#include "PluginBase/Misc/ThreadLife.h"
#include "PluginBase/Misc/ThreadNumber.h"
#include "RenderFailure.h"
#include "ShaderLibrary.h"

namespace zeb::render {
namespace {

// Raw data is counted in 32-bit words.
constexpr std::uint64_t kRawStride = 4;

BufferViewDescription GetElements(BufferViewKind kind, std::uint64_t first, std::uint32_t count, std::uint32_t stride) {
    const std::uint64_t size = stride == 0 ? kRawStride : stride;
    // An offset that no number holds lies outside any buffer.
    const std::uint64_t offset = first > UINT64_MAX / size ? UINT64_MAX : first * size;
    return {kind, offset, count * size, stride};
}

// What Direct3D asks of views holds for every device, so that what runs on one runs on all.
void CheckView(const Buffer& buffer, const BufferViewDescription& view) {
    constexpr std::uint64_t kConstantAlignment = 256;  // of size and offset
    constexpr std::uint64_t kRawAlignment = 16;
    constexpr std::uint32_t kStrideAlignment = 4;
    constexpr std::uint32_t kMaxStride = 2048;
    const bool isOfConstants = view.mKind == BufferViewKind::Constants;
    if (view.mStride % kStrideAlignment != 0 || view.mStride > kMaxStride) {
        ZEB_RENDER_THROW("A view of the buffer \"{}\" has elements of {} bytes: no multiple of {} up to {}",
                         buffer.GetName(), view.mStride, kStrideAlignment, kMaxStride);
    }
    std::uint64_t size = view.mSizeInBytes;
    if (isOfConstants) size = (size + kConstantAlignment - 1) / kConstantAlignment * kConstantAlignment;
    const std::uint64_t whole = buffer.GetSizeInBytes();
    if (size == 0 || view.mByteOffset > whole || size > whole - view.mByteOffset) {
        ZEB_RENDER_THROW("A view of {} bytes at {} lies outside the buffer \"{}\" of {} bytes", size, view.mByteOffset,
                         buffer.GetName(), whole);
    }
    const std::uint64_t alignment = isOfConstants ? kConstantAlignment : kRawAlignment;
    if (view.mStride == 0 && view.mByteOffset % alignment != 0) {
        ZEB_RENDER_THROW("A view at {} of the buffer \"{}\" does not begin at a multiple of {} bytes", view.mByteOffset,
                         buffer.GetName(), alignment);
    }
}

void CheckTexture(const TextureDescription& description, const std::string& name) {
    const auto& [dimension, format, width, height, arraySize, mipLevels, usage] = description;
    if (width == 0 || height == 0 || arraySize == 0 || mipLevels == 0) {
        ZEB_RENDER_THROW("Failed to create the texture \"{}\" of {} x {} x {} with {} mip levels: it is empty", name,
                         width, height, arraySize, mipLevels);
    }
    if (mipLevels > static_cast<std::uint32_t>(std::bit_width(std::max(width, height)))) {
        ZEB_RENDER_THROW("Failed to create the texture \"{}\" of {} x {}: it has no {} mip levels", name, width, height,
                         mipLevels);
    }
}

}  // namespace

Device::Device(std::string name, const DescriptorHeapSizes& heapSizes)
    : ObjectWithName(std::move(name)), mHeapSizes(heapSizes), mFontManager(MakeUnique<FontManager>()) {}

Device::~Device() { ReleaseThreadData(); }

UniquePtr<Buffer> Device::CreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                       BufferState initialState, BufferUsage usage) {
    if (sizeInBytes == 0)
        ZEB_RENDER_THROW("Failed to create the buffer \"{}\" of 0 bytes: a buffer cannot be empty", name);
    return DoCreateBuffer(std::move(name), sizeInBytes, memory, initialState, usage);
}

UniquePtr<Texture> Device::CreateTexture(std::string name, const TextureDescription& description, std::uint32_t,
                                         TextureState initialState) {
    CheckTexture(description, name);
    return DoCreateTexture(std::move(name), description, initialState);
}

UniquePtr<ShaderLibrary> Device::CreateShaderLibraryFromSource(std::string name, std::string, std::string) {
    return MakeUnique<ShaderLibraryFromSource>(std::move(name));
}

UniquePtr<DescriptorHeap> Device::CreateDescriptorHeap(std::string name, DescriptorHeapType type, std::int32_t count) {
    if (count <= 0) ZEB_RENDER_THROW("Failed to create the descriptor heap \"{}\" of {} descriptors", name, count);
    return DoCreateDescriptorHeap(std::move(name), type, count);
}

void Device::CreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                              const BufferViewDescription& view) {
    CheckView(buffer, view);
    range.Check(index, 1, DescriptorHeapType::ShaderResources);
    DoCreateBufferView(range, index, buffer, view);
}

void Device::CreateConstantBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                      std::uint64_t byteOffset, std::uint32_t sizeInBytes) {
    CreateBufferView(range, index, buffer, {BufferViewKind::Constants, byteOffset, sizeInBytes, 0});
}

void Device::CreateShaderResourceBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                            std::uint64_t firstElement, std::uint32_t elementCount,
                                            std::uint32_t stride) {
    CreateBufferView(range, index, buffer, GetElements(BufferViewKind::Read, firstElement, elementCount, stride));
}

void Device::CreateUnorderedAccessBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                             std::uint64_t firstElement, std::uint32_t elementCount,
                                             std::uint32_t stride) {
    CreateBufferView(range, index, buffer, GetElements(BufferViewKind::ReadWrite, firstElement, elementCount, stride));
}

void Device::CreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture, TextureViewKind kind,
                               std::uint32_t neededUsage, DescriptorHeapType heap) {
    const std::uint32_t usage = texture.GetDescription().mUsage;
    if ((usage & neededUsage) != neededUsage) {
        ZEB_RENDER_THROW("The texture \"{}\" of usage {} takes no view for the usage {}", texture.GetName(), usage,
                         neededUsage);
    }
    range.Check(index, 1, heap);
    DoCreateTextureView(range, index, texture, kind);
}

void Device::CreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture) {
    CreateTextureView(range, index, texture, TextureViewKind::Read, 0, DescriptorHeapType::ShaderResources);
}

void Device::CreateUnorderedAccessTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture) {
    CreateTextureView(range, index, texture, TextureViewKind::ReadWrite, kTextureUsageUnorderedAccess,
                      DescriptorHeapType::ShaderResources);
}

void Device::CreateRenderTargetView(DescriptorRange& range, std::uint32_t index, Texture& texture) {
    CreateTextureView(range, index, texture, TextureViewKind::RenderTarget, kTextureUsageRenderTarget,
                      DescriptorHeapType::RenderTargets);
}

void Device::CreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) {
    range.Check(index, 1, DescriptorHeapType::Samplers);
    DoCreateSamplerView(range, index, sampler);
}

struct Device::ThreadEntry {
    ThreadLife mLife;
    std::vector<std::unique_ptr<ThreadData>> mRecords;
    std::size_t mFrames = 0;       ///< under way, one within the other
    std::uint64_t mLastFrame = 0;  ///< the device's frame that began last on this thread, counted from 1
};

std::unique_ptr<ThreadData> Device::MakeThreadData(std::uint32_t thread) {
    auto data = std::make_unique<ThreadData>();
    data->mCommandQueue = CreateCommandQueue(fmt::format("Thread {}", thread));
    data->mShaderResourceHeap = CreateDescriptorHeap("PluginBase_CB_SR_UA_Heap", DescriptorHeapType::ShaderResources,
                                                     mHeapSizes.mShaderResources);
    data->mRenderTargetHeap = CreateDescriptorHeap("PluginBaseRenderTargetHeap", DescriptorHeapType::RenderTargets,
                                                   mHeapSizes.mRenderTargets);
    data->mSamplerHeap =
        CreateDescriptorHeap("PluginBaseSamplerHeap", DescriptorHeapType::Samplers, mHeapSizes.mSamplers);
    return data;
}

ThreadData& Device::GetThreadData() {
    const std::uint32_t thread = GetCurrentThreadNumber();
    std::size_t index = 0;
    {
        const std::lock_guard lock(mThreadDataMutex);
        const auto found = mThreadEntries.find(thread);
        if (found != mThreadEntries.end()) {
            const ThreadEntry& entry = *found->second;
            index = std::max<std::size_t>(entry.mFrames, 1) - 1;
            if (index < entry.mRecords.size() && entry.mRecords[index] != nullptr) return *entry.mRecords[index];
        }
    }
    // Made outside the lock: only this thread enters this key, and other threads need not wait for it.
    std::unique_ptr<ThreadData> data = MakeThreadData(thread);
    const std::lock_guard lock(mThreadDataMutex);
    ThreadEntry& entry = GetThreadEntry(thread);
    if (index >= entry.mRecords.size()) entry.mRecords.resize(index + 1);
    entry.mRecords[index] = std::move(data);
    return *entry.mRecords[index];
}

// Under the lock.
Device::ThreadEntry& Device::GetThreadEntry(std::uint32_t thread) {
    const auto found = mThreadEntries.find(thread);
    if (found != mThreadEntries.end()) return *found->second;
    return *mThreadEntries.emplace(thread, std::make_unique<ThreadEntry>()).first->second;
}

std::size_t Device::GetThreadDataCount() {
    const std::lock_guard lock(mThreadDataMutex);
    std::size_t count = 0;
    for (const auto& [thread, entry] : mThreadEntries) {
        for (const auto& record : entry->mRecords) count += record != nullptr ? 1 : 0;
    }
    return count;
}

void Device::BeginFrame() {
    const std::lock_guard lock(mThreadDataMutex);
    ThreadEntry& entry = GetThreadEntry(GetCurrentThreadNumber());
    ++entry.mFrames;
    entry.mLastFrame = ++mFrameCount;
}

void Device::EndFrame() noexcept {
    // Threads that take turns keep what they have.
    constexpr std::uint64_t kIdleFrames = 32;
    constexpr std::uint64_t kIdleTurns = 4;
    std::unique_ptr<ThreadData> inner;
    std::uint64_t limit = 0;
    {
        const std::lock_guard lock(mThreadDataMutex);
        ThreadEntry& entry = *mThreadEntries.find(GetCurrentThreadNumber())->second;
        if (entry.mFrames > 1 && entry.mRecords.size() == entry.mFrames) {
            inner = std::move(entry.mRecords.back());
            entry.mRecords.pop_back();
        }
        --entry.mFrames;
        const std::uint64_t idle = kIdleFrames + kIdleTurns * mThreadEntries.size();
        limit = mFrameCount > idle ? mFrameCount - idle : 0;
    }
    inner.reset();
    ReleaseEntries([limit](const ThreadEntry& entry) {
        return (entry.mLastFrame != 0 && entry.mLastFrame <= limit) || entry.mLife.HasEnded();
    });
}

void Device::ReleaseIdleThreadData() {
    ReleaseEntries([](const ThreadEntry& entry) { return entry.mLastFrame != 0; });
}

template <class Condition>
void Device::ReleaseEntries(const Condition& condition) noexcept {
    // One after the other, for which no memory is needed; each is destroyed outside the lock.
    for (;;) {
        Entries::node_type released;
        {
            const std::lock_guard lock(mThreadDataMutex);
            const auto found = std::ranges::find_if(mThreadEntries, [&](const auto& entry) {
                return entry.second->mFrames == 0 && condition(*entry.second);
            });
            if (found == mThreadEntries.end()) return;
            released = mThreadEntries.extract(found);
        }
    }
}

void Device::ReleaseThreadData() {
    Entries released;
    {
        const std::lock_guard lock(mThreadDataMutex);
        released.swap(mThreadEntries);
    }
}

}  // namespace zeb::render
