#pragma once

#include <memory>
#include <string>
#include <vector>

#include "PluginBase/Render/Device.h"
#include "Render/CPU/Programs.h"

namespace zeb::render::cpu {

enum class RootParameterKind : std::uint32_t { Table, Constants, ConstantBuffer, ReadOnlyBuffer, ReadWriteBuffer };

struct RootRegister {
    RegisterKind mKind;
    std::uint32_t mRegister;
};

/// One parameter. A table covers several registers, every other kind one.
struct RootParameter {
    RootParameterKind mKind;
    std::vector<RootRegister> mRegisters;  ///< in the order of the table's descriptors
    std::uint32_t mConstantCount = 0;      ///< 32-bit words, for root constants
};

class RootSignatureCPU final : public RootSignature {
public:
    using RootSignature::RootSignature;
    void AddDescriptorTable(const std::vector<DescriptorTableRange>& ranges, ShaderVisibility visibility) override;
    void AddRootConstants(std::uint32_t count, std::uint32_t shaderRegister, std::uint32_t space) override;
    void AddRootConstantBufferView(std::uint32_t shaderRegister, std::uint32_t space) override;
    void AddRootShaderResourceBufferView(std::uint32_t shaderRegister, std::uint32_t space) override;
    void AddRootUnorderedAccessBufferView(std::uint32_t shaderRegister, std::uint32_t space) override;

    const std::vector<RootParameter>& GetParameters() const { return mParameters; }

private:
    void AddRoot(RootParameterKind kind, RegisterKind registerKind, std::uint32_t shaderRegister, std::uint32_t space,
                 std::uint32_t constantCount = 0);
    void CheckRegister(std::uint32_t shaderRegister) const;

    std::vector<RootParameter> mParameters;
};

/// A program's register and the parameter that it is bound by.
struct BoundRegister {
    ProgramBinding mBinding;
    std::uint32_t mParameter = 0;
    std::uint32_t mTableSlot = 0;
};

/// A program and how a root signature serves it; kept by the lists that use it.
struct Pipeline {
    /// Throws where the program uses a register that the signature has no fitting parameter for.
    Pipeline(std::string name, const Program& program, const RootSignatureCPU& signature);

    std::string mName;
    const Program& mProgram;
    std::vector<BoundRegister> mRegisters;
};

class ShaderLibraryCPU final : public ShaderLibrary {
public:
    explicit ShaderLibraryCPU(std::string name) : ShaderLibrary(std::move(name)), mProgram(GetProgram(GetName())) {}
    UniquePtr<Shader> GetShader(ShaderType type) const override;

private:
    const Program& mProgram;
};

class ComputePipelineStateCPU final : public ComputePipelineState {
public:
    ComputePipelineStateCPU(std::string name, const ComputePipelineDescription& description);
    const std::shared_ptr<const Pipeline>& GetPipeline() const { return mPipeline; }

private:
    std::shared_ptr<const Pipeline> mPipeline;
};

inline constexpr std::size_t kMaxVertexSlots = 4;

class GraphicsPipelineStateCPU final : public GraphicsPipelineState {
public:
    GraphicsPipelineStateCPU(std::string name, const GraphicsPipelineDescription& description);
    const std::shared_ptr<const Pipeline>& GetPipeline() const { return mPipeline; }
    /// Without the objects that it was made with, which may be gone.
    const GraphicsPipelineDescription& GetDescription() const { return mDescription; }

private:
    void CheckDescription() const;

    GraphicsPipelineDescription mDescription;
    std::shared_ptr<const Pipeline> mPipeline;
};

}  // namespace zeb::render::cpu
