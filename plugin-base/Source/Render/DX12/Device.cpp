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

DeviceDX12::DeviceDX12(std::shared_ptr<DeviceContext> context, std::string name, const DescriptorHeapSizes& heapSizes)
    : DeviceOf(std::move(context), std::move(name), heapSizes) {}

DeviceDX12::~DeviceDX12() = default;

UniquePtr<ShaderLibrary> DeviceDX12::DoCreateShaderLibraryFromEmbeddedData(std::string name) {
    return MakeUnique<ShaderLibraryFromEmbeddedData>(std::move(name), GetContext()->GetShaderFormat());
}

void DeviceDX12::DoCreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                    const BufferViewDescription& view) {
    struct Form {
        Kind mKind;
        void (*mWrite)(ID3D12Device* device, const BufferDX12& buffer, const BufferViewDescription& view,
                       D3D12_CPU_DESCRIPTOR_HANDLE handle);
    };
    ID3D12Device* device = GetContext()->Get();
    const BufferDX12& own = ToDX12(buffer);
    const Form form = view.mKind == BufferViewKind::Constants ? Form{Kind::Constants, WriteConstantView}
                      : view.mKind == BufferViewKind::Read    ? Form{Kind::Read, WriteReadView}
                                                              : Form{Kind::ReadWrite, WriteReadWriteView};
    ToDX12(range).Set(device, index, {form.mKind, own.GetResource()},
                      [&](D3D12_CPU_DESCRIPTOR_HANDLE handle) { form.mWrite(device, own, view, handle); });
}

void DeviceDX12::DoCreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture,
                                     TextureViewKind kind) {
    ID3D12Device* device = GetContext()->Get();
    const TextureDescription& description = texture.GetDescription();
    const std::shared_ptr<ResourceDX12>& resource = ToDX12(texture).GetResource();
    ID3D12Resource* native = resource->mResource.Get();
    DescriptorRangeDX12& to = ToDX12(range);
    switch (kind) {
        case TextureViewKind::Read:
            to.Set(device, index, {Kind::Read, resource},
                   [&, desc = GetTextureReadView(description)](D3D12_CPU_DESCRIPTOR_HANDLE handle) {
                       device->CreateShaderResourceView(native, &desc, handle);
                   });
            break;
        case TextureViewKind::ReadWrite:
            to.Set(device, index, {Kind::ReadWrite, resource},
                   [&, desc = GetTextureReadWriteView(description)](D3D12_CPU_DESCRIPTOR_HANDLE handle) {
                       device->CreateUnorderedAccessView(native, nullptr, &desc, handle);
                   });
            break;
        case TextureViewKind::RenderTarget:
            to.Set(device, index, {Kind::RenderTarget, resource},
                   [&, desc = GetTargetView(description)](D3D12_CPU_DESCRIPTOR_HANDLE handle) {
                       device->CreateRenderTargetView(native, &desc, handle);
                   });
            break;
    }
}

void DeviceDX12::DoCreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) {
    ID3D12Device* device = GetContext()->Get();
    const auto& own = ToOwn<SamplerDX12>(sampler, "sampler");
    ToDX12(range).Set(device, index, {Kind::Sampler, nullptr},
                      [&](D3D12_CPU_DESCRIPTOR_HANDLE handle) { device->CreateSampler(&own.GetDesc(), handle); });
}

}  // namespace zeb::render
