#pragma once

#include "DX12Api.h"
#include "PluginBase/Render/Objects.h"
#include "PluginBase/Render/Types.h"

/// The interface's enumerations in Direct3D's terms. A value without a row throws a RenderException that names it,
/// but for heap types and the fixed state of pipelines, whose unknown values have a meaning (see each).
namespace zeb::render {

DXGI_FORMAT GetFormatDX12(Format format);
DXGI_FORMAT GetIndexFormatDX12(IndexFormat format);
D3D12_HEAP_TYPE GetHeapTypeDX12(MemoryKind memory);  ///< unknown: default
D3D12_RESOURCE_FLAGS GetResourceFlagsDX12(BufferUsage usage);
/// Of a texture's usage bits.
D3D12_RESOURCE_FLAGS GetResourceFlagsDX12(std::uint32_t usage);
D3D12_RESOURCE_STATES GetResourceStateDX12(BufferState state);
D3D12_RESOURCE_STATES GetResourceStateDX12(TextureState state);
D3D12_RESOURCE_DIMENSION GetResourceDiamensionDX12(TextureDimension dimension);
/// Of the three filters as one.
D3D12_FILTER GetFilterDX12(const SamplerDescription& description);
D3D12_TEXTURE_ADDRESS_MODE GetAddressModeDX12(SamplerAddress mode);
D3D12_DESCRIPTOR_HEAP_TYPE GetDescriptorHeapTypeDX12(DescriptorHeapType type);
D3D12_DESCRIPTOR_RANGE_TYPE GetDescriptorRangeTypeDX12(DescriptorRangeType type);
D3D12_SHADER_VISIBILITY GetShaderVisibilityDX12(ShaderVisibility visibility);
D3D12_PRIMITIVE_TOPOLOGY GetPrimitiveTopologyDX12(Topology topology);
D3D12_PRIMITIVE_TOPOLOGY_TYPE GetPrimitiveTopologyTypeDX12(TopologyType type);

D3D12_BLEND GetBlendDX12(BlendFactor factor, bool isAlpha);      ///< unknown: zero
D3D12_BLEND_OP GetBlendOperationDX12(BlendOperation operation);  ///< unknown: add
D3D12_FILL_MODE GetFillModeDX12(FillMode mode);                  ///< unknown: solid
D3D12_CULL_MODE GetCullModeDX12(CullMode mode);                  ///< unknown: none

}  // namespace zeb::render
