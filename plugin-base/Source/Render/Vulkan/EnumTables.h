#pragma once

#include "PluginBase/Render/Objects.h"
#include "PluginBase/Render/Types.h"
#include "VulkanApi.h"

/// The interface's enumerations in Vulkan's terms. A value without a row throws a RenderException that names it,
/// but for the fixed state of pipelines, whose unknown values have a meaning (see each).
namespace zeb::render {

VkFormat GetFormatVulkan(Format format);
VkIndexType GetIndexTypeVulkan(IndexFormat format);
VkImageViewType GetImageViewTypeVulkan(TextureDimension dimension);
VkFilter GetFilterVulkan(SamplerFilter filter);
VkSamplerAddressMode GetAddressModeVulkan(SamplerAddress mode);
VkPrimitiveTopology GetPrimitiveTopologyVulkan(Topology topology);
/// The class that a pipeline is made for, as its list topology.
Topology GetListTopology(TopologyType type);
VkShaderStageFlags GetShaderStagesVulkan(ShaderVisibility visibility);

VkBlendFactor GetBlendFactorVulkan(BlendFactor factor);       ///< unknown: zero
VkBlendOp GetBlendOperationVulkan(BlendOperation operation);  ///< unknown: add
VkPolygonMode GetPolygonModeVulkan(FillMode mode);            ///< unknown: solid
VkCullModeFlags GetCullModeVulkan(CullMode mode);             ///< unknown: none
VkFrontFace GetFrontFaceVulkan(FrontFace face);               ///< unknown: clockwise

}  // namespace zeb::render
