#include "GaussianSplatAsset.h"

#include <algorithm>

#include <fmt/format.h>

#include "PluginBase/Exception.h"

namespace {

// Bytes by format value, in the order of each enumeration.
constexpr std::array<std::uint32_t, 4> kVectorSizes = {12, 6, 4, 2};
constexpr std::array<std::uint32_t, 4> kColorSizes = {16, 8, 4, 1};
constexpr std::array<std::uint32_t, 4> kSHSizes = {192, 96, 60, 32};

// Records of the clustered forms, from SHFormat::Cluster64k on.
constexpr std::array<std::int32_t, 5> kClusterCounts = {65536, 32768, 16384, 8192, 4096};

std::uint64_t Count(std::int32_t splatCount) { return static_cast<std::uint64_t>(std::max(splatCount, 0)); }

// The even bits of the low byte, moved together: the x of a Morton code.
constexpr std::int32_t EvenBits(std::uint32_t code) {
    code &= 0x55u;
    code = (code | code >> 1) & 0x33u;
    return static_cast<std::int32_t>((code | code >> 2) & 0x0fu);
}

}  // namespace

std::uint32_t GaussianSplatAsset::GetVectorSize(VectorFormat format) {
    const auto index = static_cast<std::uint32_t>(format);
    if (index >= kVectorSizes.size())
        ZEB_THROW(zeb::kInternalError, fmt::format("Failed to get size of the VectorFormat {}", index));
    return kVectorSizes[index];
}

std::uint32_t GaussianSplatAsset::GetOtherSize(VectorFormat format) { return GetVectorSize(format) + 4; }

std::int32_t GaussianSplatAsset::GetSHCount(SHFormat format, std::int32_t splatCount) {
    const auto index = static_cast<std::uint32_t>(format);
    if (index < kSHSizes.size()) return splatCount;
    if (index - kSHSizes.size() >= kClusterCounts.size())
        ZEB_THROW(zeb::kInternalError, fmt::format("Failed to get the count of SH format {}", index));
    return kClusterCounts[index - kSHSizes.size()];
}

std::int32_t GaussianSplatAsset::GetChunkCount(std::int32_t splatCount) {
    return static_cast<std::int32_t>((Count(splatCount) + kChunkSize - 1) / kChunkSize);
}

GaussianSplatAsset::TextureSize GaussianSplatAsset::CalcTextureSize(std::int32_t splatCount) {
    const std::uint64_t rows = std::max<std::uint64_t>((Count(splatCount) + kTextureWidth - 1) / kTextureWidth, 1);
    return {kTextureWidth, static_cast<std::int32_t>((rows + 15) / 16 * 16)};
}

std::array<std::int32_t, 2> GaussianSplatAsset::GetTexel(std::int32_t splatIndex) {
    const auto i = static_cast<std::uint32_t>(splatIndex);
    return {16 * static_cast<std::int32_t>((i >> 8) & 127) + EvenBits(i),
            16 * static_cast<std::int32_t>(i >> 15) + EvenBits(i >> 1)};
}

std::uint64_t GaussianSplatAsset::CalcPosDataSize(std::int32_t splatCount, VectorFormat format) {
    return GetVectorSize(format) * Count(splatCount);
}

std::uint64_t GaussianSplatAsset::CalcOtherDataSize(std::int32_t splatCount, VectorFormat format) {
    return GetOtherSize(format) * Count(splatCount);
}

std::uint64_t GaussianSplatAsset::CalcColorDataSize(TextureSize size, ColorFormat format) {
    const auto index = static_cast<std::uint32_t>(format);
    if (index >= kColorSizes.size())
        ZEB_THROW(zeb::kInternalError, fmt::format("Failed to get the color data size of format {}", index));
    return static_cast<std::uint64_t>(size.width) * static_cast<std::uint64_t>(size.height) * kColorSizes[index];
}

std::uint64_t GaussianSplatAsset::CalcSHDataSize(std::int32_t splatCount, SHFormat format) {
    const std::uint64_t records = Count(GetSHCount(format, splatCount));
    const auto index = static_cast<std::uint32_t>(format);
    if (index >= kSHSizes.size())
        ZEB_THROW(zeb::kInternalError, fmt::format("Failed to get the SH data size of format {}", index));
    return records * kSHSizes[index];
}

GaussianSplatAsset::DataSizes GaussianSplatAsset::CalcDataSizes(const GaussianSplatAsset& asset) {
    DataSizes sizes{};
    sizes.position = CalcPosDataSize(asset.splatCount, asset.posFormat);
    sizes.other = CalcOtherDataSize(asset.splatCount, asset.scaleFormat);
    sizes.color = CalcColorDataSize(CalcTextureSize(asset.splatCount), asset.colorFormat);
    sizes.sh = CalcSHDataSize(asset.splatCount, asset.shFormat);
    sizes.chunk = static_cast<std::uint64_t>(GetChunkCount(asset.splatCount)) * sizeof(ChunkInfo);
    sizes.total = sizes.position + sizes.other + sizes.color + sizes.sh + sizes.chunk;
    return sizes;
}
