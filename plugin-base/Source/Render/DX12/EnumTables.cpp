#include "EnumTables.h"

#include "EnumTable.h"

namespace zeb::render {
namespace {

constexpr auto kFormats = std::to_array<EnumRow<Format, DXGI_FORMAT>>({
    {Format::RGBA32Float, DXGI_FORMAT_R32G32B32A32_FLOAT},
    {Format::RGBA16Float, DXGI_FORMAT_R16G16B16A16_FLOAT},
    {Format::RGBA16Unorm, DXGI_FORMAT_R16G16B16A16_UNORM},
    {Format::RGBA8Unorm, DXGI_FORMAT_R8G8B8A8_UNORM},
    {Format::R32Float, DXGI_FORMAT_R32_FLOAT},
});

constexpr auto kIndexFormats = std::to_array<EnumRow<IndexFormat, DXGI_FORMAT>>({
    {IndexFormat::UInt16, DXGI_FORMAT_R16_UINT},
    {IndexFormat::UInt32, DXGI_FORMAT_R32_UINT},
});

constexpr auto kHeapTypes = std::to_array<EnumRow<MemoryKind, D3D12_HEAP_TYPE>>({
    {MemoryKind::Default, D3D12_HEAP_TYPE_DEFAULT},
    {MemoryKind::Upload, D3D12_HEAP_TYPE_UPLOAD},
    {MemoryKind::Readback, D3D12_HEAP_TYPE_READBACK},
});

constexpr auto kBufferFlags = std::to_array<EnumRow<BufferUsage, D3D12_RESOURCE_FLAGS>>({
    {BufferUsage::None, D3D12_RESOURCE_FLAG_NONE},
    {BufferUsage::UnorderedAccess, D3D12_RESOURCE_FLAG_ALLOW_UNORDERED_ACCESS},
    {BufferUsage::DenyShaderResource, D3D12_RESOURCE_FLAG_DENY_SHADER_RESOURCE},
});

constexpr auto kBufferStates = std::to_array<EnumRow<BufferState, D3D12_RESOURCE_STATES>>({
    {BufferState::Common, D3D12_RESOURCE_STATE_COMMON},
    {BufferState::CopyDestination, D3D12_RESOURCE_STATE_COPY_DEST},
    {BufferState::CopySource, D3D12_RESOURCE_STATE_COPY_SOURCE},
    {BufferState::GenericRead, D3D12_RESOURCE_STATE_GENERIC_READ},
    {BufferState::UnorderedAccess, D3D12_RESOURCE_STATE_UNORDERED_ACCESS},
});

constexpr auto kAnyShader = static_cast<D3D12_RESOURCE_STATES>(UINT{D3D12_RESOURCE_STATE_PIXEL_SHADER_RESOURCE} |
                                                               UINT{D3D12_RESOURCE_STATE_NON_PIXEL_SHADER_RESOURCE});

constexpr auto kTextureStates = std::to_array<EnumRow<TextureState, D3D12_RESOURCE_STATES>>({
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

constexpr auto kDimensions = std::to_array<EnumRow<TextureDimension, D3D12_RESOURCE_DIMENSION>>({
    {TextureDimension::Texture2D, D3D12_RESOURCE_DIMENSION_TEXTURE2D},
    {TextureDimension::Texture2DArray, D3D12_RESOURCE_DIMENSION_TEXTURE2D},
});

constexpr auto kAddressModes = std::to_array<EnumRow<SamplerAddress, D3D12_TEXTURE_ADDRESS_MODE>>({
    {SamplerAddress::Wrap, D3D12_TEXTURE_ADDRESS_MODE_WRAP},
    {SamplerAddress::Mirror, D3D12_TEXTURE_ADDRESS_MODE_MIRROR},
    {SamplerAddress::Clamp, D3D12_TEXTURE_ADDRESS_MODE_CLAMP},
});

constexpr auto kHeaps = std::to_array<EnumRow<DescriptorHeapType, D3D12_DESCRIPTOR_HEAP_TYPE>>({
    {DescriptorHeapType::ShaderResources, D3D12_DESCRIPTOR_HEAP_TYPE_CBV_SRV_UAV},
    {DescriptorHeapType::RenderTargets, D3D12_DESCRIPTOR_HEAP_TYPE_RTV},
    {DescriptorHeapType::DepthTargets, D3D12_DESCRIPTOR_HEAP_TYPE_DSV},
    {DescriptorHeapType::Samplers, D3D12_DESCRIPTOR_HEAP_TYPE_SAMPLER},
});

constexpr auto kRangeTypes = std::to_array<EnumRow<DescriptorRangeType, D3D12_DESCRIPTOR_RANGE_TYPE>>({
    {DescriptorRangeType::Texture, D3D12_DESCRIPTOR_RANGE_TYPE_SRV},
    {DescriptorRangeType::Buffer, D3D12_DESCRIPTOR_RANGE_TYPE_SRV},
    {DescriptorRangeType::UnorderedAccessTexture, D3D12_DESCRIPTOR_RANGE_TYPE_UAV},
    {DescriptorRangeType::UnorderedAccessBuffer, D3D12_DESCRIPTOR_RANGE_TYPE_UAV},
    {DescriptorRangeType::ConstantBuffer, D3D12_DESCRIPTOR_RANGE_TYPE_CBV},
    {DescriptorRangeType::Sampler, D3D12_DESCRIPTOR_RANGE_TYPE_SAMPLER},
});

constexpr auto kVisibilities = std::to_array<EnumRow<ShaderVisibility, D3D12_SHADER_VISIBILITY>>({
    {ShaderVisibility::All, D3D12_SHADER_VISIBILITY_ALL},
    {ShaderVisibility::Vertex, D3D12_SHADER_VISIBILITY_VERTEX},
    {ShaderVisibility::Pixel, D3D12_SHADER_VISIBILITY_PIXEL},
});

constexpr auto kTopologies = std::to_array<EnumRow<Topology, D3D12_PRIMITIVE_TOPOLOGY>>({
    {Topology::Undefined, D3D_PRIMITIVE_TOPOLOGY_UNDEFINED},
    {Topology::PointList, D3D_PRIMITIVE_TOPOLOGY_POINTLIST},
    {Topology::LineList, D3D_PRIMITIVE_TOPOLOGY_LINELIST},
    {Topology::LineStrip, D3D_PRIMITIVE_TOPOLOGY_LINESTRIP},
    {Topology::TriangleList, D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST},
    {Topology::TriangleStrip, D3D_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP},
});

constexpr auto kTopologyTypes = std::to_array<EnumRow<TopologyType, D3D12_PRIMITIVE_TOPOLOGY_TYPE>>({
    {TopologyType::Point, D3D12_PRIMITIVE_TOPOLOGY_TYPE_POINT},
    {TopologyType::Line, D3D12_PRIMITIVE_TOPOLOGY_TYPE_LINE},
    {TopologyType::Triangle, D3D12_PRIMITIVE_TOPOLOGY_TYPE_TRIANGLE},
});

// Factors of colour and, where Direct3D wants another word, of alpha.
struct BlendPair {
    D3D12_BLEND mColor;
    D3D12_BLEND mAlpha;
};

constexpr auto kBlends = std::to_array<EnumRow<BlendFactor, BlendPair>>({
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

constexpr auto kBlendOperations = std::to_array<EnumRow<BlendOperation, D3D12_BLEND_OP>>({
    {BlendOperation::Add, D3D12_BLEND_OP_ADD},
    {BlendOperation::Subtract, D3D12_BLEND_OP_SUBTRACT},
    {BlendOperation::ReverseSubtract, D3D12_BLEND_OP_REV_SUBTRACT},
    {BlendOperation::Minimum, D3D12_BLEND_OP_MIN},
    {BlendOperation::Maximum, D3D12_BLEND_OP_MAX},
});

constexpr auto kCullModes = std::to_array<EnumRow<CullMode, D3D12_CULL_MODE>>({
    {CullMode::None, D3D12_CULL_MODE_NONE},
    {CullMode::Front, D3D12_CULL_MODE_FRONT},
    {CullMode::Back, D3D12_CULL_MODE_BACK},
});

bool IsLinear(SamplerFilter filter) {
    if (filter > SamplerFilter::Linear) ThrowUnknownValue(filter, "DX12 texture filter type");
    return filter == SamplerFilter::Linear;
}

}  // namespace

DXGI_FORMAT GetFormatDX12(Format format) { return GetValue(kFormats, format, "DX12 format"); }
DXGI_FORMAT GetIndexFormatDX12(IndexFormat format) { return GetValue(kIndexFormats, format, "DX12 index format"); }
D3D12_HEAP_TYPE GetHeapTypeDX12(MemoryKind memory) {
    return FindValue(kHeapTypes, memory).value_or(D3D12_HEAP_TYPE_DEFAULT);
}
D3D12_RESOURCE_FLAGS GetResourceFlagsDX12(BufferUsage usage) {
    return GetValue(kBufferFlags, usage, "DX12 resource flags");
}
D3D12_RESOURCE_STATES GetResourceStateDX12(BufferState state) {
    return GetValue(kBufferStates, state, "DX12 buffer state");
}
D3D12_RESOURCE_STATES GetResourceStateDX12(TextureState state) {
    return GetValue(kTextureStates, state, "DX12 resource state");
}
D3D12_RESOURCE_DIMENSION GetResourceDiamensionDX12(TextureDimension dimension) {
    return GetValue(kDimensions, dimension, "DX12 resource diamension");
}
D3D12_TEXTURE_ADDRESS_MODE GetAddressModeDX12(SamplerAddress mode) {
    return GetValue(kAddressModes, mode, "DX12 texture address mode");
}
D3D12_DESCRIPTOR_HEAP_TYPE GetDescriptorHeapTypeDX12(DescriptorHeapType type) {
    return GetValue(kHeaps, type, "DX12 descriptor heap type");
}
D3D12_DESCRIPTOR_RANGE_TYPE GetDescriptorRangeTypeDX12(DescriptorRangeType type) {
    return GetValue(kRangeTypes, type, "DX12 descriptor range type");
}
// The text is misspelt of old; hosts' users may have it in their notes.
D3D12_SHADER_VISIBILITY GetShaderVisibilityDX12(ShaderVisibility visibility) {
    return GetValue(kVisibilities, visibility, "DX12 shager visibility");
}
D3D12_PRIMITIVE_TOPOLOGY GetPrimitiveTopologyDX12(Topology topology) {
    return GetValue(kTopologies, topology, "DX12 primitive topology");
}
D3D12_PRIMITIVE_TOPOLOGY_TYPE GetPrimitiveTopologyTypeDX12(TopologyType type) {
    return GetValue(kTopologyTypes, type, "DX12 primitive topology type");
}

D3D12_RESOURCE_FLAGS GetResourceFlagsDX12(std::uint32_t usage) {
    // No format of this layer holds depth.
    constexpr std::uint32_t kKnown = kTextureUsageShaderRead | kTextureUsageUnorderedAccess | kTextureUsageRenderTarget;
    if ((usage & ~kKnown) != 0) ThrowUnknownValue(usage, "DX12 resource flags");
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
    const BlendPair pair = FindValue(kBlends, factor).value_or(BlendPair{D3D12_BLEND_ZERO, D3D12_BLEND_ZERO});
    return isAlpha ? pair.mAlpha : pair.mColor;
}
D3D12_BLEND_OP GetBlendOperationDX12(BlendOperation operation) {
    return FindValue(kBlendOperations, operation).value_or(D3D12_BLEND_OP_ADD);
}
D3D12_FILL_MODE GetFillModeDX12(FillMode mode) {
    return mode == FillMode::Wireframe ? D3D12_FILL_MODE_WIREFRAME : D3D12_FILL_MODE_SOLID;
}
D3D12_CULL_MODE GetCullModeDX12(CullMode mode) { return FindValue(kCullModes, mode).value_or(D3D12_CULL_MODE_NONE); }

}  // namespace zeb::render
