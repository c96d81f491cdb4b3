#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "PluginBase/Misc/Hash.h"
#include "PluginBase/Render/Device.h"

/// One compute program with its root signature and pipeline, spoken to by the register numbers that the
/// program declares: the order of root parameters stays in here.
///
/// Declare all parameters before the first GetPipelineState. Binding a register that was not declared
/// throws zeb::Exception with its number. Thread: that of the device's record it was made for.
class ComputeProgram {
public:
    /// Groups of one dispatch along x that every device runs.
    static constexpr std::uint32_t kMaxGroups = 65535;

    /// `name` is that of an embedded program; `threadGroupSize` its threads of a group in x, or 0 where
    /// the caller of Dispatch states them.
    ComputeProgram(zeb::render::Device& device, std::string name, std::uint32_t threadGroupSize);

    void AddConstantBuffer(std::uint32_t shaderRegister);
    void AddRootConstants(std::uint32_t count, std::uint32_t shaderRegister);
    void AddShaderResource(std::uint32_t shaderRegister);
    void AddUnorderedAccess(std::uint32_t shaderRegister);
    /// A table of one range of `count` descriptors from `shaderRegister` on.
    void AddDescriptorTable(zeb::render::DescriptorRangeType type, std::uint32_t count, std::uint32_t shaderRegister);

    using Encoder = zeb::render::ComputeCommandEncoder;
    void SetConstant(Encoder& encoder, std::uint32_t shaderRegister, std::uint32_t value) const;
    void SetConstants(Encoder& encoder, std::uint32_t shaderRegister, std::uint32_t count, const void* data) const;
    void SetConstantBuffer(Encoder& encoder, std::uint32_t shaderRegister, zeb::render::Buffer& buffer,
                           std::uint64_t byteOffset) const;
    void SetDescriptorRange(Encoder& encoder, std::uint32_t shaderRegister, zeb::render::DescriptorRange& range,
                            std::uint32_t index) const;
    /// `sizeInBytes` of what the program touches; 0 for all that is left of the buffer.
    void SetShaderResource(Encoder& encoder, std::uint32_t shaderRegister, zeb::render::Buffer& buffer,
                           std::uint64_t byteOffset, std::uint64_t sizeInBytes = 0) const;
    void SetUnorderedAccess(Encoder& encoder, std::uint32_t shaderRegister, zeb::render::Buffer& buffer,
                            std::uint64_t byteOffset, std::uint64_t sizeInBytes = 0) const;

    std::uint32_t GetParameterIndex(std::uint32_t shaderRegister) const;
    /// Made at the first call and kept.
    zeb::render::ComputePipelineState& GetPipelineState();
    zeb::render::RootSignature& GetRootSignature() { return *mRootSignature; }
    /// Sets root signature and pipeline; bindings come after it.
    void Use(Encoder& encoder);

    const std::string& GetName() const { return mName; }
    /// Dispatches one thread for each of `count` items, in groups of the program's size. Where they are more than
    /// every device takes along x, they go on along y, and each row has kMaxGroups of them.
    void DispatchItems(Encoder& encoder, std::uint32_t count) const;

private:
    void Register(std::uint32_t shaderRegister);

    zeb::render::Device& mDevice;
    std::string mName;
    zeb::UniquePtr<zeb::render::ShaderLibrary> mLibrary;
    zeb::UniquePtr<zeb::render::Shader> mShader;
    zeb::UniquePtr<zeb::render::RootSignature> mRootSignature;
    zeb::UniquePtr<zeb::render::ComputePipelineState> mPipelineState;
    std::uint32_t mThreadGroupSize;
    std::uint32_t mNextParameterIndex = 0;
    std::unordered_map<std::uint32_t, std::uint32_t, zeb::IntegerHash> mParameterIndices;
};
