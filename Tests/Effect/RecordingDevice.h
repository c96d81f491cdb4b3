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

    UniquePtr<RootSignature> CreateRootSignature(std::string name) override;
    UniquePtr<Buffer> CreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                   BufferState initialState, BufferUsage usage) override;
    UniquePtr<Texture> CreateTexture(std::string name, const TextureDescription& description, std::uint32_t reserved,
                                     TextureState initialState) override;
    UniquePtr<Sampler> CreateSampler(std::string name, const SamplerDescription& description) override;
    UniquePtr<ShaderLibrary> CreateShaderLibraryFromSource(std::string name, std::string source,
                                                           std::string options) override;
    UniquePtr<ShaderLibrary> CreateShaderLibraryFromEmbeddedData(std::string name) override;
    UniquePtr<DescriptorHeap> CreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                   std::int32_t count) override;
    void CreateConstantBufferView(DescriptorRange&, std::uint32_t, Buffer&, std::uint64_t, std::uint32_t) override {}
    void CreateShaderResourceBufferView(DescriptorRange&, std::uint32_t, Buffer&, std::uint64_t, std::uint32_t,
                                        std::uint32_t) override {}
    void CreateUnorderedAccessBufferView(DescriptorRange&, std::uint32_t, Buffer&, std::uint64_t, std::uint32_t,
                                         std::uint32_t) override {}
    void CreateTextureView(DescriptorRange&, std::uint32_t, Texture&) override {}
    void CreateUnorderedAccessTextureView(DescriptorRange&, std::uint32_t, Texture&) override {}
    void CreateSamplerView(DescriptorRange&, std::uint32_t, Sampler&) override {}
    void CreateRenderTargetView(DescriptorRange&, std::uint32_t, Texture&) override {}
    UniquePtr<GraphicsPipelineState> CreateGraphicsPipelineState(std::string name,
                                                                 const GraphicsPipelineDescription&) override;
    UniquePtr<ComputePipelineState> CreateComputePipelineState(std::string name,
                                                               const ComputePipelineDescription&) override;
    bool CanCapture() const override { return false; }
    void BeginCapture() override {}
    void EndCapture() override {}
    UniquePtr<CommandQueue> CreateCommandQueue(std::string name) override;
    std::uint32_t GetWaveLaneCount() const override { return mWaveLanes; }
    bool AreGroupBarriersCostly() const override { return mCostlyBarriers; }

    void Log(std::string line);
    /// Lines that begin with `prefix`, in order.
    std::vector<std::string> Find(const std::string& prefix) const;
    /// Bytes of the living buffer of that name; empty when there is none.
    std::vector<std::byte>& Bytes(const std::string& name);

    std::vector<std::string> mLog;
    std::vector<std::string> mCreated;  ///< "buffer NAME SIZE", "texture NAME WxH FORMAT", "program NAME", ...
    std::function<void(const std::string& pipeline)> mOnDispatch;

private:
    friend class RecordingBuffer;
    std::uint32_t mWaveLanes;
    bool mCostlyBarriers;
    std::map<std::string, std::vector<std::byte>*> mBuffers;
    std::vector<std::byte> mNone;
};

}  // namespace zeb::render
