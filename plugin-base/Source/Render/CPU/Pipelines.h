#pragma once

#include <memory>
#include <string>
#include <vector>

#include "PluginBase/Render/Device.h"
#include "Render/CPU/Classes.h"
#include "Render/CPU/Programs.h"

namespace zeb::render::cpu {

/// A program's register and what it is bound by.
struct BoundRegister {
    ProgramBinding mBinding;
    RegisterPlace mPlace;
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

class GraphicsPipelineStateCPU final : public GraphicsPipelineState {
public:
    GraphicsPipelineStateCPU(std::string name, const GraphicsPipelineDescription& description);
    const std::shared_ptr<const Pipeline>& GetPipeline() const { return mPipeline; }

private:
    void CheckDescription() const;

    std::shared_ptr<const Pipeline> mPipeline;
};

}  // namespace zeb::render::cpu
