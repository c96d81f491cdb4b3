#include "PipelineStates.h"

#include <algorithm>

#include <fmt/format.h>

#include "EnumTables.h"
#include "PipelineKeys.h"

namespace zeb::render {
namespace {

VkPipelineShaderStageCreateInfo GetStageInfo(const PipelineStage& stage) {
    VkPipelineShaderStageCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO};
    info.stage = stage.mReflection.mStage;
    info.module = stage.mModule;
    info.pName = stage.mReflection.mEntryPoint.c_str();
    return info;
}

// The vertex input of a pipeline: attributes by their order, one binding for each slot.
struct VertexInput {
    VertexInput(const GraphicsPipelineDescription& description, const PipelineVariant& variant) {
        std::uint32_t location = 0;
        std::uint32_t slots = 0;
        for (const VertexElement& element : description.mVertexElements) {
            mAttributes.push_back(
                {location++, element.mInputSlot, GetFormatVulkan(element.mFormat), element.mAlignedByteOffset});
            if ((slots & (1U << element.mInputSlot)) != 0) continue;
            slots |= 1U << element.mInputSlot;
            mBindings.push_back(
                {element.mInputSlot, variant.mStrides[element.mInputSlot], VK_VERTEX_INPUT_RATE_VERTEX});
        }
        mInfo.vertexBindingDescriptionCount = static_cast<std::uint32_t>(mBindings.size());
        mInfo.pVertexBindingDescriptions = mBindings.data();
        mInfo.vertexAttributeDescriptionCount = static_cast<std::uint32_t>(mAttributes.size());
        mInfo.pVertexAttributeDescriptions = mAttributes.data();
    }

    std::vector<VkVertexInputAttributeDescription> mAttributes;
    std::vector<VkVertexInputBindingDescription> mBindings;
    VkPipelineVertexInputStateCreateInfo mInfo = {VK_STRUCTURE_TYPE_PIPELINE_VERTEX_INPUT_STATE_CREATE_INFO};
};

VkPipelineColorBlendAttachmentState GetBlendState(const GraphicsPipelineDescription& description) {
    VkPipelineColorBlendAttachmentState state = {};
    state.blendEnable = description.mBlendEnabled ? VK_TRUE : VK_FALSE;
    state.srcColorBlendFactor = GetBlendFactorVulkan(description.mSourceColorFactor);
    state.dstColorBlendFactor = GetBlendFactorVulkan(description.mDestinationColorFactor);
    state.colorBlendOp = GetBlendOperationVulkan(description.mColorOperation);
    state.srcAlphaBlendFactor = GetBlendFactorVulkan(description.mSourceAlphaFactor);
    state.dstAlphaBlendFactor = GetBlendFactorVulkan(description.mDestinationAlphaFactor);
    state.alphaBlendOp = GetBlendOperationVulkan(description.mAlphaOperation);
    state.colorWriteMask =
        VK_COLOR_COMPONENT_R_BIT | VK_COLOR_COMPONENT_G_BIT | VK_COLOR_COMPONENT_B_BIT | VK_COLOR_COMPONENT_A_BIT;
    return state;
}

VkPipelineRasterizationStateCreateInfo GetRasterState(const GraphicsPipelineDescription& description) {
    // Depth clamping stays off, which leaves depth clipping on.
    VkPipelineRasterizationStateCreateInfo state = {VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_STATE_CREATE_INFO};
    state.polygonMode = GetPolygonModeVulkan(description.mFillMode);
    state.cullMode = GetCullModeVulkan(description.mCullMode);
    state.frontFace = GetFrontFaceVulkan(description.mFrontFace);
    state.lineWidth = 1.0F;
    return state;
}

std::shared_ptr<PipelineResource> CreateComputePipeline(const std::shared_ptr<DeviceContext>& context,
                                                        const std::string& name,
                                                        const ComputePipelineDescription& description) {
    const auto layout = std::make_shared<PipelineLayout>(context, name);
    layout->AddStage(*description.mComputeShader, VK_SHADER_STAGE_COMPUTE_BIT);
    layout->Build(ToVulkan(*description.mRootSignature));
    auto resource = std::make_shared<PipelineResource>(layout);

    const PipelineStage& stage = layout->GetStages().front();
    VkPipelineShaderStageRequiredSubgroupSizeCreateInfo waveSize = {
        VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_REQUIRED_SUBGROUP_SIZE_CREATE_INFO};
    waveSize.requiredSubgroupSize = context->GetWaveLaneCount();
    VkComputePipelineCreateInfo info = {VK_STRUCTURE_TYPE_COMPUTE_PIPELINE_CREATE_INFO};
    info.stage = GetStageInfo(stage);
    if (stage.mReflection.mUsesWaves && context->MustPinWaveSize()) {
        info.stage.pNext = &waveSize;
        info.stage.flags = VK_PIPELINE_SHADER_STAGE_CREATE_REQUIRE_FULL_SUBGROUPS_BIT;
    }
    info.layout = layout->Get();
    ZEB_VK_CHECK_FOR(context->Api().vkCreateComputePipelines(context->Get(), context->GetPipelineCache(), 1, &info,
                                                             nullptr, &resource->mPipeline),
                     name);
    context->SetName(VK_OBJECT_TYPE_PIPELINE, resource->mPipeline, name);
    return resource;
}

}  // namespace

PipelineResource::~PipelineResource() {
    const DeviceContext& context = *mLayout->GetContext();
    context.Api().vkDestroyPipeline(context.Get(), mPipeline, nullptr);
}

ComputePipelineStateVulkan::ComputePipelineStateVulkan(const std::shared_ptr<DeviceContext>& context, std::string name,
                                                       const ComputePipelineDescription& description)
    : ComputePipelineState(std::move(name), description) {
    mResource = context->ComputePipelines().Get(MakeKey(GetName(), description),
                                                [&] { return CreateComputePipeline(context, GetName(), description); });
}

GraphicsPipelineStateVulkan::GraphicsPipelineStateVulkan(const std::shared_ptr<DeviceContext>& context,
                                                         std::string name,
                                                         const GraphicsPipelineDescription& description)
    : GraphicsPipelineState(std::move(name), description) {
    mPipelines = context->DrawPipelines().Get(MakeKey(GetName(), description), [&] {
        const auto layout = std::make_shared<PipelineLayout>(context, GetName());
        layout->AddStage(*description.mVertexShader, VK_SHADER_STAGE_VERTEX_BIT);
        layout->AddStage(*description.mPixelShader, VK_SHADER_STAGE_FRAGMENT_BIT);
        layout->Build(ToVulkan(*description.mRootSignature));
        return std::make_shared<GraphicsPipelines>(layout);
    });
    CheckDescription();
    if (GetVertexSlots() == 0) Get({GetListTopology(description.mTopologyType), {}});
}

void GraphicsPipelineStateVulkan::CheckDescription() const {
    const auto fail = [this](const std::string& what) {
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": {}", GetName(), what);
    };
    const GraphicsPipelineDescription& description = GetDescription();
    for (std::int32_t i = 0; i < description.mRenderTargetCount; ++i)
        GetFormatVulkan(description.mRenderTargetFormats[i]);
    if (description.mFillMode == FillMode::Wireframe && !GetLayout().GetContext()->HasWireframe())
        fail("the device draws no wireframes");
    for (const std::uint32_t location : GetLayout().GetStages().front().mReflection.mInputLocations) {
        if (location >= description.mVertexElements.size())
            fail(fmt::format("its program reads vertex element {}, which the description lacks", location));
    }
}

std::shared_ptr<PipelineResource> GraphicsPipelineStateVulkan::Get(PipelineVariant variant) const {
    for (std::size_t slot = 0; slot < kMaxVertexSlots; ++slot) {
        if ((GetVertexSlots() & (1U << slot)) == 0) variant.mStrides[slot] = 0;
    }
    return mPipelines->Get(variant, GetDescription());
}

std::shared_ptr<PipelineResource> GraphicsPipelines::Get(const PipelineVariant& variant,
                                                         const GraphicsPipelineDescription& description) {
    const std::lock_guard lock(mMutex);
    auto& pipeline = mVariants[variant];
    if (!pipeline) pipeline = Create(variant, description);
    return pipeline;
}

std::shared_ptr<PipelineResource> GraphicsPipelines::Create(const PipelineVariant& variant,
                                                            const GraphicsPipelineDescription& description) const {
    std::vector<VkPipelineShaderStageCreateInfo> stages;
    for (const PipelineStage& stage : mLayout->GetStages()) stages.push_back(GetStageInfo(stage));
    const VertexInput vertexInput(description, variant);
    VkPipelineInputAssemblyStateCreateInfo assembly = {VK_STRUCTURE_TYPE_PIPELINE_INPUT_ASSEMBLY_STATE_CREATE_INFO};
    assembly.topology = GetPrimitiveTopologyVulkan(variant.mTopology);
    VkPipelineViewportStateCreateInfo viewport = {VK_STRUCTURE_TYPE_PIPELINE_VIEWPORT_STATE_CREATE_INFO};
    viewport.viewportCount = 1;
    viewport.scissorCount = 1;
    VkPipelineRasterizationStateCreateInfo raster = GetRasterState(description);
    // The rule of Direct3D; without it a driver may draw lines as rectangles.
    VkPipelineRasterizationLineStateCreateInfoEXT lines = {
        VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_LINE_STATE_CREATE_INFO_EXT};
    lines.lineRasterizationMode = VK_LINE_RASTERIZATION_MODE_BRESENHAM_EXT;
    if (description.mTopologyType == TopologyType::Line && mLayout->GetContext()->HasBresenhamLines())
        raster.pNext = &lines;
    VkPipelineMultisampleStateCreateInfo samples = {VK_STRUCTURE_TYPE_PIPELINE_MULTISAMPLE_STATE_CREATE_INFO};
    samples.rasterizationSamples = VK_SAMPLE_COUNT_1_BIT;

    const auto targetCount = static_cast<std::size_t>(description.mRenderTargetCount);
    const std::vector<VkPipelineColorBlendAttachmentState> targets(targetCount, GetBlendState(description));
    VkPipelineColorBlendStateCreateInfo blend = {VK_STRUCTURE_TYPE_PIPELINE_COLOR_BLEND_STATE_CREATE_INFO};
    blend.attachmentCount = static_cast<std::uint32_t>(targets.size());
    blend.pAttachments = targets.data();
    constexpr VkDynamicState kDynamic[] = {VK_DYNAMIC_STATE_VIEWPORT, VK_DYNAMIC_STATE_SCISSOR};
    VkPipelineDynamicStateCreateInfo dynamic = {VK_STRUCTURE_TYPE_PIPELINE_DYNAMIC_STATE_CREATE_INFO};
    dynamic.dynamicStateCount = static_cast<std::uint32_t>(std::size(kDynamic));
    dynamic.pDynamicStates = kDynamic;

    std::vector<VkFormat> formats;
    for (std::size_t i = 0; i < targetCount; ++i)
        formats.push_back(GetFormatVulkan(description.mRenderTargetFormats[i]));
    VkPipelineRenderingCreateInfo rendering = {VK_STRUCTURE_TYPE_PIPELINE_RENDERING_CREATE_INFO};
    rendering.colorAttachmentCount = static_cast<std::uint32_t>(formats.size());
    rendering.pColorAttachmentFormats = formats.data();

    VkGraphicsPipelineCreateInfo info = {VK_STRUCTURE_TYPE_GRAPHICS_PIPELINE_CREATE_INFO, &rendering};
    info.stageCount = static_cast<std::uint32_t>(stages.size());
    info.pStages = stages.data();
    info.pVertexInputState = &vertexInput.mInfo;
    info.pInputAssemblyState = &assembly;
    info.pViewportState = &viewport;
    info.pRasterizationState = &raster;
    info.pMultisampleState = &samples;
    info.pColorBlendState = &blend;
    info.pDynamicState = &dynamic;
    info.layout = mLayout->Get();
    auto resource = std::make_shared<PipelineResource>(mLayout);
    const DeviceContext& context = *mLayout->GetContext();
    ZEB_VK_CHECK_FOR(context.Api().vkCreateGraphicsPipelines(context.Get(), context.GetPipelineCache(), 1, &info,
                                                             nullptr, &resource->mPipeline),
                     mLayout->GetName());
    context.SetName(VK_OBJECT_TYPE_PIPELINE, resource->mPipeline, mLayout->GetName());
    return resource;
}

ComputePipelineStateVulkan& ToVulkan(ComputePipelineState& state) {
    return ToOwn<ComputePipelineStateVulkan>(state, "pipeline");
}

GraphicsPipelineStateVulkan& ToVulkan(GraphicsPipelineState& state) {
    return ToOwn<GraphicsPipelineStateVulkan>(state, "pipeline");
}

RootSignatureVulkan& ToVulkan(RootSignature& signature) {
    return ToOwn<RootSignatureVulkan>(signature, "root signature");
}

}  // namespace zeb::render
