#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "PluginBase/Misc/Hash.h"
#include "PluginBase/Render/Commands.h"
#include "PluginBase/Render/Objects.h"

namespace zeb::render {

/// Sizes of the heaps in each thread's record, in descriptors.
struct DescriptorHeapSizes {
    std::int32_t mShaderResources = 1024;
    std::int32_t mRenderTargets = 32;
    std::int32_t mSamplers = 128;
};

enum class BufferViewKind : std::uint32_t { Constants, Read, ReadWrite };

/// Part of a buffer as a program sees it. Offset and size in bytes; `mStride` 0 for raw data and constants.
struct BufferViewDescription {
    BufferViewKind mKind = BufferViewKind::Read;
    std::uint64_t mByteOffset = 0;
    std::uint64_t mSizeInBytes = 0;
    std::uint32_t mStride = 0;
};

enum class TextureViewKind : std::uint32_t { Read, ReadWrite, RenderTarget };

class FontManager;

/// What one host thread needs to render on a device; made at the thread's first request. It goes with the device, when
/// the thread has ended, or when the thread has drawn none of many frames (FrameScope). Members are destroyed in
/// reverse order, so the caches, which hold objects of the heaps and the queue, go first.
struct ThreadData {
    UniquePtr<CommandQueue> mCommandQueue;
    UniquePtr<DescriptorHeap> mShaderResourceHeap;
    UniquePtr<DescriptorHeap> mRenderTargetHeap;
    UniquePtr<DescriptorHeap> mSamplerHeap;
    UniquePtr<DeviceCache> mFrameworkCache;
    UniquePtr<DeviceCache> mEffectCache;
};

/// A GPU, or what stands for one. Makes all objects; the only object of the layer that threads share.
class Device : public ObjectWithName {
public:
    Device(std::string name, const DescriptorHeapSizes& heapSizes);
    ~Device() override;

    UniquePtr<RootSignature> CreateRootSignature(std::string name) { return DoCreateRootSignature(std::move(name)); }
    UniquePtr<Buffer> CreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                   BufferState initialState, BufferUsage usage);
    UniquePtr<Texture> CreateTexture(std::string name, const TextureDescription& description, std::uint32_t reserved,
                                     TextureState initialState);
    UniquePtr<Sampler> CreateSampler(std::string name, const SamplerDescription& description) {
        return DoCreateSampler(std::move(name), description);
    }
    /// The system carries no compiler: the library fails when a stage is asked of it.
    UniquePtr<ShaderLibrary> CreateShaderLibraryFromSource(std::string name, std::string source, std::string options);
    UniquePtr<ShaderLibrary> CreateShaderLibraryFromEmbeddedData(std::string name) {
        return DoCreateShaderLibraryFromEmbeddedData(std::move(name));
    }
    UniquePtr<DescriptorHeap> CreateDescriptorHeap(std::string name, DescriptorHeapType type, std::int32_t count);
    /// Begins at a multiple of 256 bytes; its size, rounded up to such, lies in the buffer.
    void CreateConstantBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer, std::uint64_t byteOffset,
                                  std::uint32_t sizeInBytes);
    /// `stride` is the size of an element in bytes, a multiple of 4 up to 2048; 0 for raw data, which is counted in
    /// 32-bit words and begins at a multiple of 16 bytes.
    void CreateShaderResourceBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                        std::uint64_t firstElement, std::uint32_t elementCount, std::uint32_t stride);
    void CreateUnorderedAccessBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                         std::uint64_t firstElement, std::uint32_t elementCount, std::uint32_t stride);
    void CreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture);
    void CreateUnorderedAccessTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture);
    void CreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler);
    void CreateRenderTargetView(DescriptorRange& range, std::uint32_t index, Texture& texture);
    UniquePtr<GraphicsPipelineState> CreateGraphicsPipelineState(std::string name,
                                                                 const GraphicsPipelineDescription& description) {
        return DoCreateGraphicsPipelineState(std::move(name), description);
    }
    UniquePtr<ComputePipelineState> CreateComputePipelineState(std::string name,
                                                               const ComputePipelineDescription& description) {
        return DoCreateComputePipelineState(std::move(name), description);
    }
    /// Whether the device can capture graphics calls for a debugger.
    virtual bool CanCapture() const = 0;
    virtual void BeginCapture() = 0;
    virtual void EndCapture() = 0;
    UniquePtr<CommandQueue> CreateCommandQueue(std::string name) { return DoCreateCommandQueue(std::move(name)); }

    /// Lanes of a wave that every compute program may rely on, or 0 when programs with wave operations
    /// must not be used. The sort's wave form needs at least 16 lanes and a divisor of 128.
    virtual std::uint32_t GetWaveLaneCount() const = 0;
    /// Whether a barrier inside a thread group is costly, as where programs run on the processor's cores;
    /// programs that get by without them are then the better choice.
    virtual bool AreGroupBarriersCostly() const = 0;
    /// Whether lines are one pixel for each step along their longer axis, by the rule of diamonds. Where not, programs
    /// find their pixels themselves.
    virtual bool HasDiamondLines() const { return true; }
    /// Whether compute encoders take ComputeCommandEncoder::Sort. Where not, a sort is made of programs.
    virtual bool CanSort() const { return false; }

    /// Largest side of a tile, in pixels.
    std::uint32_t GetTileSize() const { return mTileSize; }
    /// Most bytes that the device gives to one buffer or texture.
    std::uint64_t GetMemoryLimit() const { return mMemoryLimit; }
    /// Most bytes of a buffer that a program gets bound as storage at once.
    std::uint64_t GetStorageRange() const { return mStorageRange; }

    /// The calling thread's record, made on its first request with a queue named "Thread {}". The table
    /// of records is guarded; a record itself is used by its own thread only. A frame within a frame has a record of
    /// its own, so that it replaces nothing that the outer one still uses.
    ThreadData& GetThreadData();
    /// Lets the records go of all threads that are in no frame and have drawn one, the calling thread among them.
    void ReleaseIdleThreadData();
    /// Records that live now.
    std::size_t GetThreadDataCount();

protected:
    /// For a device whose textures are smaller than the usual tile.
    void LimitTileSize(std::uint32_t limit) {
        if (limit < mTileSize) mTileSize = limit;
    }
    /// For a device that does not bind buffers of any size.
    void LimitStorageRange(std::uint64_t limit) {
        if (limit < mStorageRange) mStorageRange = limit;
    }
    /// For a device that gives no more than so many bytes at once.
    void LimitMemory(std::uint64_t limit) {
        if (limit < mMemoryLimit) mMemoryLimit = limit;
    }
    // Arguments are checked when these are called.
    virtual UniquePtr<RootSignature> DoCreateRootSignature(std::string name) = 0;
    virtual UniquePtr<Buffer> DoCreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                             BufferState initialState, BufferUsage usage) = 0;
    virtual UniquePtr<Texture> DoCreateTexture(std::string name, const TextureDescription& description,
                                               TextureState initialState) = 0;
    virtual UniquePtr<Sampler> DoCreateSampler(std::string name, const SamplerDescription& description) = 0;
    virtual UniquePtr<ShaderLibrary> DoCreateShaderLibraryFromEmbeddedData(std::string name) = 0;
    virtual UniquePtr<DescriptorHeap> DoCreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                             std::int32_t count) = 0;
    virtual void DoCreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                    const BufferViewDescription& view) = 0;
    virtual void DoCreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture,
                                     TextureViewKind kind) = 0;
    virtual void DoCreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) = 0;
    virtual UniquePtr<GraphicsPipelineState> DoCreateGraphicsPipelineState(
        std::string name, const GraphicsPipelineDescription& description) = 0;
    virtual UniquePtr<ComputePipelineState> DoCreateComputePipelineState(
        std::string name, const ComputePipelineDescription& description) = 0;
    virtual UniquePtr<CommandQueue> DoCreateCommandQueue(std::string name) = 0;

    /// Destroys all records; a back end calls it before it takes its own device down.
    void ReleaseThreadData();

private:
    friend class FrameScope;

    /// A thread's records: the first outside frames and in a frame, one more for each frame within another.
    struct ThreadEntry;
    using Entries = std::unordered_map<std::uint32_t, std::unique_ptr<ThreadEntry>, IntegerHash>;

    void BeginFrame();
    void EndFrame() noexcept;
    ThreadEntry& GetThreadEntry(std::uint32_t thread);
    std::unique_ptr<ThreadData> MakeThreadData(std::uint32_t thread);
    template <class Condition>
    void ReleaseEntries(const Condition& condition) noexcept;
    void CreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                          const BufferViewDescription& view);
    void CreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture, TextureViewKind kind,
                           std::uint32_t neededUsage, DescriptorHeapType heap);

    std::uint32_t mTileSize = 16384;
    std::uint64_t mStorageRange = UINT64_MAX;
    std::uint64_t mMemoryLimit = UINT64_MAX;
    DescriptorHeapSizes mHeapSizes;
    UniquePtr<FontManager> mFontManager;
    std::mutex mThreadDataMutex;
    Entries mThreadEntries;
    std::uint64_t mFrameCount = 0;  ///< frames begun
};

/// A frame of the calling thread on a device. While it lives the thread's record is left alone; at its end, records of
/// threads that have ended, or that drew none of the last frames, are let go.
class FrameScope {
public:
    explicit FrameScope(Device& device) : mDevice(device) { mDevice.BeginFrame(); }
    ~FrameScope() { mDevice.EndFrame(); }
    FrameScope(const FrameScope&) = delete;
    FrameScope& operator=(const FrameScope&) = delete;

private:
    Device& mDevice;
};

}  // namespace zeb::render
