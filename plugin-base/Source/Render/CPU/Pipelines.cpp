#include "Render/CPU/Pipelines.h"

#include "Render/CPU/Resources.h"

namespace zeb::render::cpu {
namespace {

BoundRegister FindRegister(const std::string& pipeline, const ProgramBinding& binding,
                           const RootSignatureCPU& signature) {
    // A draw is one program: a parameter that one of its stages sees serves it.
    const auto place = FindPlace(signature, binding.mKind, binding.mRegister, binding.mType == BindingType::Texture,
                                 [](ShaderVisibility) { return true; });
    if (place) return {binding, *place};
    ZEB_RENDER_THROW(
        "Failed to create the pipeline \"{}\": its program uses {}, for which the root signature \"{}\" has no "
        "parameter",
        pipeline, GetRegisterName(binding.mKind, binding.mRegister), signature.GetName());
}

/// One stage of a program. Its data is the program's record.
class ShaderCPU final : public Shader {
public:
    ShaderCPU(const Program& program, ShaderType type) : mProgram(program), mType(type) {}
    const void* GetData() const override { return GetSize() != 0 ? &mProgram : nullptr; }
    std::size_t GetSize() const override {
        const bool has = mType == ShaderType::Compute ? mProgram.mCompute != nullptr : mProgram.mDraw != nullptr;
        return has ? sizeof(Program) : 0;
    }
    const Program& GetProgram() const { return mProgram; }
    ShaderType GetType() const { return mType; }

private:
    const Program& mProgram;
    ShaderType mType;
};

const Program& NeedStage(const Shader& stage, const std::string& pipeline, ShaderType type) {
    const auto* shader = dynamic_cast<const ShaderCPU*>(&stage);
    if (shader == nullptr)
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": a stage belongs to another device", pipeline);
    if (shader->GetType() != type)
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": a stage of its program is of another kind", pipeline);
    return shader->GetProgram();
}

const RootSignatureCPU& ToRootSignature(RootSignature& signature) {
    return ToOwn<RootSignatureCPU>(signature, "root signature");
}

}  // namespace

Pipeline::Pipeline(std::string name, const Program& program, const RootSignatureCPU& signature)
    : mName(std::move(name)), mProgram(program) {
    for (const ProgramBinding& binding : program.mBindings)
        mRegisters.push_back(FindRegister(mName, binding, signature));
}

UniquePtr<Shader> ShaderLibraryCPU::GetShader(ShaderType type) const {
    if (type > ShaderType::Compute) ZEB_RENDER_THROW("Unexpected shader type of {}", static_cast<std::uint32_t>(type));
    return MakeUnique<ShaderCPU>(mProgram, type);
}

ComputePipelineStateCPU::ComputePipelineStateCPU(std::string name, const ComputePipelineDescription& description)
    : ComputePipelineState(std::move(name), description) {
    const Program& program = NeedStage(*description.mComputeShader, GetName(), ShaderType::Compute);
    mPipeline = std::make_shared<const Pipeline>(GetName(), program, ToRootSignature(*description.mRootSignature));
}

GraphicsPipelineStateCPU::GraphicsPipelineStateCPU(std::string name, const GraphicsPipelineDescription& description)
    : GraphicsPipelineState(std::move(name), description) {
    const Program& program = NeedStage(*description.mVertexShader, GetName(), ShaderType::Vertex);
    const Program& pixels = NeedStage(*description.mPixelShader, GetName(), ShaderType::Pixel);
    if (&program != &pixels) {
        ZEB_RENDER_THROW(
            "Failed to create the pipeline \"{}\": its stages are of different programs, and this device "
            "runs a draw as one",
            GetName());
    }
    mPipeline = std::make_shared<const Pipeline>(GetName(), program, ToRootSignature(*description.mRootSignature));
    CheckDescription();
}

void GraphicsPipelineStateCPU::CheckDescription() const {
    const auto fail = [this](const std::string& what) {
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": {}", GetName(), what);
    };
    const GraphicsPipelineDescription& description = GetDescription();
    // The programs' pixel stages put out one colour.
    if (description.mRenderTargetCount != 1)
        fail(fmt::format("it has {} render targets", description.mRenderTargetCount));
    if (GetBytesPerPixel(description.mRenderTargetFormats[0]) == 0) {
        fail(fmt::format("Failed to get the format for the value of {}",
                         static_cast<std::uint32_t>(description.mRenderTargetFormats[0])));
    }
    CheckEnumeration(description.mTopologyType, TopologyType::Triangle, "primitive topology type");
    for (const VertexElement& element : description.mVertexElements) {
        if (GetBytesPerPixel(element.mFormat) == 0) {
            fail(fmt::format("Failed to get the format for the value of {}",
                             static_cast<std::uint32_t>(element.mFormat)));
        }
    }
    if (description.mVertexElements.size() < mPipeline->mProgram.mVertexElements) {
        fail(fmt::format("its program reads vertex element {}, which the description lacks",
                         mPipeline->mProgram.mVertexElements - 1));
    }
}

}  // namespace zeb::render::cpu
