#pragma once

#include <stdexcept>
#include <string>

#include "PluginBase/Render/Render.h"

namespace test {

/// A device that makes nothing and counts captures.
class NullDevice final : public zeb::render::Device {
public:
    NullDevice() : Device("Null", {}) {}

    bool CanCapture() const override { return mCanCapture; }
    void BeginCapture() override { ++mBegun; }
    void EndCapture() override { ++mEnded; }
    std::uint32_t GetWaveLaneCount() const override { return 0; }
    bool AreGroupBarriersCostly() const override { return false; }

    bool mCanCapture = false;
    int mBegun = 0;
    int mEnded = 0;

protected:
    template <class T>
    using Made = zeb::UniquePtr<T>;
    Made<zeb::render::RootSignature> DoCreateRootSignature(std::string) override { return {}; }
    Made<zeb::render::Buffer> DoCreateBuffer(std::string, std::uint64_t, zeb::render::MemoryKind,
                                             zeb::render::BufferState, zeb::render::BufferUsage) override {
        return {};
    }
    Made<zeb::render::Texture> DoCreateTexture(std::string, const zeb::render::TextureDescription&,
                                               zeb::render::TextureState) override {
        return {};
    }
    Made<zeb::render::Sampler> DoCreateSampler(std::string, const zeb::render::SamplerDescription&) override {
        return {};
    }
    Made<zeb::render::ShaderLibrary> DoCreateShaderLibraryFromEmbeddedData(std::string) override { return {}; }
    Made<zeb::render::DescriptorHeap> DoCreateDescriptorHeap(std::string, zeb::render::DescriptorHeapType,
                                                             std::int32_t) override {
        return {};
    }
    void DoCreateBufferView(zeb::render::DescriptorRange&, std::uint32_t, zeb::render::Buffer&,
                            const zeb::render::BufferViewDescription&) override {}
    void DoCreateTextureView(zeb::render::DescriptorRange&, std::uint32_t, zeb::render::Texture&,
                             zeb::render::TextureViewKind) override {}
    void DoCreateSamplerView(zeb::render::DescriptorRange&, std::uint32_t, zeb::render::Sampler&) override {}
    Made<zeb::render::GraphicsPipelineState> DoCreateGraphicsPipelineState(
        std::string, const zeb::render::GraphicsPipelineDescription&) override {
        return {};
    }
    Made<zeb::render::ComputePipelineState> DoCreateComputePipelineState(
        std::string, const zeb::render::ComputePipelineDescription&) override {
        return {};
    }
    Made<zeb::render::CommandQueue> DoCreateCommandQueue(std::string) override { return {}; }
};

}  // namespace test
