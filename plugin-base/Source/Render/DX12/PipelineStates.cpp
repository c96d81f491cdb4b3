#include "PipelineStates.h"

#include <vector>

#include "EnumTables.h"
#include "PipelineKeys.h"
#include "RootSignature.h"

namespace zeb::render {
namespace {

D3D12_SHADER_BYTECODE GetBytecode(const Shader& shader) { return {shader.GetData(), shader.GetSize()}; }

// References into `description`, which outlives the call that reads them.
std::vector<D3D12_INPUT_ELEMENT_DESC> GetInputElements(const GraphicsPipelineDescription& description) {
    std::vector<D3D12_INPUT_ELEMENT_DESC> elements;
    for (const VertexElement& element : description.mVertexElements) {
        elements.push_back({element.mSemanticName.c_str(), element.mSemanticIndex, GetFormatDX12(element.mFormat),
                            element.mInputSlot, element.mAlignedByteOffset, D3D12_INPUT_CLASSIFICATION_PER_VERTEX_DATA,
                            0});
    }
    return elements;
}

D3D12_BLEND_DESC GetBlendState(const GraphicsPipelineDescription& description) {
    D3D12_RENDER_TARGET_BLEND_DESC target = {};
    target.BlendEnable = description.mBlendEnabled ? TRUE : FALSE;
    target.SrcBlend = GetBlendDX12(description.mSourceColorFactor, false);
    target.DestBlend = GetBlendDX12(description.mDestinationColorFactor, false);
    target.BlendOp = GetBlendOperationDX12(description.mColorOperation);
    target.SrcBlendAlpha = GetBlendDX12(description.mSourceAlphaFactor, true);
    target.DestBlendAlpha = GetBlendDX12(description.mDestinationAlphaFactor, true);
    target.BlendOpAlpha = GetBlendOperationDX12(description.mAlphaOperation);
    target.LogicOp = D3D12_LOGIC_OP_NOOP;
    target.RenderTargetWriteMask = D3D12_COLOR_WRITE_ENABLE_ALL;
    D3D12_BLEND_DESC state = {};
    for (D3D12_RENDER_TARGET_BLEND_DESC& each : state.RenderTarget) each = target;
    return state;
}

D3D12_RASTERIZER_DESC GetRasterState(const GraphicsPipelineDescription& description) {
    D3D12_RASTERIZER_DESC state = {};
    state.FillMode = GetFillModeDX12(description.mFillMode);
    state.CullMode = GetCullModeDX12(description.mCullMode);
    state.FrontCounterClockwise = description.mFrontFace == FrontFace::CounterClockwise ? TRUE : FALSE;
    state.DepthClipEnable = TRUE;
    return state;
}

std::shared_ptr<PipelineResource> CreatePipeline(const DeviceContext& context, const std::string& name,
                                                 const GraphicsPipelineDescription& description) {
    const std::vector<D3D12_INPUT_ELEMENT_DESC> elements = GetInputElements(description);
    D3D12_GRAPHICS_PIPELINE_STATE_DESC psoDesc = {};
    psoDesc.pRootSignature = ToDX12(*description.mRootSignature).CompileAndGet();
    psoDesc.VS = GetBytecode(*description.mVertexShader);
    psoDesc.PS = GetBytecode(*description.mPixelShader);
    psoDesc.BlendState = GetBlendState(description);
    psoDesc.SampleMask = UINT32_MAX;
    psoDesc.RasterizerState = GetRasterState(description);
    psoDesc.InputLayout = {elements.data(), static_cast<UINT>(elements.size())};
    psoDesc.IBStripCutValue = D3D12_INDEX_BUFFER_STRIP_CUT_VALUE_DISABLED;
    psoDesc.PrimitiveTopologyType = GetPrimitiveTopologyTypeDX12(description.mTopologyType);
    psoDesc.NumRenderTargets = static_cast<UINT>(description.mRenderTargetCount);
    for (UINT i = 0; i < psoDesc.NumRenderTargets; ++i)
        psoDesc.RTVFormats[i] = GetFormatDX12(description.mRenderTargetFormats[i]);
    psoDesc.SampleDesc = {description.mSampleCount, description.mSampleQuality};
    auto resource = std::make_shared<PipelineResource>();
    ZEB_DX12_CHECK_TEXT(context.Get()->CreateGraphicsPipelineState(
                            &psoDesc, IID_PPV_ARGS(resource->mPipelineState.ReleaseAndGetAddressOf())),
                        "mDevice.CreateGraphicsPipelineState( &psoDesc, IID_PPV_ARGS(&mPipelineState))", &context);
    SetNativeName(resource->mPipelineState.Get(), name);
    return resource;
}

std::shared_ptr<PipelineResource> CreatePipeline(const DeviceContext& context, const std::string& name,
                                                 const ComputePipelineDescription& description) {
    D3D12_COMPUTE_PIPELINE_STATE_DESC psoDesc = {};
    psoDesc.pRootSignature = ToDX12(*description.mRootSignature).CompileAndGet();
    psoDesc.CS = GetBytecode(*description.mComputeShader);
    auto resource = std::make_shared<PipelineResource>();
    ZEB_DX12_CHECK_TEXT(context.Get()->CreateComputePipelineState(
                            &psoDesc, IID_PPV_ARGS(resource->mPipelineState.ReleaseAndGetAddressOf())),
                        "mDevice.CreateComputePipelineState( &psoDesc, IID_PPV_ARGS(&mPipelineState))", &context);
    SetNativeName(resource->mPipelineState.Get(), name);
    return resource;
}

template <class Description>
std::shared_ptr<PipelineResource> GetPipeline(DeviceContext& context, const std::string& name,
                                              const Description& description) {
    return context.Pipelines().Get(MakeKey(name, description),
                                   [&] { return CreatePipeline(context, name, description); });
}

}  // namespace

GraphicsPipelineStateDX12::GraphicsPipelineStateDX12(const std::shared_ptr<DeviceContext>& context, std::string name,
                                                     const GraphicsPipelineDescription& description)
    : GraphicsPipelineState(std::move(name), description), mResource(GetPipeline(*context, GetName(), description)) {}

ComputePipelineStateDX12::ComputePipelineStateDX12(const std::shared_ptr<DeviceContext>& context, std::string name,
                                                   const ComputePipelineDescription& description)
    : ComputePipelineState(std::move(name), description), mResource(GetPipeline(*context, GetName(), description)) {}

}  // namespace zeb::render
