#include "Render/CPU/Pipelines.h"

#include "Render/CPU/Resources.h"

namespace zeb::render::cpu {
namespace {

constexpr std::uint32_t kRegistersPerKind = 32;

// By DescriptorRangeType.
constexpr std::array<RegisterKind, 6> kRangeKinds = {RegisterKind::ReadOnly,  RegisterKind::ReadOnly,
                                                     RegisterKind::ReadWrite, RegisterKind::ReadWrite,
                                                     RegisterKind::Constants, RegisterKind::Sampler};

bool Fits(RootParameterKind kind, BindingType type) {
    switch (kind) {
        case RootParameterKind::Constants:
        case RootParameterKind::ConstantBuffer: return type == BindingType::Constants;
        case RootParameterKind::ReadOnlyBuffer:
        case RootParameterKind::ReadWriteBuffer: return type == BindingType::Buffer;
        default: return true;
    }
}

BoundRegister FindRegister(const std::string& pipeline, const ProgramBinding& binding,
                           const RootSignatureCPU& signature) {
    const std::vector<RootParameter>& parameters = signature.GetParameters();
    for (std::uint32_t p = 0; p < parameters.size(); ++p) {
        const std::vector<RootRegister>& registers = parameters[p].mRegisters;
        for (std::uint32_t slot = 0; slot < registers.size(); ++slot) {
            const bool isSame =
                registers[slot].mKind == binding.mKind && registers[slot].mRegister == binding.mRegister;
            if (isSame && Fits(parameters[p].mKind, binding.mType)) return {binding, p, slot};
        }
    }
    ZEB_RENDER_THROW(
        "Failed to create the pipeline \"{}\": its program uses {}, for which the root signature \"{}\" has no "
        "parameter",
        pipeline, GetRegisterName(binding), signature.GetName());
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

// The reference that a description must hold, or a failure that quotes it.
template <class T>
T& Need(T* pointer, const char* expression, const std::string& pipeline) {
    if (pointer == nullptr)
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": {} is missing", pipeline, expression);
    return *pointer;
}

const Program& NeedStage(const Shader* pointer, const char* expression, const std::string& pipeline, ShaderType type) {
    const auto* shader = dynamic_cast<const ShaderCPU*>(&Need(pointer, expression, pipeline));
    if (shader == nullptr)
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": a stage belongs to another device", pipeline);
    if (shader->GetSize() == 0)
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": its program lacks a stage", pipeline);
    if (shader->GetType() != type)
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": a stage of its program is of another kind", pipeline);
    return shader->GetProgram();
}

const RootSignatureCPU& NeedSignature(RootSignature* signature, const std::string& pipeline) {
    return ToCPU<RootSignatureCPU>(Need(signature, "*desc.mRootSignature", pipeline), "root signature");
}

}  // namespace

void RootSignatureCPU::CheckRegister(std::uint32_t shaderRegister) const {
    if (shaderRegister >= kRegistersPerKind) {
        ZEB_RENDER_THROW("The root signature \"{}\" uses register {}, the highest is {}", GetName(), shaderRegister,
                         kRegistersPerKind - 1);
    }
}

void RootSignatureCPU::AddDescriptorTable(const std::vector<DescriptorTableRange>& ranges,
                                          ShaderVisibility visibility) {
    CheckEnumeration(visibility, ShaderVisibility::Pixel, "shader visibility");
    RootParameter parameter = {RootParameterKind::Table, {}};
    for (const DescriptorTableRange& range : ranges) {
        CheckEnumeration(range.mType, DescriptorRangeType::Sampler, "descriptor range type");
        for (std::uint32_t i = 0; i < range.mCount; ++i) {
            CheckRegister(range.mRegister + i);
            parameter.mRegisters.push_back({kRangeKinds[static_cast<std::size_t>(range.mType)], range.mRegister + i});
        }
    }
    mParameters.push_back(std::move(parameter));
}

void RootSignatureCPU::AddRoot(RootParameterKind kind, RegisterKind registerKind, std::uint32_t shaderRegister,
                               std::uint32_t space, std::uint32_t constantCount) {
    if (space != 0)
        ZEB_RENDER_THROW("The root signature \"{}\" uses register space {}, only 0 exists", GetName(), space);
    CheckRegister(shaderRegister);
    mParameters.push_back({kind, {{registerKind, shaderRegister}}, constantCount});
}

void RootSignatureCPU::AddRootConstants(std::uint32_t count, std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::Constants, RegisterKind::Constants, shaderRegister, space, count);
}

void RootSignatureCPU::AddRootConstantBufferView(std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::ConstantBuffer, RegisterKind::Constants, shaderRegister, space);
}

void RootSignatureCPU::AddRootShaderResourceBufferView(std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::ReadOnlyBuffer, RegisterKind::ReadOnly, shaderRegister, space);
}

void RootSignatureCPU::AddRootUnorderedAccessBufferView(std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::ReadWriteBuffer, RegisterKind::ReadWrite, shaderRegister, space);
}

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
    : ComputePipelineState(std::move(name)) {
    const RootSignatureCPU& signature = NeedSignature(description.mRootSignature, GetName());
    const Program& program =
        NeedStage(description.mComputeShader, "*desc.mComputeShader", GetName(), ShaderType::Compute);
    mPipeline = std::make_shared<const Pipeline>(GetName(), program, signature);
}

GraphicsPipelineStateCPU::GraphicsPipelineStateCPU(std::string name, const GraphicsPipelineDescription& description)
    : GraphicsPipelineState(std::move(name)), mDescription(description) {
    const RootSignatureCPU& signature = NeedSignature(description.mRootSignature, GetName());
    const Program& program = NeedStage(description.mVertexShader, "*desc.mVertexShader", GetName(), ShaderType::Vertex);
    const Program& pixels = NeedStage(description.mPixelShader, "*desc.mPixelShader", GetName(), ShaderType::Pixel);
    if (&program != &pixels) {
        ZEB_RENDER_THROW(
            "Failed to create the pipeline \"{}\": its stages are of different programs, and this device "
            "runs a draw as one",
            GetName());
    }
    mPipeline = std::make_shared<const Pipeline>(GetName(), program, signature);
    CheckDescription();
    // What the description refers to is needed no more, and may go before this object does.
    mDescription.mRootSignature = nullptr;
    mDescription.mVertexShader = nullptr;
    mDescription.mPixelShader = nullptr;
}

void GraphicsPipelineStateCPU::CheckDescription() const {
    const auto fail = [this](const std::string& what) {
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": {}", GetName(), what);
    };
    // The programs' pixel stages put out one colour.
    if (mDescription.mRenderTargetCount != 1)
        fail(fmt::format("it has {} render targets", mDescription.mRenderTargetCount));
    if (GetBytesPerPixel(mDescription.mRenderTargetFormats[0]) == 0) {
        fail(fmt::format("Failed to get the format for the value of {}",
                         static_cast<std::uint32_t>(mDescription.mRenderTargetFormats[0])));
    }
    if (mDescription.mDepthFormat != Format::Unknown) fail("no format of this layer holds depth");
    if (mDescription.mSampleCount > 1) fail(fmt::format("{} samples are not supported", mDescription.mSampleCount));
    CheckEnumeration(mDescription.mTopologyType, TopologyType::Triangle, "primitive topology type");
    for (const VertexElement& element : mDescription.mVertexElements) {
        if (element.mInputSlot >= kMaxVertexSlots)
            fail(fmt::format("the vertex element {} lies in slot {}", element.mSemanticName, element.mInputSlot));
        if (GetBytesPerPixel(element.mFormat) == 0) {
            fail(fmt::format("Failed to get the format for the value of {}",
                             static_cast<std::uint32_t>(element.mFormat)));
        }
    }
    if (mDescription.mVertexElements.size() < mPipeline->mProgram.mVertexElements) {
        fail(fmt::format("its program reads vertex element {}, which the description lacks",
                         mPipeline->mProgram.mVertexElements - 1));
    }
}

}  // namespace zeb::render::cpu
