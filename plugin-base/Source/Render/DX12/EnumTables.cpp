#include "EnumTables.h"

#include <algorithm>
#include <array>
#include <optional>

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
    ZEB_RENDER_THROW("Failed to get the DX12 {} for the value of {}", what, static_cast<std::uint32_t>(key));
}

template <class Table, class Key>
auto Get(const Table& table, Key key, const char* what) {
    const auto value = Find(table, key);
    if (!value) ThrowUnknown(what, key);
    return *value;
}

constexpr auto kFormats = std::to_array<Row<Format, DXGI_FORMAT>>({
    {Format::RGBA32Float, DXGI_FORMAT_R32G32B32A32_FLOAT},
    {Format::RGBA16Float, DXGI_FORMAT_R16G16B16A16_FLOAT},
    {Format::RGBA16Unorm, DXGI_FORMAT_R16G16B16A16_UNORM},
    {Format::RGBA8Unorm, DXGI_FORMAT_R8G8B8A8_UNORM},
    {Format::R32Float, DXGI_FORMAT_R32_FLOAT},
});

constexpr auto kIndexFormats = std::to_array<Row<IndexFormat, DXGI_FORMAT>>({
    {IndexFormat::UInt16, DXGI_FORMAT_R16_UINT},
    {IndexFormat::UInt32, DXGI_FORMAT_R32_UINT},
});

constexpr auto kHeapTypes = std::to_array<Row<MemoryKind, D3D12_HEAP_TYPE>>({
    {MemoryKind::Default, D3D12_HEAP_TYPE_DEFAULT},
    {MemoryKind::Upload, D3D12_HEAP_TYPE_UPLOAD},
    {MemoryKind::Readback, D3D12_HEAP_TYPE_READBACK},
});

constexpr auto kBufferFlags = std::to_array<Row<BufferUsage, D3D12_RESOURCE_FLAGS>>({
    {BufferUsage::None, D3D12_RESOURCE_FLAG_NONE},
    {BufferUsage::UnorderedAccess, D3D12_RESOURCE_FLAG_ALLOW_UNORDERED_ACCESS},
    {BufferUsage::DenyShaderResource, D3D12_RESOURCE_FLAG_DENY_SHADER_RESOURCE},
});

constexpr auto kBufferStates = std::to_array<Row<BufferState, D3D12_RESOURCE_STATES>>({
    {BufferState::Common, D3D12_RESOURCE_STATE_COMMON},
    {BufferState::CopyDestination, D3D12_RESOURCE_STATE_COPY_DEST},
    {BufferState::CopySource, D3D12_RESOURCE_STATE_COPY_SOURCE},
    {BufferState::GenericRead, D3D12_RESOURCE_STATE_GENERIC_READ},
    {BufferState::UnorderedAccess, D3D12_RESOURCE_STATE_UNORDERED_ACCESS},
});

constexpr auto kAnyShader = static_cast<D3D12_RESOURCE_STATES>(UINT{D3D12_RESOURCE_STATE_PIXEL_SHADER_RESOURCE} |
                                                               UINT{D3D12_RESOURCE_STATE_NON_PIXEL_SHADER_RESOURCE});

constexpr auto kTextureStates = std::to_array<Row<TextureState, D3D12_RESOURCE_STATES>>({
    {TextureState::Common, D3D12_RESOURCE_STATE_COMMON},
    {TextureState::PixelShaderRead, D3D12_RESOURCE_STATE_PIXEL_SHADER_RESOURCE},
    {TextureState::NonPixelShaderRead, D3D12_RESOURCE_STATE_NON_PIXEL_SHADER_RESOURCE},
    {TextureState::ShaderRead, kAnyShader},
    {TextureState::RenderTarget, D3D12_RESOURCE_STATE_RENDER_TARGET},
    {TextureState::DepthWrite, D3D12_RESOURCE_STATE_DEPTH_WRITE},
    {TextureState::DepthRead, D3D12_RESOURCE_STATE_DEPTH_READ},
    {TextureState::CopyDestination, D3D12_RESOURCE_STATE_COPY_DEST},
    {TextureState::CopySource, D3D12_RESOURCE_STATE_COPY_SOURCE},
    {TextureState::ResolveDestination, D3D12_RESOURCE_STATE_RESOLVE_DEST},
    {TextureState::ResolveSource, D3D12_RESOURCE_STATE_RESOLVE_SOURCE},
    {TextureState::UnorderedAccess, D3D12_RESOURCE_STATE_UNORDERED_ACCESS},
});

constexpr auto kDimensions = std::to_array<Row<TextureDimension, D3D12_RESOURCE_DIMENSION>>({
    {TextureDimension::Texture2D, D3D12_RESOURCE_DIMENSION_TEXTURE2D},
    {TextureDimension::Texture2DArray, D3D12_RESOURCE_DIMENSION_TEXTURE2D},
});

constexpr auto kAddressModes = std::to_array<Row<SamplerAddress, D3D12_TEXTURE_ADDRESS_MODE>>({
    {SamplerAddress::Wrap, D3D12_TEXTURE_ADDRESS_MODE_WRAP},
    {SamplerAddress::Mirror, D3D12_TEXTURE_ADDRESS_MODE_MIRROR},
    {SamplerAddress::Clamp, D3D12_TEXTURE_ADDRESS_MODE_CLAMP},
});

constexpr auto kHeaps = std::to_array<Row<DescriptorHeapType, D3D12_DESCRIPTOR_HEAP_TYPE>>({
    {DescriptorHeapType::ShaderResources, D3D12_DESCRIPTOR_HEAP_TYPE_CBV_SRV_UAV},
    {DescriptorHeapType::RenderTargets, D3D12_DESCRIPTOR_HEAP_TYPE_RTV},
    {DescriptorHeapType::DepthTargets, D3D12_DESCRIPTOR_HEAP_TYPE_DSV},
    {DescriptorHeapType::Samplers, D3D12_DESCRIPTOR_HEAP_TYPE_SAMPLER},
});

constexpr auto kRangeTypes = std::to_array<Row<DescriptorRangeType, D3D12_DESCRIPTOR_RANGE_TYPE>>({
    {DescriptorRangeType::Texture, D3D12_DESCRIPTOR_RANGE_TYPE_SRV},
    {DescriptorRangeType::Buffer, D3D12_DESCRIPTOR_RANGE_TYPE_SRV},
    {DescriptorRangeType::UnorderedAccessTexture, D3D12_DESCRIPTOR_RANGE_TYPE_UAV},
    {DescriptorRangeType::UnorderedAccessBuffer, D3D12_DESCRIPTOR_RANGE_TYPE_UAV},
    {DescriptorRangeType::ConstantBuffer, D3D12_DESCRIPTOR_RANGE_TYPE_CBV},
    {DescriptorRangeType::Sampler, D3D12_DESCRIPTOR_RANGE_TYPE_SAMPLER},
});

constexpr auto kVisibilities = std::to_array<Row<ShaderVisibility, D3D12_SHADER_VISIBILITY>>({
    {ShaderVisibility::All, D3D12_SHADER_VISIBILITY_ALL},
    {ShaderVisibility::Vertex, D3D12_SHADER_VISIBILITY_VERTEX},
    {ShaderVisibility::Pixel, D3D12_SHADER_VISIBILITY_PIXEL},
});

constexpr auto kTopologies = std::to_array<Row<Topology, D3D12_PRIMITIVE_TOPOLOGY>>({
    {Topology::Undefined, D3D_PRIMITIVE_TOPOLOGY_UNDEFINED},
    {Topology::PointList, D3D_PRIMITIVE_TOPOLOGY_POINTLIST},
    {Topology::LineList, D3D_PRIMITIVE_TOPOLOGY_LINELIST},
    {Topology::LineStrip, D3D_PRIMITIVE_TOPOLOGY_LINESTRIP},
    {Topology::TriangleList, D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST},
    {Topology::TriangleStrip, D3D_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP},
});

constexpr auto kTopologyTypes = std::to_array<Row<TopologyType, D3D12_PRIMITIVE_TOPOLOGY_TYPE>>({
    {TopologyType::Point, D3D12_PRIMITIVE_TOPOLOGY_TYPE_POINT},
    {TopologyType::Line, D3D12_PRIMITIVE_TOPOLOGY_TYPE_LINE},
    {TopologyType::Triangle, D3D12_PRIMITIVE_TOPOLOGY_TYPE_TRIANGLE},
});

// Factors of colour and, where Direct3D wants another word, of alpha.
struct BlendPair {
    D3D12_BLEND mColor;
    D3D12_BLEND mAlpha;
};

constexpr auto kBlends = std::to_array<Row<BlendFactor, BlendPair>>({
    {BlendFactor::Zero, {D3D12_BLEND_ZERO, D3D12_BLEND_ZERO}},
    {BlendFactor::One, {D3D12_BLEND_ONE, D3D12_BLEND_ONE}},
    {BlendFactor::SourceColor, {D3D12_BLEND_SRC_COLOR, D3D12_BLEND_SRC_ALPHA}},
    {BlendFactor::InverseSourceColor, {D3D12_BLEND_INV_SRC_COLOR, D3D12_BLEND_INV_SRC_ALPHA}},
    {BlendFactor::SourceAlpha, {D3D12_BLEND_SRC_ALPHA, D3D12_BLEND_SRC_ALPHA}},
    {BlendFactor::InverseSourceAlpha, {D3D12_BLEND_INV_SRC_ALPHA, D3D12_BLEND_INV_SRC_ALPHA}},
    {BlendFactor::DestinationAlpha, {D3D12_BLEND_DEST_ALPHA, D3D12_BLEND_DEST_ALPHA}},
    {BlendFactor::InverseDestinationAlpha, {D3D12_BLEND_INV_DEST_ALPHA, D3D12_BLEND_INV_DEST_ALPHA}},
    {BlendFactor::DestinationColor, {D3D12_BLEND_DEST_COLOR, D3D12_BLEND_DEST_ALPHA}},
    {BlendFactor::InverseDestinationColor, {D3D12_BLEND_INV_DEST_COLOR, D3D12_BLEND_INV_DEST_ALPHA}},
});

constexpr auto kBlendOperations = std::to_array<Row<BlendOperation, D3D12_BLEND_OP>>({
    {BlendOperation::Add, D3D12_BLEND_OP_ADD},
    {BlendOperation::Subtract, D3D12_BLEND_OP_SUBTRACT},
    {BlendOperation::ReverseSubtract, D3D12_BLEND_OP_REV_SUBTRACT},
    {BlendOperation::Minimum, D3D12_BLEND_OP_MIN},
    {BlendOperation::Maximum, D3D12_BLEND_OP_MAX},
});

constexpr auto kCullModes = std::to_array<Row<CullMode, D3D12_CULL_MODE>>({
    {CullMode::None, D3D12_CULL_MODE_NONE},
    {CullMode::Front, D3D12_CULL_MODE_FRONT},
    {CullMode::Back, D3D12_CULL_MODE_BACK},
});

bool IsLinear(SamplerFilter filter) {
    if (filter > SamplerFilter::Linear) ThrowUnknown("texture filter type", filter);
    return filter == SamplerFilter::Linear;
}

}  // namespace

DXGI_FORMAT GetFormatDX12(Format format) { return Get(kFormats, format, "format"); }
DXGI_FORMAT GetIndexFormatDX12(IndexFormat format) { return Get(kIndexFormats, format, "index format"); }
D3D12_HEAP_TYPE GetHeapTypeDX12(MemoryKind memory) {
    return Find(kHeapTypes, memory).value_or(D3D12_HEAP_TYPE_DEFAULT);
}
D3D12_RESOURCE_FLAGS GetResourceFlagsDX12(BufferUsage usage) { return Get(kBufferFlags, usage, "resource flags"); }
D3D12_RESOURCE_STATES GetResourceStateDX12(BufferState state) { return Get(kBufferStates, state, "buffer state"); }
D3D12_RESOURCE_STATES GetResourceStateDX12(TextureState state) { return Get(kTextureStates, state, "resource state"); }
D3D12_RESOURCE_DIMENSION GetResourceDiamensionDX12(TextureDimension dimension) {
    return Get(kDimensions, dimension, "resource diamension");
}
D3D12_TEXTURE_ADDRESS_MODE GetAddressModeDX12(SamplerAddress mode) {
    return Get(kAddressModes, mode, "texture address mode");
}
D3D12_DESCRIPTOR_HEAP_TYPE GetDescriptorHeapTypeDX12(DescriptorHeapType type) {
    return Get(kHeaps, type, "descriptor heap type");
}
D3D12_DESCRIPTOR_RANGE_TYPE GetDescriptorRangeTypeDX12(DescriptorRangeType type) {
    return Get(kRangeTypes, type, "descriptor range type");
}
// The text is misspelt of old; hosts' users may have it in their notes.
D3D12_SHADER_VISIBILITY GetShaderVisibilityDX12(ShaderVisibility visibility) {
    return Get(kVisibilities, visibility, "shager visibility");
}
D3D12_PRIMITIVE_TOPOLOGY GetPrimitiveTopologyDX12(Topology topology) {
    return Get(kTopologies, topology, "primitive topology");
}
D3D12_PRIMITIVE_TOPOLOGY_TYPE GetPrimitiveTopologyTypeDX12(TopologyType type) {
    return Get(kTopologyTypes, type, "primitive topology type");
}

D3D12_RESOURCE_FLAGS GetResourceFlagsDX12(std::uint32_t usage) {
    // No format of this layer holds depth.
    constexpr std::uint32_t kKnown = kTextureUsageShaderRead | kTextureUsageUnorderedAccess | kTextureUsageRenderTarget;
    if ((usage & ~kKnown) != 0) ThrowUnknown("resource flags", usage);
    D3D12_RESOURCE_FLAGS flags = D3D12_RESOURCE_FLAG_NONE;
    if ((usage & kTextureUsageUnorderedAccess) != 0) flags |= D3D12_RESOURCE_FLAG_ALLOW_UNORDERED_ACCESS;
    if ((usage & kTextureUsageRenderTarget) != 0) flags |= D3D12_RESOURCE_FLAG_ALLOW_RENDER_TARGET;
    return flags;
}

D3D12_FILTER GetFilterDX12(const SamplerDescription& description) {
    // One bit for each of the three; none is point sampling throughout.
    std::uint32_t bits = 0;
    if (IsLinear(description.mMipFilter)) bits |= D3D12_FILTER_MIN_MAG_POINT_MIP_LINEAR;
    if (IsLinear(description.mMagFilter)) bits |= D3D12_FILTER_MIN_POINT_MAG_LINEAR_MIP_POINT;
    if (IsLinear(description.mMinFilter)) bits |= D3D12_FILTER_MIN_LINEAR_MAG_MIP_POINT;
    return static_cast<D3D12_FILTER>(bits);
}

D3D12_BLEND GetBlendDX12(BlendFactor factor, bool isAlpha) {
    const BlendPair pair = Find(kBlends, factor).value_or(BlendPair{D3D12_BLEND_ZERO, D3D12_BLEND_ZERO});
    return isAlpha ? pair.mAlpha : pair.mColor;
}
D3D12_BLEND_OP GetBlendOperationDX12(BlendOperation operation) {
    return Find(kBlendOperations, operation).value_or(D3D12_BLEND_OP_ADD);
}
D3D12_FILL_MODE GetFillModeDX12(FillMode mode) {
    return mode == FillMode::Wireframe ? D3D12_FILL_MODE_WIREFRAME : D3D12_FILL_MODE_SOLID;
}
D3D12_CULL_MODE GetCullModeDX12(CullMode mode) { return Find(kCullModes, mode).value_or(D3D12_CULL_MODE_NONE); }

}  // namespace zeb::render
