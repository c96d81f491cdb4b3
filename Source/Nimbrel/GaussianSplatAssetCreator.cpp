#include "GaussianSplatAssetCreator.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "AvailableMemory.h"
#include "MortonOrder.h"
#include "PLYFileReader.h"
#include "PluginBase/Exception.h"
#include "SplatChunk.h"
#include "SplatPacking.h"

namespace {

struct QualityLevel {
    VectorFormat posFormat, scaleFormat;
    SHFormat shFormat;
    ColorFormat colorFormat;
};

constexpr std::array<QualityLevel, 5> kQualityLevels = {{
    {VectorFormat::Float32, VectorFormat::Float32, SHFormat::Float32, ColorFormat::Float32x4},
    {VectorFormat::Norm16, VectorFormat::Norm16, SHFormat::Norm11, ColorFormat::Float16x4},
    {VectorFormat::Norm11, VectorFormat::Norm11, SHFormat::Norm6, ColorFormat::Norm8x4},
    {VectorFormat::Norm11, VectorFormat::Norm6, SHFormat::Cluster16k, ColorFormat::Norm8x4},
    {VectorFormat::Norm11, VectorFormat::Norm6, SHFormat::Cluster4k, ColorFormat::BC7},
}};
constexpr std::uint32_t kCustomQuality = 5;

// Reads positions as they stand after LoadRecord: straight from the file's block where that is the same.
class PositionReader {
public:
    explicit PositionReader(const PLYFileData& file)
        : mFile(file), mLayout(file), mRecord(mLayout.mPlainPosition ? 0 : mLayout.mRecordSize) {}

    glm::vec3 Get(std::size_t index) {
        const std::uint8_t* record = mFile.data.data() + index * mLayout.mFileStride;
        if (!mLayout.mPlainPosition) {
            LoadRecord(mFile, mLayout, index, mRecord.data());
            record = mRecord.data();
        }
        glm::vec3 position;
        std::memcpy(&position, record + mLayout.mPosition, sizeof(position));
        return position;
    }

private:
    const PLYFileData& mFile;
    RecordLayout mLayout;
    std::vector<std::uint8_t> mRecord;
};

// With no splats the bounds stay turned inside out, as far as floats go.
void CalcBounds(PositionReader& positions, GaussianSplatAsset& asset) {
    asset.boundsMin = glm::vec3(std::numeric_limits<float>::max());
    asset.boundsMax = glm::vec3(-std::numeric_limits<float>::max());
    for (std::int32_t i = 0; i < asset.splatCount; ++i) {
        const glm::vec3 position = positions.Get(static_cast<std::size_t>(i));
        for (int c = 0; c < 3; ++c) {
            if (position[c] < asset.boundsMin[c]) asset.boundsMin[c] = position[c];
            if (position[c] > asset.boundsMax[c]) asset.boundsMax[c] = position[c];
        }
    }
}

std::vector<std::uint32_t> CalcOrder(PositionReader& positions, const GaussianSplatAsset& asset) {
    const glm::vec3 inverse = 1.0f / (asset.boundsMax - asset.boundsMin);
    std::vector<MortonEntry> entries(static_cast<std::size_t>(asset.splatCount));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        entries[i].key = GetMortonKey((positions.Get(i) - asset.boundsMin) * inverse);
        entries[i].index = static_cast<std::uint32_t>(i);
    }
    return SortByKey(std::move(entries));
}

std::vector<std::uint8_t> CreateBlock(std::uint64_t size) { return std::vector<std::uint8_t>((size + 7) / 8 * 8); }

// The image with all texels zero. Texels without a splat stay so in every format.
void CreateColorData(GaussianSplatAsset& asset) {
    const GaussianSplatAsset::TextureSize size = GaussianSplatAsset::CalcTextureSize(asset.splatCount);
    const std::uint64_t bytes = GaussianSplatAsset::CalcColorDataSize(size, asset.colorFormat);
    if (asset.colorFormat == ColorFormat::BC7) ZEB_THROW(zeb::kInternalError, "BC7 compression is not supported yet.");
    asset.colorWidth = size.width;
    asset.colorHeight = size.height;
    asset.colorData.resize(bytes);
}

void CreateBlocks(GaussianSplatAsset& asset) {
    if (asset.shFormat >= SHFormat::Cluster64k) ZEB_THROW(zeb::kInternalError, "Clustering is not supported yet.");
    RequireMemory(GaussianSplatAsset::CalcDataSizes(asset).total);
    asset.chunkData.resize(static_cast<std::size_t>(GaussianSplatAsset::GetChunkCount(asset.splatCount)) *
                           sizeof(GaussianSplatAsset::ChunkInfo));
    asset.posData = CreateBlock(GaussianSplatAsset::CalcPosDataSize(asset.splatCount, asset.posFormat));
    asset.otherData = CreateBlock(GaussianSplatAsset::CalcOtherDataSize(asset.splatCount, asset.scaleFormat));
    CreateColorData(asset);
    asset.shData.resize(GaussianSplatAsset::CalcSHDataSize(asset.splatCount, asset.shFormat));
}

// Writes the chunk's splats, the first of which is `first` in the asset's order.
void PackChunk(const SplatChunk& chunk, std::size_t first, GaussianSplatAsset& asset) {
    const std::size_t positionSize = GaussianSplatAsset::GetVectorSize(asset.posFormat);
    const std::size_t otherSize = GaussianSplatAsset::GetOtherSize(asset.scaleFormat);
    const std::size_t texelSize = GaussianSplatAsset::CalcColorDataSize({1, 1}, asset.colorFormat);
    const std::size_t shSize = GaussianSplatAsset::CalcSHDataSize(1, asset.shFormat);
    const auto width = static_cast<std::size_t>(asset.colorWidth);
    std::array<float, 45> sh;
    for (std::size_t i = 0; i < chunk.GetCount(); ++i) {
        const std::size_t splat = first + i;
        PackVector(asset.posFormat, chunk.GetPosition(i), asset.posData.data() + splat * positionSize);
        std::uint8_t* other = asset.otherData.data() + splat * otherSize;
        PackRotation(chunk.GetRotation(i), other);
        PackVector(asset.scaleFormat, chunk.GetScale(i), other + 4);
        const auto [x, y] = GaussianSplatAsset::GetTexel(static_cast<std::int32_t>(splat));
        const std::size_t texel = static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x);
        PackColor(asset.colorFormat, chunk.GetColor(i), asset.colorData.data() + texel * texelSize);
        if (chunk.GetCoefficientCount() == 0) continue;
        chunk.GetSH(i, sh.data());
        PackSH(asset.shFormat, sh.data(), chunk.GetCoefficientCount(), asset.shData.data() + splat * shSize);
    }
}

// Each chunk is gathered, worked on and packed in one go, while it is in the processor's cache.
void FillBlocks(const PLYFileData& file, std::span<const std::uint32_t> order, GaussianSplatAsset& asset) {
    SplatChunk chunk(file);
    const bool normaliseSH = asset.shFormat != SHFormat::Float32;
    for (std::size_t first = 0; first < order.size(); first += GaussianSplatAsset::kChunkSize) {
        chunk.Load(order.subspan(first, std::min<std::size_t>(GaussianSplatAsset::kChunkSize, order.size() - first)));
        const GaussianSplatAsset::ChunkInfo info = chunk.Normalise(normaliseSH);
        std::memcpy(asset.chunkData.data() + first / GaussianSplatAsset::kChunkSize * sizeof(info), &info,
                    sizeof(info));
        PackChunk(chunk, first, asset);
    }
}

}  // namespace

void GaussianSplatAssetCreator::Settings::ApplyQualityLevel() {
    if (quality == kCustomQuality) return;
    if (quality >= kQualityLevels.size())
        ZEB_THROW(zeb::kInternalError, fmt::format("Failed to apply quality of {}", quality));
    const QualityLevel& level = kQualityLevels[quality];
    posFormat = level.posFormat;
    scaleFormat = level.scaleFormat;
    shFormat = level.shFormat;
    colorFormat = level.colorFormat;
}

std::unique_ptr<GaussianSplatAsset> GaussianSplatAssetCreator::CreateAsset(const std::u16string& path,
                                                                           const Settings& settings, bool loadData) {
    return CreateAsset(PLYFileReader::ReadFile(path, loadData), settings, loadData);
}

std::unique_ptr<GaussianSplatAsset> GaussianSplatAssetCreator::CreateAsset(const PLYFileData& file,
                                                                           const Settings& settings, bool loadData) {
    auto asset = std::make_unique<GaussianSplatAsset>();
    asset->splatCount = file.splatCount;
    asset->shLevel = file.shLevel;
    asset->posFormat = settings.posFormat;
    asset->scaleFormat = settings.scaleFormat;
    asset->shFormat = settings.shFormat;
    asset->colorFormat = settings.colorFormat;
    if (!loadData) return asset;

    // The order is sorted before the blocks exist, and its working memory is given back by then.
    const auto count = static_cast<std::uint64_t>(file.splatCount);
    RequireMemory(count * (2 * sizeof(MortonEntry) + sizeof(std::uint32_t)) + SplatChunk::GetMemorySize(file));
    PositionReader positions(file);
    CalcBounds(positions, *asset);
    const std::vector<std::uint32_t> order = CalcOrder(positions, *asset);
    CreateBlocks(*asset);
    FillBlocks(file, order, *asset);
    return asset;
}
