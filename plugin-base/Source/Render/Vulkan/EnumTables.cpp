#include "EnumTables.h"

#include "EnumTable.h"

namespace zeb::render {
namespace {

constexpr auto kFormats = std::to_array<EnumRow<Format, VkFormat>>({
    {Format::RGBA32Float, VK_FORMAT_R32G32B32A32_SFLOAT},
    {Format::RGBA16Float, VK_FORMAT_R16G16B16A16_SFLOAT},
    {Format::RGBA16Unorm, VK_FORMAT_R16G16B16A16_UNORM},
    {Format::RGBA8Unorm, VK_FORMAT_R8G8B8A8_UNORM},
    {Format::R32Float, VK_FORMAT_R32_SFLOAT},
});

constexpr auto kIndexTypes = std::to_array<EnumRow<IndexFormat, VkIndexType>>({
    {IndexFormat::UInt16, VK_INDEX_TYPE_UINT16},
    {IndexFormat::UInt32, VK_INDEX_TYPE_UINT32},
});

constexpr auto kViewTypes = std::to_array<EnumRow<TextureDimension, VkImageViewType>>({
    {TextureDimension::Texture2D, VK_IMAGE_VIEW_TYPE_2D},
    {TextureDimension::Texture2DArray, VK_IMAGE_VIEW_TYPE_2D_ARRAY},
});

constexpr auto kFilters = std::to_array<EnumRow<SamplerFilter, VkFilter>>({
    {SamplerFilter::Point, VK_FILTER_NEAREST},
    {SamplerFilter::Linear, VK_FILTER_LINEAR},
});

constexpr auto kAddressModes = std::to_array<EnumRow<SamplerAddress, VkSamplerAddressMode>>({
    {SamplerAddress::Wrap, VK_SAMPLER_ADDRESS_MODE_REPEAT},
    {SamplerAddress::Mirror, VK_SAMPLER_ADDRESS_MODE_MIRRORED_REPEAT},
    {SamplerAddress::Clamp, VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_EDGE},
});

constexpr auto kTopologies = std::to_array<EnumRow<Topology, VkPrimitiveTopology>>({
    {Topology::PointList, VK_PRIMITIVE_TOPOLOGY_POINT_LIST},
    {Topology::LineList, VK_PRIMITIVE_TOPOLOGY_LINE_LIST},
    {Topology::LineStrip, VK_PRIMITIVE_TOPOLOGY_LINE_STRIP},
    {Topology::TriangleList, VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST},
    {Topology::TriangleStrip, VK_PRIMITIVE_TOPOLOGY_TRIANGLE_STRIP},
});

constexpr auto kListTopologies = std::to_array<EnumRow<TopologyType, Topology>>({
    {TopologyType::Point, Topology::PointList},
    {TopologyType::Line, Topology::LineList},
    {TopologyType::Triangle, Topology::TriangleList},
});

constexpr auto kStages = std::to_array<EnumRow<ShaderVisibility, VkShaderStageFlags>>({
    {ShaderVisibility::All, VK_SHADER_STAGE_VERTEX_BIT | VK_SHADER_STAGE_FRAGMENT_BIT | VK_SHADER_STAGE_COMPUTE_BIT},
    {ShaderVisibility::Vertex, VK_SHADER_STAGE_VERTEX_BIT},
    {ShaderVisibility::Pixel, VK_SHADER_STAGE_FRAGMENT_BIT},
});

constexpr auto kBlendFactors = std::to_array<EnumRow<BlendFactor, VkBlendFactor>>({
    {BlendFactor::Zero, VK_BLEND_FACTOR_ZERO},
    {BlendFactor::One, VK_BLEND_FACTOR_ONE},
    {BlendFactor::SourceColor, VK_BLEND_FACTOR_SRC_COLOR},
    {BlendFactor::InverseSourceColor, VK_BLEND_FACTOR_ONE_MINUS_SRC_COLOR},
    {BlendFactor::SourceAlpha, VK_BLEND_FACTOR_SRC_ALPHA},
    {BlendFactor::InverseSourceAlpha, VK_BLEND_FACTOR_ONE_MINUS_SRC_ALPHA},
    {BlendFactor::DestinationAlpha, VK_BLEND_FACTOR_DST_ALPHA},
    {BlendFactor::InverseDestinationAlpha, VK_BLEND_FACTOR_ONE_MINUS_DST_ALPHA},
    {BlendFactor::DestinationColor, VK_BLEND_FACTOR_DST_COLOR},
    {BlendFactor::InverseDestinationColor, VK_BLEND_FACTOR_ONE_MINUS_DST_COLOR},
});

constexpr auto kBlendOperations = std::to_array<EnumRow<BlendOperation, VkBlendOp>>({
    {BlendOperation::Add, VK_BLEND_OP_ADD},
    {BlendOperation::Subtract, VK_BLEND_OP_SUBTRACT},
    {BlendOperation::ReverseSubtract, VK_BLEND_OP_REVERSE_SUBTRACT},
    {BlendOperation::Minimum, VK_BLEND_OP_MIN},
    {BlendOperation::Maximum, VK_BLEND_OP_MAX},
});

constexpr auto kCullModes = std::to_array<EnumRow<CullMode, VkCullModeFlags>>({
    {CullMode::None, VK_CULL_MODE_NONE},
    {CullMode::Front, VK_CULL_MODE_FRONT_BIT},
    {CullMode::Back, VK_CULL_MODE_BACK_BIT},
});

}  // namespace

VkFormat GetFormatVulkan(Format format) { return GetValue(kFormats, format, "format"); }
VkIndexType GetIndexTypeVulkan(IndexFormat format) { return GetValue(kIndexTypes, format, "index format"); }
VkImageViewType GetImageViewTypeVulkan(TextureDimension dimension) {
    return GetValue(kViewTypes, dimension, "resource diamension");
}
VkFilter GetFilterVulkan(SamplerFilter filter) { return GetValue(kFilters, filter, "texture filter type"); }
VkSamplerAddressMode GetAddressModeVulkan(SamplerAddress mode) {
    return GetValue(kAddressModes, mode, "texture address mode");
}
VkPrimitiveTopology GetPrimitiveTopologyVulkan(Topology topology) {
    return GetValue(kTopologies, topology, "primitive topology");
}
Topology GetListTopology(TopologyType type) { return GetValue(kListTopologies, type, "primitive topology type"); }
VkShaderStageFlags GetShaderStagesVulkan(ShaderVisibility visibility) {
    return GetValue(kStages, visibility, "shader visibility");
}

VkBlendFactor GetBlendFactorVulkan(BlendFactor factor) {
    return FindValue(kBlendFactors, factor).value_or(VK_BLEND_FACTOR_ZERO);
}
VkBlendOp GetBlendOperationVulkan(BlendOperation operation) {
    return FindValue(kBlendOperations, operation).value_or(VK_BLEND_OP_ADD);
}
VkPolygonMode GetPolygonModeVulkan(FillMode mode) {
    return mode == FillMode::Wireframe ? VK_POLYGON_MODE_LINE : VK_POLYGON_MODE_FILL;
}
VkCullModeFlags GetCullModeVulkan(CullMode mode) { return FindValue(kCullModes, mode).value_or(VK_CULL_MODE_NONE); }
VkFrontFace GetFrontFaceVulkan(FrontFace face) {
    return face == FrontFace::CounterClockwise ? VK_FRONT_FACE_COUNTER_CLOCKWISE : VK_FRONT_FACE_CLOCKWISE;
}

}  // namespace zeb::render
