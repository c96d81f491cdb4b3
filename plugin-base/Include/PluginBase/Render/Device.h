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

/// What one host thread needs to render on a device; made at the thread's first request and kept for
/// the device's life. Members are destroyed in reverse order, so the caches, which hold objects of the
/// heaps and the queue, go first.
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

    virtual UniquePtr<RootSignature> CreateRootSignature(std::string name) = 0;
    virtual UniquePtr<Buffer> CreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                           BufferState initialState, BufferUsage usage) = 0;
    virtual UniquePtr<Texture> CreateTexture(std::string name, const TextureDescription& description,
                                             std::uint32_t reserved, TextureState initialState) = 0;
    virtual UniquePtr<Sampler> CreateSampler(std::string name, const SamplerDescription& description) = 0;
    virtual UniquePtr<ShaderLibrary> CreateShaderLibraryFromSource(std::string name, std::string source,
                                                                   std::string options) = 0;
    virtual UniquePtr<ShaderLibrary> CreateShaderLibraryFromEmbeddedData(std::string name) = 0;
    virtual UniquePtr<DescriptorHeap> CreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                           std::int32_t count) = 0;
    virtual void CreateConstantBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                          std::uint64_t byteOffset, std::uint32_t sizeInBytes) = 0;
    virtual void CreateShaderResourceBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                                std::uint64_t firstElement, std::uint32_t elementCount,
                                                std::uint32_t stride) = 0;
    virtual void CreateUnorderedAccessBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                                 std::uint64_t firstElement, std::uint32_t elementCount,
                                                 std::uint32_t stride) = 0;
    virtual void CreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture) = 0;
    virtual void CreateUnorderedAccessTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture) = 0;
    virtual void CreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) = 0;
    virtual void CreateRenderTargetView(DescriptorRange& range, std::uint32_t index, Texture& texture) = 0;
    virtual UniquePtr<GraphicsPipelineState> CreateGraphicsPipelineState(
        std::string name, const GraphicsPipelineDescription& description) = 0;
    virtual UniquePtr<ComputePipelineState> CreateComputePipelineState(
        std::string name, const ComputePipelineDescription& description) = 0;
    /// Whether the device can capture graphics calls for a debugger.
    virtual bool CanCapture() const = 0;
    virtual void BeginCapture() = 0;
    virtual void EndCapture() = 0;
    virtual UniquePtr<CommandQueue> CreateCommandQueue(std::string name) = 0;

    /// Lanes of a wave that every compute program may rely on, or 0 when programs with wave operations
    /// must not be used. The sort's wave form needs at least 16 lanes and a divisor of 128.
    virtual std::uint32_t GetWaveLaneCount() const = 0;
    /// Whether a barrier inside a thread group is costly, as where programs run on the processor's cores;
    /// programs that get by without them are then the better choice.
    virtual bool AreGroupBarriersCostly() const = 0;

    /// Largest side of a tile, in pixels.
    std::uint32_t GetTileSize() const { return mTileSize; }

    /// The calling thread's record, made on its first request with a queue named "Thread {}". The table
    /// of records is guarded; a record itself is used by its own thread only.
    ThreadData& GetThreadData();

protected:
    /// For a device whose textures are smaller than the usual tile.
    void LimitTileSize(std::uint32_t limit) {
        if (limit < mTileSize) mTileSize = limit;
    }
    /// Destroys all records; a back end calls it before it takes its own device down.
    void ReleaseThreadData();

private:
    std::uint32_t mTileSize = 16384;
    DescriptorHeapSizes mHeapSizes;
    std::mutex mThreadDataMutex;
    std::unordered_map<std::uint32_t, std::unique_ptr<ThreadData>, IntegerHash> mThreadData;
};

}  // namespace zeb::render
