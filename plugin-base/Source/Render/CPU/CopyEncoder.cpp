#include <algorithm>
#include <cstring>

#include "Render/CPU/Encoders.h"

namespace zeb::render::cpu {
namespace {

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

RowCopy MakeCopy(TextureResource& texture, const BufferResource& buffer, const TextureBufferCopy& copy) {
    const TextureRegion& region = copy.mRegion;
    const std::uint64_t texel = GetBytesPerPixel(texture.mDescription.mFormat);
    Image& image = texture.mLevels[region.mMipLevel];
    const std::uint64_t texelPitch = texel * image.GetWidth();
    std::byte* const first = image.Texels().data() + texture.GetLayerSize(region.mMipLevel) * region.mArrayIndex +
                             texelPitch * region.mY + texel * region.mX;
    return {first,
            texelPitch,
            buffer.Bytes().data() + copy.mBufferOffset,
            copy.mRowPitch,
            static_cast<std::size_t>(texel * region.mWidth),
            region.mHeight};
}

}  // namespace

void CopyCommandEncoderCPU::DoCopyToTexture(Texture& destination, Buffer& source, const TextureBufferCopy& copy) {
    const auto& texture = ToCPU(destination).GetResource();
    const auto& buffer = ToCPU(source).GetResource();
    mList.Record([texture, buffer, rows = MakeCopy(*texture, *buffer, copy)] { rows.ToTexture(); });
}

void CopyCommandEncoderCPU::DoCopyToBuffer(Buffer& destination, Texture& source, const TextureBufferCopy& copy) {
    const auto& texture = ToCPU(source).GetResource();
    const auto& buffer = ToCPU(destination).GetResource();
    mList.Record([texture, buffer, rows = MakeCopy(*texture, *buffer, copy)] { rows.ToBuffer(); });
}

void CopyCommandEncoderCPU::DoCopyTexture(Texture& destination, Texture& source) {
    const auto& to = ToCPU(destination).GetResource();
    const auto& from = ToCPU(source).GetResource();
    // Texel by texel in place: programs hold pointers to the images.
    mList.Record([to, from] {
        for (std::size_t level = 0; level < to->mLevels.size(); ++level) {
            const std::vector<std::byte>& texels = from->mLevels[level].Texels();
            std::copy(texels.begin(), texels.end(), to->mLevels[level].Texels().begin());
        }
    });
}

void CopyCommandEncoderCPU::DoCopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source,
                                         std::uint64_t sourceOffset, std::uint64_t sizeInBytes) {
    const auto& to = ToCPU(destination).GetResource();
    const auto& from = ToCPU(source).GetResource();
    mList.Record([to, from, destinationOffset, sourceOffset, sizeInBytes] {
        std::memcpy(to->Bytes().data() + destinationOffset, from->Bytes().data() + sourceOffset, sizeInBytes);
    });
}

}  // namespace zeb::render::cpu
