#include "Nimbrel/AssetUploader.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "PluginBase/Exception.h"

using namespace zeb::render;

namespace {

/// Pixel format of each `ColorFormat`'s texture.
constexpr Format kTextureFormats[] = {Format::RGBA32Float, Format::RGBA16Float, Format::RGBA8Unorm};

/// One kind of block: where it is in the asset, how much of it counts, and where it goes.
struct Block {
    const char* mName;
    std::vector<std::uint8_t> GaussianSplatAsset::*mData;
    std::uint64_t AssetUploader::Place::*mOffset;
    std::uint64_t (*mGetSize)(const GaussianSplatAsset& asset);
};

std::uint64_t GetColorSize(const GaussianSplatAsset& asset) {
    return GaussianSplatAsset::CalcColorDataSize({asset.colorWidth, asset.colorHeight}, asset.colorFormat);
}

constexpr Block kPos = {"posData", &GaussianSplatAsset::posData, &AssetUploader::Place::mPos,
                        [](const GaussianSplatAsset& asset) {
                            return GaussianSplatAsset::CalcPosDataSize(asset.splatCount, asset.posFormat);
                        }};
constexpr Block kOther = {"otherData", &GaussianSplatAsset::otherData, &AssetUploader::Place::mOther,
                          [](const GaussianSplatAsset& asset) {
                              return GaussianSplatAsset::CalcOtherDataSize(asset.splatCount, asset.scaleFormat);
                          }};
constexpr Block kSH = {"shData", &GaussianSplatAsset::shData, &AssetUploader::Place::mSH,
                       [](const GaussianSplatAsset& asset) {
                           return GaussianSplatAsset::CalcSHDataSize(asset.splatCount, asset.shFormat);
                       }};
constexpr Block kColor = {"colorData", &GaussianSplatAsset::colorData, &AssetUploader::Place::mColor, GetColorSize};
constexpr Block kChunks = {"chunkData", &GaussianSplatAsset::chunkData, &AssetUploader::Place::mChunks,
                           [](const GaussianSplatAsset& asset) {
                               return static_cast<std::uint64_t>(GaussianSplatAsset::GetChunkCount(asset.splatCount)) *
                                      sizeof(GaussianSplatAsset::ChunkInfo);
                           }};

/// Copies one kind of block of all groups end to end and notes where each begins.
void CopyBlock(::Buffer& buffer, const Block& block, const std::vector<ModelGroup>& groups,
               std::vector<AssetUploader::Place>& places) {
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const std::uint64_t size = block.mGetSize(*groups[i].asset);
        if ((groups[i].asset->*block.mData).size() < size)
            ZEB_THROW(zeb::kInternalError,
                      fmt::format("The {} of an asset is shorter than {} bytes", block.mName, size));
        places[i].*block.mOffset = total;
        total += size;
    }
    // Whole words: what programs read of the last element must lie in the buffer.
    buffer.SetByteSize((total + 3) / 4 * 4);
    if (total == 0) return;
    const MappedBuffer mapped(buffer);
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const std::vector<std::uint8_t>& data = groups[i].asset->*block.mData;
        const auto size = static_cast<std::size_t>(block.mGetSize(*groups[i].asset));
        if (size != 0) std::memcpy(mapped.Get() + places[i].*block.mOffset, data.data(), size);
    }
}

}  // namespace

AssetUploader::AssetUploader(Device& device)
    : mDevice(device),
      mPos(device, "SplatPos", 0, kUploadBuffer),
      mOther(device, "SplatOther", 0, kUploadBuffer),
      mSH(device, "SplatSH", 0, kUploadBuffer),
      mColorData(device, "UploadColorData", 4, kUploadBuffer),
      mChunks(device, "SplatChunks", kUploadBuffer) {}

void AssetUploader::Upload(CommandList& commandList, const std::vector<ModelGroup>& groups) {
    CopyBlocks(groups);
    if (mColorRange == nullptr)
        mColorRange = mDevice.GetThreadData().mShaderResourceHeap->AllocateRange(kColorFormatCount);
    for (std::uint32_t format = 0; format < kColorFormatCount; ++format)
        UploadColors(commandList, groups, static_cast<ColorFormat>(format));
}

void AssetUploader::UploadNothing() {
    for (::Buffer* buffer : {&mPos, &mOther, &mSH, &mColorData, static_cast<::Buffer*>(&mChunks)})
        buffer->SetByteSize(0);
}

void AssetUploader::CopyBlocks(const std::vector<ModelGroup>& groups) {
    mPlaces.assign(groups.size(), Place{});
    CopyBlock(mPos, kPos, groups, mPlaces);
    CopyBlock(mOther, kOther, groups, mPlaces);
    CopyBlock(mSH, kSH, groups, mPlaces);
    CopyBlock(mColorData, kColor, groups, mPlaces);
    CopyBlock(mChunks, kChunks, groups, mPlaces);
    std::uint32_t row = 0;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        mPlaces[i].mColorRow = row;
        row += static_cast<std::uint32_t>(groups[i].asset->colorHeight);
    }
}

void AssetUploader::UploadColors(CommandList& commandList, const std::vector<ModelGroup>& groups, ColorFormat format) {
    const auto number = static_cast<std::uint32_t>(format);
    TextureDescription description;
    description.mFormat = kTextureFormats[number];
    for (const ModelGroup& group : groups) {
        if (group.asset->colorFormat != format) continue;
        if (description.mWidth == 0) description.mWidth = static_cast<std::uint32_t>(group.asset->colorWidth);
        description.mHeight += static_cast<std::uint32_t>(group.asset->colorHeight);
    }
    if (description.mWidth == 0 || description.mHeight == 0) return;

    zeb::UniquePtr<Texture>& texture = mColorTextures[number];
    if (texture == nullptr || texture->GetWidth() != description.mWidth ||
        texture->GetHeight() != description.mHeight) {
        texture.reset();
        texture = mDevice.CreateTexture(fmt::format("ColorData{}", number), description, 0, TextureState::Common);
        mDevice.CreateTextureView(*mColorRange, number, *texture);
    }
    const auto encoder = commandList.CreateCopyCommandEncoder();
    encoder->TextureTransitionBarrier(*texture, TextureState::CopyDestination);
    TextureRegion region;
    region.mWidth = description.mWidth;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const GaussianSplatAsset& asset = *groups[i].asset;
        if (asset.colorFormat != format) continue;
        region.mHeight = static_cast<std::uint32_t>(asset.colorHeight);
        encoder->CopyToTextureFromBuffer(*texture, region, mColorData.Get(), mPlaces[i].mColor,
                                         std::uint64_t{region.mWidth} * GetBytesPerPixel(description.mFormat));
        region.mY += region.mHeight;
    }
    encoder->End();
}

Texture& AssetUploader::GetColorTexture(ColorFormat format) const {
    const auto number = static_cast<std::uint32_t>(format);
    if (number >= kColorFormatCount || mColorTextures[number] == nullptr)
        ZEB_THROW(zeb::kInternalError, fmt::format("There is no colour texture of format {}", number));
    return *mColorTextures[number];
}
