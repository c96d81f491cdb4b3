#include "EnumTables.h"

#include <algorithm>
#include <array>
#include <optional>

#include <fmt/format.h>

namespace zeb::render {
namespace {

template <class Key, class Value>
struct Row {
    Key mKey;
    Value mValue;
};

template <class Key, class Value, std::size_t Count>
std::optional<Value> Find(const std::array<Row<Key, Value>, Count>& table, Key key) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const auto& row) { return row.mKey == key; });
    if (found == table.end()) return std::nullopt;
    return found->mValue;
}

template <class Key>
[[noreturn]] void ThrowUnknown(const char* what, Key key) {
    ZEB_RENDER_THROW("Failed to get the Vulkan {} for the value of {}", what, static_cast<std::uint32_t>(key));
}

template <class Table, class Key>
auto Get(const Table& table, Key key, const char* what) {
    const auto value = Find(table, key);
    if (!value) ThrowUnknown(what, key);
    return *value;
}

constexpr auto kFormats = std::to_array<Row<Format, VkFormat>>({
    {Format::RGBA32Float, VK_FORMAT_R32G32B32A32_SFLOAT},
    {Format::RGBA16Float, VK_FORMAT_R16G16B16A16_SFLOAT},
    {Format::RGBA16Unorm, VK_FORMAT_R16G16B16A16_UNORM},
    {Format::RGBA8Unorm, VK_FORMAT_R8G8B8A8_UNORM},
    {Format::R32Float, VK_FORMAT_R32_SFLOAT},
});

constexpr auto kIndexTypes = std::to_array<Row<IndexFormat, VkIndexType>>({
    {IndexFormat::UInt16, VK_INDEX_TYPE_UINT16},
    {IndexFormat::UInt32, VK_INDEX_TYPE_UINT32},
});

constexpr auto kViewTypes = std::to_array<Row<TextureDimension, VkImageViewType>>({
    {TextureDimension::Texture2D, VK_IMAGE_VIEW_TYPE_2D},
    {TextureDimension::Texture2DArray, VK_IMAGE_VIEW_TYPE_2D_ARRAY},
});

constexpr auto kFilters = std::to_array<Row<SamplerFilter, VkFilter>>({
    {SamplerFilter::Point, VK_FILTER_NEAREST},
    {SamplerFilter::Linear, VK_FILTER_LINEAR},
});

constexpr auto kAddressModes = std::to_array<Row<SamplerAddress, VkSamplerAddressMode>>({
    {SamplerAddress::Wrap, VK_SAMPLER_ADDRESS_MODE_REPEAT},
    {SamplerAddress::Mirror, VK_SAMPLER_ADDRESS_MODE_MIRRORED_REPEAT},
    {SamplerAddress::Clamp, VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_EDGE},
});

constexpr auto kTopologies = std::to_array<Row<Topology, VkPrimitiveTopology>>({
    {Topology::PointList, VK_PRIMITIVE_TOPOLOGY_POINT_LIST},
    {Topology::LineList, VK_PRIMITIVE_TOPOLOGY_LINE_LIST},
    {Topology::LineStrip, VK_PRIMITIVE_TOPOLOGY_LINE_STRIP},
    {Topology::TriangleList, VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST},
    {Topology::TriangleStrip, VK_PRIMITIVE_TOPOLOGY_TRIANGLE_STRIP},
});

constexpr auto kListTopologies = std::to_array<Row<TopologyType, Topology>>({
    {TopologyType::Point, Topology::PointList},
    {TopologyType::Line, Topology::LineList},
    {TopologyType::Triangle, Topology::TriangleList},
});

constexpr auto kStages = std::to_array<Row<ShaderVisibility, VkShaderStageFlags>>({
    {ShaderVisibility::All, VK_SHADER_STAGE_VERTEX_BIT | VK_SHADER_STAGE_FRAGMENT_BIT | VK_SHADER_STAGE_COMPUTE_BIT},
    {ShaderVisibility::Vertex, VK_SHADER_STAGE_VERTEX_BIT},
    {ShaderVisibility::Pixel, VK_SHADER_STAGE_FRAGMENT_BIT},
});

constexpr auto kBlendFactors = std::to_array<Row<BlendFactor, VkBlendFactor>>({
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

constexpr auto kBlendOperations = std::to_array<Row<BlendOperation, VkBlendOp>>({
    {BlendOperation::Add, VK_BLEND_OP_ADD},
    {BlendOperation::Subtract, VK_BLEND_OP_SUBTRACT},
    {BlendOperation::ReverseSubtract, VK_BLEND_OP_REVERSE_SUBTRACT},
    {BlendOperation::Minimum, VK_BLEND_OP_MIN},
    {BlendOperation::Maximum, VK_BLEND_OP_MAX},
});

constexpr auto kCullModes = std::to_array<Row<CullMode, VkCullModeFlags>>({
    {CullMode::None, VK_CULL_MODE_NONE},
    {CullMode::Front, VK_CULL_MODE_FRONT_BIT},
    {CullMode::Back, VK_CULL_MODE_BACK_BIT},
});

}  // namespace

VkFormat GetFormatVulkan(Format format) { return Get(kFormats, format, "format"); }
VkIndexType GetIndexTypeVulkan(IndexFormat format) { return Get(kIndexTypes, format, "index format"); }
VkImageViewType GetImageViewTypeVulkan(TextureDimension dimension) {
    return Get(kViewTypes, dimension, "resource diamension");
}
VkFilter GetFilterVulkan(SamplerFilter filter) { return Get(kFilters, filter, "texture filter type"); }
VkSamplerAddressMode GetAddressModeVulkan(SamplerAddress mode) {
    return Get(kAddressModes, mode, "texture address mode");
}
VkPrimitiveTopology GetPrimitiveTopologyVulkan(Topology topology) {
    return Get(kTopologies, topology, "primitive topology");
}
Topology GetListTopology(TopologyType type) { return Get(kListTopologies, type, "primitive topology type"); }
VkShaderStageFlags GetShaderStagesVulkan(ShaderVisibility visibility) {
    return Get(kStages, visibility, "shader visibility");
}

VkBlendFactor GetBlendFactorVulkan(BlendFactor factor) {
    return Find(kBlendFactors, factor).value_or(VK_BLEND_FACTOR_ZERO);
}
VkBlendOp GetBlendOperationVulkan(BlendOperation operation) {
    return Find(kBlendOperations, operation).value_or(VK_BLEND_OP_ADD);
}
VkPolygonMode GetPolygonModeVulkan(FillMode mode) {
    return mode == FillMode::Wireframe ? VK_POLYGON_MODE_LINE : VK_POLYGON_MODE_FILL;
}
VkCullModeFlags GetCullModeVulkan(CullMode mode) { return Find(kCullModes, mode).value_or(VK_CULL_MODE_NONE); }
VkFrontFace GetFrontFaceVulkan(FrontFace face) {
    return face == FrontFace::CounterClockwise ? VK_FRONT_FACE_COUNTER_CLOCKWISE : VK_FRONT_FACE_CLOCKWISE;
}

void CheckBufferUsage(BufferUsage usage) {
    if (usage > BufferUsage::DenyShaderResource) ThrowUnknown("resource flags", usage);
}
void CheckBufferState(BufferState state) {
    if (state > BufferState::UnorderedAccess) ThrowUnknown("buffer state", state);
}
void CheckTextureState(TextureState state) {
    if (state > TextureState::UnorderedAccess) ThrowUnknown("resource state", state);
}

}  // namespace zeb::render
