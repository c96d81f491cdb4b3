#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "PluginBase/Render/Device.h"

/// A device without a GPU: what is recorded becomes lines of text, in order; buffers are plain memory
/// that tests can look into; copies between buffers are done at once, programs are not run.
namespace zeb::render {

class RecordingDevice final : public Device {
public:
    explicit RecordingDevice(std::uint32_t waveLanes = 0, bool costlyBarriers = false);
    ~RecordingDevice() override;

    bool CanCapture() const override { return false; }
    void BeginCapture() override {}
    void EndCapture() override {}
    std::uint32_t GetWaveLaneCount() const override { return mWaveLanes; }
    bool AreGroupBarriersCostly() const override { return mCostlyBarriers; }

    using Device::LimitMemory;
    using Device::LimitStorageRange;

    void Log(std::string line);
    /// Lines that begin with `prefix`, in order.
    std::vector<std::string> Find(const std::string& prefix) const;
    /// Bytes of the living buffer of that name; empty when there is none.
    std::vector<std::byte>& Bytes(const std::string& name);

    std::vector<std::string> mLog;
    std::vector<std::string> mCreated;  ///< "buffer NAME SIZE", "texture NAME WxH FORMAT", "program NAME", ...
    std::function<void(const std::string& pipeline)> mOnDispatch;

protected:
    UniquePtr<RootSignature> DoCreateRootSignature(std::string name) override;
    UniquePtr<Buffer> DoCreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                     BufferState initialState, BufferUsage usage) override;
    UniquePtr<Texture> DoCreateTexture(std::string name, const TextureDescription& description,
                                       TextureState initialState) override;
    UniquePtr<Sampler> DoCreateSampler(std::string name, const SamplerDescription& description) override;
    UniquePtr<ShaderLibrary> DoCreateShaderLibraryFromEmbeddedData(std::string name) override;
    UniquePtr<DescriptorHeap> DoCreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                     std::int32_t count) override;
    void DoCreateBufferView(DescriptorRange&, std::uint32_t, Buffer&, const BufferViewDescription&) override {}
    void DoCreateTextureView(DescriptorRange&, std::uint32_t, Texture&, TextureViewKind) override {}
    void DoCreateSamplerView(DescriptorRange&, std::uint32_t, Sampler&) override {}
    UniquePtr<GraphicsPipelineState> DoCreateGraphicsPipelineState(std::string name,
                                                                   const GraphicsPipelineDescription&) override;
    UniquePtr<ComputePipelineState> DoCreateComputePipelineState(std::string name,
                                                                 const ComputePipelineDescription&) override;
    UniquePtr<CommandQueue> DoCreateCommandQueue(std::string name) override;

private:
    friend class RecordingBuffer;
    std::uint32_t mWaveLanes;
    bool mCostlyBarriers;
    std::map<std::string, std::vector<std::byte>*> mBuffers;
    std::vector<std::byte> mNone;
};

}  // namespace zeb::render
