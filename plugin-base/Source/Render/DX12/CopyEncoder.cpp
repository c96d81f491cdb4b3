#include <algorithm>

#include "Encoders.h"

namespace zeb::render {
namespace {

bool IsAligned(const TextureBufferCopy& copy) {
    return copy.mBufferOffset % D3D12_TEXTURE_DATA_PLACEMENT_ALIGNMENT == 0 &&
           copy.mRowPitch % D3D12_TEXTURE_DATA_PITCH_ALIGNMENT == 0;
}

std::uint64_t AlignPitch(std::uint64_t pitch) {
    constexpr std::uint64_t kAlignment = D3D12_TEXTURE_DATA_PITCH_ALIGNMENT;
    return (pitch + kAlignment - 1) / kAlignment * kAlignment;
}

std::uint64_t GetRowSize(const Texture& texture, const TextureRegion& region) {
    return std::uint64_t{region.mWidth} * GetBytesPerPixel(texture.GetFormat());
}

}  // namespace

// Direct3D copies rows between textures and buffers only at offsets of 512 and with pitches of 256 bytes. Others go by
// way of a buffer of this kind, row by row.
std::shared_ptr<ResourceDX12> CopyCommandEncoderDX12::MakeStaging(std::uint64_t sizeInBytes) {
    BufferDX12 staging(mList.GetContext(), mList.GetName() + " staging", sizeInBytes, MemoryKind::Default,
                       BufferState::Common, BufferUsage::None);
    return staging.GetResource();
}

void CopyCommandEncoderDX12::CopyBytes(const std::shared_ptr<ResourceDX12>& destination,
                                       std::uint64_t destinationOffset, const std::shared_ptr<ResourceDX12>& source,
                                       std::uint64_t sourceOffset, std::uint64_t sizeInBytes) {
    PendingStates states;
    states.Add(source, D3D12_RESOURCE_STATE_COPY_SOURCE);
    states.Add(destination, D3D12_RESOURCE_STATE_COPY_DEST);
    mList.Commit(states);
    mList.GetNative()->CopyBufferRegion(destination->mResource.Get(), destinationOffset, source->mResource.Get(),
                                        sourceOffset, sizeInBytes);
}

void CopyCommandEncoderDX12::CopyAligned(TextureDX12& texture, const std::shared_ptr<ResourceDX12>& buffer,
                                         const TextureBufferCopy& copy, bool isToTexture) {
    const TextureRegion& region = copy.mRegion;
    D3D12_TEXTURE_COPY_LOCATION image = {};
    image.pResource = texture.GetResource()->mResource.Get();
    image.Type = D3D12_TEXTURE_COPY_TYPE_SUBRESOURCE_INDEX;
    image.SubresourceIndex = texture.GetSubresource(region.mMipLevel, region.mArrayIndex);
    D3D12_TEXTURE_COPY_LOCATION rows = {};
    rows.pResource = buffer->mResource.Get();
    rows.Type = D3D12_TEXTURE_COPY_TYPE_PLACED_FOOTPRINT;
    rows.PlacedFootprint.Offset = copy.mBufferOffset;
    rows.PlacedFootprint.Footprint = {GetFormatDX12(texture.GetFormat()), region.mWidth, region.mHeight, 1,
                                      static_cast<UINT>(copy.mRowPitch)};
    PendingStates states;
    states.Add(buffer, isToTexture ? D3D12_RESOURCE_STATE_COPY_SOURCE : D3D12_RESOURCE_STATE_COPY_DEST);
    states.Add(texture.GetResource(), isToTexture ? D3D12_RESOURCE_STATE_COPY_DEST : D3D12_RESOURCE_STATE_COPY_SOURCE);
    mList.Commit(states);
    if (isToTexture) {
        mList.GetNative()->CopyTextureRegion(&image, region.mX, region.mY, 0, &rows, nullptr);
        return;
    }
    const D3D12_BOX box = {region.mX, region.mY, 0, region.mX + region.mWidth, region.mY + region.mHeight, 1};
    mList.GetNative()->CopyTextureRegion(&rows, 0, 0, 0, &image, &box);
}

void CopyCommandEncoderDX12::DoCopyToTexture(Texture& destination, Buffer& source, const TextureBufferCopy& copy) {
    TextureDX12& texture = ToDX12(destination);
    const std::shared_ptr<ResourceDX12>& buffer = ToDX12(source).GetResource();
    if (IsAligned(copy)) return CopyAligned(texture, buffer, copy, true);
    const std::uint64_t rowSize = GetRowSize(texture, copy.mRegion);
    const std::uint64_t pitch = AlignPitch(rowSize);
    const std::shared_ptr<ResourceDX12> staging = MakeStaging(pitch * copy.mRegion.mHeight);
    for (std::uint64_t y = 0; y < copy.mRegion.mHeight; ++y)
        CopyBytes(staging, y * pitch, buffer, copy.mBufferOffset + y * copy.mRowPitch, rowSize);
    CopyAligned(texture, staging, {copy.mRegion, 0, pitch}, true);
}

void CopyCommandEncoderDX12::DoCopyToBuffer(Buffer& destination, Texture& source, const TextureBufferCopy& copy) {
    TextureDX12& texture = ToDX12(source);
    const std::shared_ptr<ResourceDX12>& buffer = ToDX12(destination).GetResource();
    if (IsAligned(copy)) return CopyAligned(texture, buffer, copy, false);
    const std::uint64_t rowSize = GetRowSize(texture, copy.mRegion);
    const std::uint64_t pitch = AlignPitch(rowSize);
    const std::shared_ptr<ResourceDX12> staging = MakeStaging(pitch * copy.mRegion.mHeight);
    CopyAligned(texture, staging, {copy.mRegion, 0, pitch}, false);
    for (std::uint64_t y = 0; y < copy.mRegion.mHeight; ++y)
        CopyBytes(buffer, copy.mBufferOffset + y * copy.mRowPitch, staging, y * pitch, rowSize);
}

void CopyCommandEncoderDX12::DoCopyTexture(Texture& destination, Texture& source) {
    TextureDX12& to = ToDX12(destination);
    TextureDX12& from = ToDX12(source);
    PendingStates states;
    states.Add(from.GetResource(), D3D12_RESOURCE_STATE_COPY_SOURCE);
    states.Add(to.GetResource(), D3D12_RESOURCE_STATE_COPY_DEST);
    mList.Commit(states);
    D3D12_TEXTURE_COPY_LOCATION a = {};
    a.pResource = to.GetResource()->mResource.Get();
    a.Type = D3D12_TEXTURE_COPY_TYPE_SUBRESOURCE_INDEX;
    D3D12_TEXTURE_COPY_LOCATION b = a;
    b.pResource = from.GetResource()->mResource.Get();
    const UINT count = to.GetDescription().mMipLevels * to.GetDescription().mArraySize;
    for (UINT i = 0; i < count; ++i) {
        a.SubresourceIndex = i;
        b.SubresourceIndex = i;
        mList.GetNative()->CopyTextureRegion(&a, 0, 0, 0, &b, nullptr);
    }
}

void CopyCommandEncoderDX12::DoCopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source,
                                          std::uint64_t sourceOffset, std::uint64_t sizeInBytes) {
    const std::shared_ptr<ResourceDX12>& to = ToDX12(destination).GetResource();
    const std::shared_ptr<ResourceDX12>& from = ToDX12(source).GetResource();
    if (to != from) return CopyBytes(to, destinationOffset, from, sourceOffset, sizeInBytes);
    // A buffer is not read and written by one copy.
    const std::shared_ptr<ResourceDX12> staging = MakeStaging(sizeInBytes);
    CopyBytes(staging, 0, from, sourceOffset, sizeInBytes);
    CopyBytes(to, destinationOffset, staging, 0, sizeInBytes);
}

}  // namespace zeb::render
