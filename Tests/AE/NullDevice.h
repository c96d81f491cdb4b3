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

    zeb::UniquePtr<zeb::render::RootSignature> CreateRootSignature(std::string) override { return {}; }
    zeb::UniquePtr<zeb::render::Buffer> CreateBuffer(std::string, std::uint64_t, zeb::render::MemoryKind,
                                                     zeb::render::BufferState, zeb::render::BufferUsage) override {
        return {};
    }
    zeb::UniquePtr<zeb::render::Texture> CreateTexture(std::string, const zeb::render::TextureDescription&,
                                                       std::uint32_t, zeb::render::TextureState) override {
        return {};
    }
    zeb::UniquePtr<zeb::render::Sampler> CreateSampler(std::string, const zeb::render::SamplerDescription&) override {
        return {};
    }
    zeb::UniquePtr<zeb::render::ShaderLibrary> CreateShaderLibraryFromSource(std::string, std::string,
                                                                             std::string) override {
        return {};
    }
    zeb::UniquePtr<zeb::render::ShaderLibrary> CreateShaderLibraryFromEmbeddedData(std::string) override { return {}; }
    zeb::UniquePtr<zeb::render::DescriptorHeap> CreateDescriptorHeap(std::string, zeb::render::DescriptorHeapType,
                                                                     std::int32_t) override {
        return {};
    }
    void CreateConstantBufferView(zeb::render::DescriptorRange&, std::uint32_t, zeb::render::Buffer&, std::uint64_t,
                                  std::uint32_t) override {}
    void CreateShaderResourceBufferView(zeb::render::DescriptorRange&, std::uint32_t, zeb::render::Buffer&,
                                        std::uint64_t, std::uint32_t, std::uint32_t) override {}
    void CreateUnorderedAccessBufferView(zeb::render::DescriptorRange&, std::uint32_t, zeb::render::Buffer&,
                                         std::uint64_t, std::uint32_t, std::uint32_t) override {}
    void CreateTextureView(zeb::render::DescriptorRange&, std::uint32_t, zeb::render::Texture&) override {}
    void CreateUnorderedAccessTextureView(zeb::render::DescriptorRange&, std::uint32_t,
                                          zeb::render::Texture&) override {}
    void CreateSamplerView(zeb::render::DescriptorRange&, std::uint32_t, zeb::render::Sampler&) override {}
    void CreateRenderTargetView(zeb::render::DescriptorRange&, std::uint32_t, zeb::render::Texture&) override {}
    zeb::UniquePtr<zeb::render::GraphicsPipelineState> CreateGraphicsPipelineState(
        std::string, const zeb::render::GraphicsPipelineDescription&) override {
        return {};
    }
    zeb::UniquePtr<zeb::render::ComputePipelineState> CreateComputePipelineState(
        std::string, const zeb::render::ComputePipelineDescription&) override {
        return {};
    }
    zeb::UniquePtr<zeb::render::CommandQueue> CreateCommandQueue(std::string) override { return {}; }

    bool mCanCapture = false;
    int mBegun = 0;
    int mEnded = 0;
};

}  // namespace test
