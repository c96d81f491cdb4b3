#include <algorithm>
#include <cstring>

#include "Render/CPU/Encoders.h"

namespace zeb::render::cpu {
namespace {

void CheckBufferRange(const BufferResource& buffer, std::uint64_t offset, std::uint64_t size) {
    if (offset <= buffer.mSize && size <= buffer.mSize - offset) return;
    ZEB_RENDER_THROW("A copy of {} bytes at {} lies outside the buffer \"{}\" of {} bytes", size, offset, buffer.mName,
                     buffer.mSize);
}

/// A texture's rectangle and rows in a buffer, both as first byte, pitch and count.
struct RowCopy {
    std::byte* mTexels;
    std::uint64_t mTexelPitch;
    std::byte* mRows;
    std::uint64_t mRowPitch;
    std::size_t mRowSize;
    std::uint32_t mRowCount;

    void ToTexture() const {
        for (std::uint64_t y = 0; y < mRowCount; ++y)
            std::memcpy(mTexels + y * mTexelPitch, mRows + y * mRowPitch, mRowSize);
    }
    void ToBuffer() const {
        for (std::uint64_t y = 0; y < mRowCount; ++y)
            std::memcpy(mRows + y * mRowPitch, mTexels + y * mTexelPitch, mRowSize);
    }
};

RowCopy MakeCopy(TextureResource& texture, const TextureRegion& region, const BufferResource& buffer,
                 std::uint64_t bufferOffset, std::uint64_t rowPitch) {
    const TextureDescription& description = texture.mDescription;
    const auto fits = [](std::uint32_t at, std::uint32_t length, std::uint32_t size) {
        return length > 0 && at <= size && length <= size - at;
    };
    const bool hasSubresource =
        region.mMipLevel < description.mMipLevels && region.mArrayIndex < description.mArraySize;
    if (!hasSubresource || !fits(region.mX, region.mWidth, texture.mLevels[region.mMipLevel].GetWidth()) ||
        !fits(region.mY, region.mHeight, texture.mLevels[region.mMipLevel].GetHeight())) {
        ZEB_RENDER_THROW(
            "A copy of {} x {} at ({}, {}), level {}, layer {}, lies outside the texture \"{}\" of {} x {}",
            region.mWidth, region.mHeight, region.mX, region.mY, region.mMipLevel, region.mArrayIndex, texture.mName,
            description.mWidth, description.mHeight);
    }
    const std::uint64_t texel = GetBytesPerPixel(description.mFormat);
    const std::uint64_t rowSize = texel * region.mWidth;
    if (bufferOffset % texel != 0 || rowPitch % texel != 0 || rowPitch < rowSize || rowPitch / texel > UINT32_MAX) {
        ZEB_RENDER_THROW("Rows of {} bytes at offset {} with a pitch of {} bytes do not fit the texture \"{}\"",
                         rowSize, bufferOffset, rowPitch, texture.mName);
    }
    CheckBufferRange(buffer, bufferOffset, rowPitch * (region.mHeight - 1) + rowSize);
    Image& image = texture.mLevels[region.mMipLevel];
    const std::uint64_t texelPitch = texel * image.GetWidth();
    std::byte* const first = image.Texels().data() + texture.GetLayerSize(region.mMipLevel) * region.mArrayIndex +
                             texelPitch * region.mY + texel * region.mX;
    return {
        first,         texelPitch, buffer.Bytes().data() + bufferOffset, rowPitch, static_cast<std::size_t>(rowSize),
        region.mHeight};
}

TextureRegion GetWhole(const Texture& texture) { return {0, 0, texture.GetWidth(), texture.GetHeight(), 0, 0}; }

std::uint64_t GetTightPitch(const Texture& texture) {
    return std::uint64_t{texture.GetWidth()} * GetBytesPerPixel(texture.GetFormat());
}

}  // namespace

void CopyCommandEncoderCPU::CopyToTextureFromBuffer(Texture& destination, const TextureRegion& region, Buffer& source,
                                                    std::uint64_t bufferOffset, std::uint64_t rowPitch) {
    CheckOpen();
    const auto& texture = ToCPU(destination).GetResource();
    const auto& buffer = ToCPU(source).GetResource();
    const RowCopy copy = MakeCopy(*texture, region, *buffer, bufferOffset, rowPitch);
    mList.Record([texture, buffer, copy] { copy.ToTexture(); });
}

void CopyCommandEncoderCPU::CopyToTextureFromBuffer(Texture& destination, Buffer& source) {
    CopyToTextureFromBuffer(destination, GetWhole(destination), source, 0, GetTightPitch(destination));
}

void CopyCommandEncoderCPU::CopyToBufferFromTexture(Buffer& destination, std::uint64_t bufferOffset,
                                                    std::uint64_t rowPitch, Texture& source,
                                                    const TextureRegion& region) {
    CheckOpen();
    const auto& texture = ToCPU(source).GetResource();
    const auto& buffer = ToCPU(destination).GetResource();
    const RowCopy copy = MakeCopy(*texture, region, *buffer, bufferOffset, rowPitch);
    mList.Record([texture, buffer, copy] { copy.ToBuffer(); });
}

void CopyCommandEncoderCPU::CopyToBufferFromTexture(Buffer& destination, Texture& source) {
    CopyToBufferFromTexture(destination, 0, GetTightPitch(source), source, GetWhole(source));
}

void CopyCommandEncoderCPU::CopyTexture(Texture& destination, Texture& source) {
    CheckOpen();
    const auto& to = ToCPU(destination).GetResource();
    const auto& from = ToCPU(source).GetResource();
    const TextureDescription& a = to->mDescription;
    const TextureDescription& b = from->mDescription;
    if (to == from || a.mFormat != b.mFormat || a.mWidth != b.mWidth || a.mHeight != b.mHeight ||
        a.mArraySize != b.mArraySize || a.mMipLevels != b.mMipLevels) {
        ZEB_RENDER_THROW("The texture \"{}\" cannot be copied to \"{}\": they differ in format or size, or are one",
                         from->mName, to->mName);
    }
    // Texel by texel in place: programs hold pointers to the images.
    mList.Record([to, from] {
        for (std::size_t level = 0; level < to->mLevels.size(); ++level) {
            const std::vector<std::byte>& texels = from->mLevels[level].Texels();
            std::copy(texels.begin(), texels.end(), to->mLevels[level].Texels().begin());
        }
    });
}

void CopyCommandEncoderCPU::CopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source,
                                       std::uint64_t sourceOffset, std::uint64_t sizeInBytes) {
    CheckOpen();
    const auto& to = ToCPU(destination).GetResource();
    const auto& from = ToCPU(source).GetResource();
    CheckBufferRange(*to, destinationOffset, sizeInBytes);
    CheckBufferRange(*from, sourceOffset, sizeInBytes);
    if (to == from && sourceOffset < destinationOffset + sizeInBytes && destinationOffset < sourceOffset + sizeInBytes)
        ZEB_RENDER_THROW("A copy of {} bytes within the buffer \"{}\" overlaps itself", sizeInBytes, to->mName);
    if (sizeInBytes == 0) return;
    mList.Record([to, from, destinationOffset, sourceOffset, sizeInBytes] {
        std::memcpy(to->Bytes().data() + destinationOffset, from->Bytes().data() + sourceOffset, sizeInBytes);
    });
}

}  // namespace zeb::render::cpu
