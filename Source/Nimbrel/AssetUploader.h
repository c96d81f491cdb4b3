#pragma once

#include <cstdint>
#include <vector>

#include "Nimbrel/GaussianSplatAsset.h"
#include "Nimbrel/ModelGroup.h"
#include "PluginBase/Render/Device.h"
#include "RenderHelper/Buffer.h"

/// Copies the assets of a frame end to end into one set of buffers and colour textures, which hold all
/// models at once; a model is found by its offsets. Done in full for every frame: the buffers lie in
/// memory that the CPU writes and the GPU reads.
class AssetUploader {
public:
    /// Where a group's blocks begin, in bytes, and its first row over all assets' colour rows.
    struct Place {
        std::uint64_t mChunks = 0;
        std::uint64_t mPos = 0;
        std::uint64_t mOther = 0;
        std::uint64_t mSH = 0;
        std::uint64_t mColor = 0;
        std::uint32_t mColorRow = 0;
    };

    explicit AssetUploader(zeb::render::Device& device);

    /// Fills the buffers and records the copies into the colour textures, which it leaves as copy
    /// destinations. Throws zeb::Exception for an asset whose blocks are shorter than its counts say.
    void Upload(zeb::render::CommandList& commandList, const std::vector<ModelGroup>& groups);

    /// A frame that uploads nothing; after several, large buffers are given back.
    void UploadNothing();

    /// Places of the uploaded groups, in their order.
    const std::vector<Place>& GetPlaces() const { return mPlaces; }

    zeb::render::Buffer& GetChunks() const { return mChunks.Get(); }
    zeb::render::Buffer& GetPos() const { return mPos.Get(); }
    zeb::render::Buffer& GetOther() const { return mOther.Get(); }
    zeb::render::Buffer& GetSH() const { return mSH.Get(); }
    zeb::render::Texture& GetColorTexture(ColorFormat format) const;
    /// The colour textures' views; a texture's index is its format's number.
    zeb::render::DescriptorRange& GetColorRange() const { return *mColorRange; }

private:
    static constexpr std::uint32_t kColorFormatCount = 3;

    void CopyBlocks(const std::vector<ModelGroup>& groups);
    void UploadColors(zeb::render::CommandList& commandList, const std::vector<ModelGroup>& groups, ColorFormat format);

    zeb::render::Device& mDevice;
    std::vector<Place> mPlaces;
    Buffer mPos;
    Buffer mOther;
    Buffer mSH;
    Buffer mColorData;
    zeb::UniquePtr<zeb::render::DescriptorRange> mColorRange;
    zeb::UniquePtr<zeb::render::Texture> mColorTextures[kColorFormatCount];
    StructuredBuffer<GaussianSplatAsset::ChunkInfo> mChunks;
};
