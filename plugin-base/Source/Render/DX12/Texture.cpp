#include "Texture.h"

#include "EnumTables.h"

namespace zeb::render {

TextureDX12::TextureDX12(const std::shared_ptr<DeviceContext>& context, std::string name,
                         const TextureDescription& description, TextureState initialState)
    : Texture(std::move(name), description), mResource(std::make_shared<ResourceDX12>(context, GetName())) {
    Init(initialState);
}

void TextureDX12::Init(TextureState initialState) {
    const TextureDescription& description = GetDescription();
    constexpr std::uint32_t kMaxSize = D3D12_REQ_TEXTURE2D_U_OR_V_DIMENSION;
    constexpr std::uint32_t kMaxLayers = D3D12_REQ_TEXTURE2D_ARRAY_AXIS_DIMENSION;
    if (description.mWidth > kMaxSize || description.mHeight > kMaxSize || description.mArraySize > kMaxLayers) {
        ZEB_RENDER_THROW(
            "Failed to create the texture \"{}\" of {} x {} with {} layers: the device's limit is {} x {} with {} "
            "layers",
            GetName(), description.mWidth, description.mHeight, description.mArraySize, kMaxSize, kMaxSize, kMaxLayers);
    }
    D3D12_HEAP_PROPERTIES heap = {};
    heap.Type = GetHeapTypeDX12(MemoryKind::Default);
    heap.CreationNodeMask = 1;
    heap.VisibleNodeMask = 1;
    D3D12_RESOURCE_DESC desc = {};
    desc.Dimension = GetResourceDiamensionDX12(description.mDimension);
    desc.Width = description.mWidth;
    desc.Height = description.mHeight;
    desc.DepthOrArraySize = static_cast<UINT16>(description.mArraySize);
    desc.MipLevels = static_cast<UINT16>(description.mMipLevels);
    desc.Format = GetFormatDX12(description.mFormat);
    desc.SampleDesc.Count = 1;
    desc.Flags = GetResourceFlagsDX12(description.mUsage);
    const D3D12_RESOURCE_STATES state = GetResourceStateDX12(initialState);
    D3D12_CLEAR_VALUE clear = {};
    clear.Format = desc.Format;
    const bool isTarget = (description.mUsage & kTextureUsageRenderTarget) != 0;

    ID3D12Device* device = mResource->mContext->Get();
    ZEB_DX12_CHECK_TEXT(
        device->CreateCommittedResource(&heap, D3D12_HEAP_FLAG_NONE, &desc, state, isTarget ? &clear : nullptr,
                                        IID_PPV_ARGS(mResource->mResource.ReleaseAndGetAddressOf())),
        "mDevice.CreateCommittedResource(&heapProps, D3D12_HEAP_FLAG_NONE, &heapDesc, "
        "GetResourceStateDX12(GetState()), clearValue, IID_PPV_ARGS(&mTexture))",
        mResource->mContext.get());
    mResource->mState = state;
    SetNativeName(mResource->mResource.Get(), GetName());
}

CopyableLayout TextureDX12::DoGetCopyableLayout(std::uint32_t mipLevel, std::uint32_t arrayIndex) const {
    const D3D12_RESOURCE_DESC desc = mResource->mResource->GetDesc();
    D3D12_PLACED_SUBRESOURCE_FOOTPRINT footprint = {};
    UINT rowCount = 0;
    UINT64 rowSize = 0;
    UINT64 totalSize = 0;
    mResource->mContext->Get()->GetCopyableFootprints(&desc, GetSubresource(mipLevel, arrayIndex), 1, 0, &footprint,
                                                      &rowCount, &rowSize, &totalSize);
    return {footprint.Footprint.RowPitch, rowSize, rowCount, totalSize};
}

TextureDX12& ToDX12(Texture& texture) { return ToOwn<TextureDX12>(texture, "texture"); }

}  // namespace zeb::render
