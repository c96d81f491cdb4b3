#include "Device.h"

#include "Buffer.h"
#include "CommandQueue.h"
#include "DescriptorHeap.h"
#include "EnumTables.h"
#include "PipelineStates.h"
#include "RootSignature.h"
#include "Sampler.h"
#include "ShaderLibrary.h"
#include "Texture.h"

namespace zeb::render {
namespace {

using Kind = DescriptorRecord::Kind;

// Raw data is counted in 32-bit words.
constexpr UINT kRawStride = 4;

void WriteConstantView(ID3D12Device* device, const BufferDX12& buffer, const BufferViewDescription& view,
                       D3D12_CPU_DESCRIPTOR_HANDLE handle) {
    constexpr std::uint64_t kAlignment = D3D12_CONSTANT_BUFFER_DATA_PLACEMENT_ALIGNMENT;
    const std::uint64_t size = (view.mSizeInBytes + kAlignment - 1) / kAlignment * kAlignment;
    const D3D12_CONSTANT_BUFFER_VIEW_DESC desc = {buffer.GetAddress() + view.mByteOffset, static_cast<UINT>(size)};
    device->CreateConstantBufferView(&desc, handle);
}

void WriteReadView(ID3D12Device* device, const BufferDX12& buffer, const BufferViewDescription& view,
                   D3D12_CPU_DESCRIPTOR_HANDLE handle) {
    const UINT stride = view.mStride == 0 ? kRawStride : view.mStride;
    D3D12_SHADER_RESOURCE_VIEW_DESC desc = {};
    desc.Format = view.mStride == 0 ? DXGI_FORMAT_R32_TYPELESS : DXGI_FORMAT_UNKNOWN;
    desc.ViewDimension = D3D12_SRV_DIMENSION_BUFFER;
    desc.Shader4ComponentMapping = D3D12_DEFAULT_SHADER_4_COMPONENT_MAPPING;
    desc.Buffer.FirstElement = view.mByteOffset / stride;
    desc.Buffer.NumElements = static_cast<UINT>(view.mSizeInBytes / stride);
    desc.Buffer.StructureByteStride = view.mStride;
    desc.Buffer.Flags = view.mStride == 0 ? D3D12_BUFFER_SRV_FLAG_RAW : D3D12_BUFFER_SRV_FLAG_NONE;
    device->CreateShaderResourceView(buffer.GetResource()->mResource.Get(), &desc, handle);
}

void WriteReadWriteView(ID3D12Device* device, const BufferDX12& buffer, const BufferViewDescription& view,
                        D3D12_CPU_DESCRIPTOR_HANDLE handle) {
    const UINT stride = view.mStride == 0 ? kRawStride : view.mStride;
    D3D12_UNORDERED_ACCESS_VIEW_DESC desc = {};
    desc.Format = view.mStride == 0 ? DXGI_FORMAT_R32_TYPELESS : DXGI_FORMAT_UNKNOWN;
    desc.ViewDimension = D3D12_UAV_DIMENSION_BUFFER;
    desc.Buffer.FirstElement = view.mByteOffset / stride;
    desc.Buffer.NumElements = static_cast<UINT>(view.mSizeInBytes / stride);
    desc.Buffer.StructureByteStride = view.mStride;
    desc.Buffer.Flags = view.mStride == 0 ? D3D12_BUFFER_UAV_FLAG_RAW : D3D12_BUFFER_UAV_FLAG_NONE;
    device->CreateUnorderedAccessView(buffer.GetResource()->mResource.Get(), nullptr, &desc, handle);
}

D3D12_SHADER_RESOURCE_VIEW_DESC GetTextureReadView(const TextureDescription& texture) {
    D3D12_SHADER_RESOURCE_VIEW_DESC desc = {};
    desc.Format = GetFormatDX12(texture.mFormat);
    desc.Shader4ComponentMapping = D3D12_DEFAULT_SHADER_4_COMPONENT_MAPPING;
    switch (texture.mDimension) {
        case TextureDimension::Texture2D:
            desc.ViewDimension = D3D12_SRV_DIMENSION_TEXTURE2D;
            desc.Texture2D.MipLevels = texture.mMipLevels;
            break;
        case TextureDimension::Texture2DArray:
            desc.ViewDimension = D3D12_SRV_DIMENSION_TEXTURE2DARRAY;
            desc.Texture2DArray.MipLevels = texture.mMipLevels;
            desc.Texture2DArray.ArraySize = texture.mArraySize;
            break;
        default: ZEB_RENDER_THROW("Failed to create a texture view due to unsupported SRV diamension");
    }
    return desc;
}

// The first level and layer, as other devices have it.
D3D12_UNORDERED_ACCESS_VIEW_DESC GetTextureReadWriteView(const TextureDescription& texture) {
    D3D12_UNORDERED_ACCESS_VIEW_DESC desc = {};
    desc.Format = GetFormatDX12(texture.mFormat);
    switch (texture.mDimension) {
        case TextureDimension::Texture2D: desc.ViewDimension = D3D12_UAV_DIMENSION_TEXTURE2D; break;
        case TextureDimension::Texture2DArray:
            desc.ViewDimension = D3D12_UAV_DIMENSION_TEXTURE2DARRAY;
            desc.Texture2DArray.ArraySize = 1;
            break;
        default: ZEB_RENDER_THROW("Failed to create a texture view due to unsupported UAV diamension");
    }
    return desc;
}

D3D12_RENDER_TARGET_VIEW_DESC GetTargetView(const TextureDescription& texture) {
    D3D12_RENDER_TARGET_VIEW_DESC desc = {};
    desc.Format = GetFormatDX12(texture.mFormat);
    desc.ViewDimension = D3D12_RTV_DIMENSION_TEXTURE2D;
    if (texture.mDimension == TextureDimension::Texture2DArray) {
        desc.ViewDimension = D3D12_RTV_DIMENSION_TEXTURE2DARRAY;
        desc.Texture2DArray.ArraySize = 1;
    }
    return desc;
}

}  // namespace

UniquePtr<RootSignature> DeviceDX12::DoCreateRootSignature(std::string name) {
    return MakeUnique<RootSignatureDX12>(mContext, std::move(name));
}

UniquePtr<Buffer> DeviceDX12::DoCreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory,
                                             BufferState initialState, BufferUsage usage) {
    return MakeUnique<BufferDX12>(mContext, std::move(name), sizeInBytes, memory, initialState, usage);
}

UniquePtr<Texture> DeviceDX12::DoCreateTexture(std::string name, const TextureDescription& description,
                                               TextureState initialState) {
    return MakeUnique<TextureDX12>(mContext, std::move(name), description, initialState);
}

UniquePtr<Sampler> DeviceDX12::DoCreateSampler(std::string name, const SamplerDescription& description) {
    return MakeUnique<SamplerDX12>(std::move(name), description);
}

UniquePtr<ShaderLibrary> DeviceDX12::DoCreateShaderLibraryFromEmbeddedData(std::string name) {
    return MakeUnique<ShaderLibraryFromEmbeddedData>(std::move(name), mContext->GetShaderFormat());
}

UniquePtr<DescriptorHeap> DeviceDX12::DoCreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                             std::int32_t count) {
    return MakeUnique<DescriptorHeapDX12>(*mContext, std::move(name), type, count);
}

void DeviceDX12::DoCreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                    const BufferViewDescription& view) {
    DescriptorRangeDX12& to = ToDX12(range);
    const BufferDX12& own = ToDX12(buffer);
    const D3D12_CPU_DESCRIPTOR_HANDLE handle = to.GetCpuHandle(index);
    Kind kind = Kind::Constants;
    if (view.mKind == BufferViewKind::Constants) {
        WriteConstantView(mContext->Get(), own, view, handle);
    } else if (view.mKind == BufferViewKind::Read) {
        kind = Kind::Read;
        WriteReadView(mContext->Get(), own, view, handle);
    } else {
        kind = Kind::ReadWrite;
        WriteReadWriteView(mContext->Get(), own, view, handle);
    }
    to.SetRecord(index, {kind, own.GetResource()});
}

void DeviceDX12::DoCreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture,
                                     TextureViewKind kind) {
    DescriptorRangeDX12& to = ToDX12(range);
    const std::shared_ptr<ResourceDX12>& resource = ToDX12(texture).GetResource();
    ID3D12Resource* native = resource->mResource.Get();
    const D3D12_CPU_DESCRIPTOR_HANDLE handle = to.GetCpuHandle(index);
    switch (kind) {
        case TextureViewKind::Read: {
            const D3D12_SHADER_RESOURCE_VIEW_DESC desc = GetTextureReadView(texture.GetDescription());
            mContext->Get()->CreateShaderResourceView(native, &desc, handle);
            to.SetRecord(index, {Kind::Read, resource});
            break;
        }
        case TextureViewKind::ReadWrite: {
            const D3D12_UNORDERED_ACCESS_VIEW_DESC desc = GetTextureReadWriteView(texture.GetDescription());
            mContext->Get()->CreateUnorderedAccessView(native, nullptr, &desc, handle);
            to.SetRecord(index, {Kind::ReadWrite, resource});
            break;
        }
        case TextureViewKind::RenderTarget: {
            const D3D12_RENDER_TARGET_VIEW_DESC desc = GetTargetView(texture.GetDescription());
            mContext->Get()->CreateRenderTargetView(native, &desc, handle);
            to.SetRecord(index, {Kind::RenderTarget, resource});
            break;
        }
    }
}

void DeviceDX12::DoCreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) {
    DescriptorRangeDX12& to = ToDX12(range);
    mContext->Get()->CreateSampler(&ToOwn<SamplerDX12>(sampler, "sampler").GetDesc(), to.GetCpuHandle(index));
    to.SetRecord(index, {Kind::Sampler, nullptr});
}

UniquePtr<GraphicsPipelineState> DeviceDX12::DoCreateGraphicsPipelineState(
    std::string name, const GraphicsPipelineDescription& description) {
    return MakeUnique<GraphicsPipelineStateDX12>(*mContext, std::move(name), description);
}

UniquePtr<ComputePipelineState> DeviceDX12::DoCreateComputePipelineState(
    std::string name, const ComputePipelineDescription& description) {
    return MakeUnique<ComputePipelineStateDX12>(*mContext, std::move(name), description);
}

UniquePtr<CommandQueue> DeviceDX12::DoCreateCommandQueue(std::string name) {
    return MakeUnique<CommandQueueDX12>(mContext, std::move(name));
}

}  // namespace zeb::render
