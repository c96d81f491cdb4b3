#include "GaussianSplatAssetCreator.h"

#include <cmath>
#include <cstring>
#include <limits>

#include <gmock/gmock.h>

#include "HalfFloat.h"
#include "PLYFileReader.h"
#include "PlyBuilder.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

GaussianSplatAssetCreator::Settings GetSettings(std::uint32_t quality) {
    GaussianSplatAssetCreator::Settings settings;
    settings.quality = quality;
    settings.ApplyQualityLevel();
    return settings;
}

std::unique_ptr<GaussianSplatAsset> Create(std::string_view bytes, std::uint32_t quality = 2) {
    const TemporaryFile file(bytes);
    return GaussianSplatAssetCreator::CreateAsset(file.GetPath(), GetSettings(quality), true);
}

template <class T>
T ReadAt(const std::vector<std::uint8_t>& block, std::size_t index) {
    T value;
    std::memcpy(&value, block.data() + index * sizeof(T), sizeof(T));
    return value;
}

GaussianSplatAsset::ChunkInfo GetChunk(const GaussianSplatAsset& asset, std::size_t index) {
    return ReadAt<GaussianSplatAsset::ChunkInfo>(asset.chunkData, index);
}

std::uint32_t GetTexel(const GaussianSplatAsset& asset, int x, int y) {
    return ReadAt<std::uint32_t>(asset.colorData, static_cast<std::size_t>(y * 2048 + x));
}

std::uint32_t Halves(std::uint32_t low, std::uint32_t high) { return low | high << 16; }

TEST(GaussianSplatAssetCreator, OneSplatIsItsChunksMinimum) {
    const PlySplat splat{.mPosition = {1.0f, -2.0f, 3.0f}, .mDc = {0.0f, 1.0f, -1.0f}};
    const auto asset = Create(MakeFile({{splat}}, 0));
    EXPECT_EQ(asset->splatCount, 1);
    EXPECT_EQ(asset->boundsMin, glm::vec3(1.0f, -2.0f, 3.0f));
    EXPECT_EQ(asset->boundsMax, glm::vec3(1.0f, -2.0f, 3.0f));
    ASSERT_EQ(asset->chunkData.size(), 64u);
    const auto chunk = GetChunk(*asset, 0);
    EXPECT_EQ(chunk.posX, glm::vec2(1.0f, 1.0f));
    EXPECT_EQ(chunk.posY, glm::vec2(-2.0f, -2.0f));
    EXPECT_EQ(chunk.posZ, glm::vec2(3.0f, 3.0f));
    EXPECT_EQ(chunk.colR, Halves(0x3800, 0x3800));  // 0.5
    EXPECT_EQ(chunk.colG, Halves(0x3a41, 0x3a41));  // 0.7820948 = 2^-1 * (1 + 577.7 / 1024)
    EXPECT_EQ(chunk.colB, Halves(0x32f9, 0x32f9));  // 0.2179052 = 2^-3 * (1 + 761.1 / 1024)
    EXPECT_EQ(chunk.colA, Halves(0x3800, 0x3800));
    EXPECT_EQ(chunk.sclX, Halves(0x3c00, 0x3c00));  // e^0
    EXPECT_EQ(chunk.shR, Halves(0x7c00, 0xfc00));   // No harmonics: the range is inside out.
    EXPECT_THAT(asset->posData, ElementsAre(0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->otherData, 0), 511u | 511u << 10 | 511u << 20 | 3u << 30);
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->otherData, 1), 0u);
    EXPECT_EQ(asset->colorData.size(), 2048u * 16 * 4);
    EXPECT_THAT(asset->colorData, Each(0));
    EXPECT_EQ(asset->shData, std::vector<std::uint8_t>(32, 0));
}

TEST(GaussianSplatAssetCreator, SplatsAreSortedAlongTheCurveAndNormalised) {
    // In the file: the far corner, the near one, and the middle, which Morton order puts between.
    const PlySplat splats[] = {
        {.mPosition = {3.0f, 4.0f, 5.0f},
         .mDc = {1.0f, 0.0f, 0.0f},
         .mOpacity = kInfinity,
         .mScale = {-8.0f, 0.0f, 0.0f}},
        {.mPosition = {1.0f, 0.0f, -3.0f},
         .mDc = {-1.0f, 0.0f, 0.0f},
         .mOpacity = -kInfinity,
         .mScale = {8.0f, 0.0f, 0.0f}},
        {.mPosition = {2.0f, 2.0f, 1.0f}, .mRotation = {0.0f, 3.0f, 0.0f, 0.0f}},
    };
    const auto asset = Create(MakeFile(splats, 0));
    const auto chunk = GetChunk(*asset, 0);
    EXPECT_EQ(chunk.posX, glm::vec2(1.0f, 3.0f));
    EXPECT_EQ(chunk.posZ, glm::vec2(-3.0f, 5.0f));
    EXPECT_EQ(chunk.colA, Halves(0x0000, 0x3c00));
    // The eighth roots of e^-8 and e^8 are 1/e and e, cut to halves.
    EXPECT_EQ(chunk.sclX, Halves(0x35e2, 0x416f));
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->posData, 0), 0u);
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->posData, 1), 1023u | 511u << 11 | 1023u << 21);
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->posData, 2), 0xffffffffu);
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->posData, 3), 0u) << "padding";
    // Rotation words, then scales: (e^1 - 1/e) spans the range, 1 lies at 0.2689.
    const std::uint32_t identity = 511u | 511u << 10 | 511u << 20;
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->otherData, 0), identity | 3u << 30);
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->otherData, 1), 2047u);
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->otherData, 2), identity);
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->otherData, 3), 550u);
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->otherData, 5), 0u);
    // Red and opacity: 0, the middle, 1. Green and blue are constant.
    EXPECT_EQ(GetTexel(*asset, 0, 0), 0x00000000u);
    EXPECT_EQ(GetTexel(*asset, 1, 0), 0x7f00007fu);
    EXPECT_EQ(GetTexel(*asset, 0, 1), 0xff0000ffu);
}

TEST(GaussianSplatAssetCreator, EqualPlacesKeepTheFilesOrder) {
    const float reds[] = {0.5f, -1.0f, 1.0f, 0.0f};
    std::vector<PlySplat> splats;
    for (float red : reds) splats.push_back({.mPosition = {7.0f, 7.0f, 7.0f}, .mDc = {red, 0.0f, 0.0f}});
    const auto asset = Create(MakeFile(splats, 0));
    EXPECT_EQ(GetTexel(*asset, 0, 0), 191u);
    EXPECT_EQ(GetTexel(*asset, 1, 0), 0u);
    EXPECT_EQ(GetTexel(*asset, 0, 1), 255u);
    EXPECT_EQ(GetTexel(*asset, 1, 1), 127u);
}

TEST(GaussianSplatAssetCreator, EachChunkHasItsOwnRanges) {
    std::vector<PlySplat> splats;
    for (int i = 256; i >= 0; --i)
        splats.push_back({.mPosition = {static_cast<float>(i), 0.0f, 0.0f}, .mDc = {0.001f * static_cast<float>(i)}});
    const auto asset = Create(MakeFile(splats, 0));
    ASSERT_EQ(asset->chunkData.size(), 128u);
    EXPECT_EQ(GetChunk(*asset, 0).posX, glm::vec2(0.0f, 255.0f));
    EXPECT_EQ(GetChunk(*asset, 1).posX, glm::vec2(256.0f, 256.0f));
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->posData, 255), 2047u);
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->posData, 256), 0u);
    EXPECT_EQ(GetTexel(*asset, 15, 15) & 0xff, 255u);
    EXPECT_EQ(asset->posData.size(), 1032u);
}

PlySplat MakeDegree1Splat() {
    // Planes: red 1 2 3, green 4 5 6, blue 7 8 9.
    return {.mRest = {1, 2, 3, 4, 5, 6, 7, 8, 9}};
}

TEST(GaussianSplatAssetCreator, HarmonicsTurnFromPlanesToTriples) {
    const auto asset = Create(MakeFile({{MakeDegree1Splat()}}, 1), 0);
    ASSERT_EQ(asset->shData.size(), 192u);
    for (std::size_t i = 0; i < 48; ++i) {
        const float expected = i < 9 ? static_cast<float>(1 + i / 3 + 3 * (i % 3)) : 0.0f;
        EXPECT_EQ(ReadAt<float>(asset->shData, i), expected) << i;
    }
    const auto chunk = GetChunk(*asset, 0);
    EXPECT_EQ(chunk.shR, Halves(0x3c00, 0x4200));
    EXPECT_EQ(chunk.shG, Halves(0x4400, 0x4600));
    EXPECT_EQ(chunk.shB, Halves(0x4700, 0x4880));
}

TEST(GaussianSplatAssetCreator, HarmonicsAreNormalisedByChannel) {
    const auto asset = Create(MakeFile({{MakeDegree1Splat()}}, 1));
    // Each channel runs 0, 1/2, 1 over its three coefficients.
    EXPECT_EQ(ReadAt<std::uint16_t>(asset->shData, 0), 0);
    EXPECT_EQ(ReadAt<std::uint16_t>(asset->shData, 1), 15 | 31 << 5 | 15 << 11);
    EXPECT_EQ(ReadAt<std::uint16_t>(asset->shData, 2), 0xffff);
    for (std::size_t i = 3; i < 16; ++i) EXPECT_EQ(ReadAt<std::uint16_t>(asset->shData, i), 0) << "above the degree";
}

TEST(GaussianSplatAssetCreator, AllDegreesReachTheirLastCoefficient) {
    for (int degree = 1; degree <= 3; ++degree) {
        const auto count = static_cast<std::size_t>((degree + 1) * (degree + 1) - 1);
        PlySplat splat;
        splat.mRest.resize(3 * count);
        splat.mRest[count - 1] = splat.mRest[2 * count - 1] = splat.mRest[3 * count - 1] = 2.0f;
        const auto asset = Create(MakeFile({{splat}}, degree));
        EXPECT_EQ(asset->shLevel, static_cast<std::uint32_t>(degree));
        for (std::size_t i = 0; i < 16; ++i)
            EXPECT_EQ(ReadAt<std::uint16_t>(asset->shData, i), i + 1 == count ? 0xffff : 0) << degree << " " << i;
    }
}

TEST(GaussianSplatAssetCreator, AZeroQuaternionGivesAZeroWord) {
    const PlySplat splat{.mRotation = {0.0f, 0.0f, 0.0f, 0.0f}};
    EXPECT_EQ(ReadAt<std::uint32_t>(Create(MakeFile({{splat}}, 0))->otherData, 0), 0u);
}

TEST(GaussianSplatAssetCreator, NoSplatsAtAll) {
    const auto asset = Create(MakeFile({}, 3));
    EXPECT_TRUE(asset->posData.empty() && asset->otherData.empty() && asset->shData.empty() &&
                asset->chunkData.empty());
    EXPECT_EQ(asset->colorWidth, 2048);
    EXPECT_EQ(asset->colorHeight, 16);
    EXPECT_EQ(asset->colorData, std::vector<std::uint8_t>(2048 * 16 * 4, 0));
    EXPECT_EQ(asset->boundsMin, glm::vec3(3.4028235e38f));
    EXPECT_EQ(asset->boundsMax, glm::vec3(-3.4028235e38f));
}

TEST(GaussianSplatAssetCreator, WithoutDataOnlyTheHeaderCounts) {
    const TemporaryFile file(MakeFile({{PlySplat{}, PlySplat{}}}, 2));
    const auto asset = GaussianSplatAssetCreator::CreateAsset(file.GetPath(), GetSettings(4), false);
    EXPECT_EQ(asset->splatCount, 2);
    EXPECT_EQ(asset->shLevel, 2u);
    EXPECT_EQ(asset->colorFormat, ColorFormat::BC7);
    EXPECT_EQ(asset->colorWidth, 0);
    EXPECT_EQ(asset->boundsMin, glm::vec3(0.0f));
    EXPECT_TRUE(asset->colorData.empty());
}

TEST(GaussianSplatAssetCreator, QualityLevelsSetTheFormats) {
    const std::uint32_t table[5][4] = {{0, 0, 0, 0}, {1, 1, 2, 1}, {2, 2, 3, 2}, {2, 3, 6, 2}, {2, 3, 8, 3}};
    for (std::uint32_t level = 0; level < 5; ++level) {
        const auto settings = GetSettings(level);
        EXPECT_EQ(static_cast<std::uint32_t>(settings.posFormat), table[level][0]);
        EXPECT_EQ(static_cast<std::uint32_t>(settings.scaleFormat), table[level][1]);
        EXPECT_EQ(static_cast<std::uint32_t>(settings.shFormat), table[level][2]);
        EXPECT_EQ(static_cast<std::uint32_t>(settings.colorFormat), table[level][3]);
    }
}

std::string GetFailure(GaussianSplatAssetCreator::Settings settings) {
    const TemporaryFile file(MakeFile({{PlySplat{}}}, 1));
    try {
        settings.ApplyQualityLevel();
        GaussianSplatAssetCreator::CreateAsset(file.GetPath(), settings, true);
    } catch (const zeb::Exception& e) {
        EXPECT_EQ(e.code, 512);
        return e.what();
    }
    return "";
}

TEST(GaussianSplatAssetCreator, FormatsThatCannotBeMadeFail) {
    EXPECT_THAT(GetFailure({.quality = 3}), HasSubstr("\"Clustering is not supported yet.\""));
    EXPECT_THAT(GetFailure({.quality = 4}), HasSubstr("\"Clustering is not supported yet.\""));
    EXPECT_THAT(GetFailure({.quality = 5, .colorFormat = ColorFormat::BC7}),
                testing::AllOf(HasSubstr("CreateColorData()"), HasSubstr("\"BC7 compression is not supported yet.\"")));
    EXPECT_THAT(GetFailure({.quality = 5, .posFormat = VectorFormat{4}}), HasSubstr("VectorFormat 4\""));
    EXPECT_THAT(GetFailure({.quality = 5, .colorFormat = ColorFormat{7}}), HasSubstr("format 7\""));
    EXPECT_THAT(GetFailure({.quality = 6}), HasSubstr("\"Failed to apply quality of 6\""));
    EXPECT_EQ(GetFailure({.quality = 5}), "");
}

TEST(GaussianSplatAssetCreator, FailuresOfTheReaderPassThrough) {
    EXPECT_THROW(Create("ply\n"), PLYFileReader::LoadModelException);
}

TEST(GaussianSplatAssetCreator, WideFormatsHoldTheNormalisedValues) {
    const PlySplat splats[] = {{.mPosition = {0, 0, 0}, .mDc = {0, 0, 0}}, {.mPosition = {4, 2, 8}, .mDc = {1, 2, 3}}};
    const auto exact = Create(MakeFile(splats, 0), 0);
    EXPECT_EQ(ReadAt<glm::vec3>(exact->posData, 0), glm::vec3(0.0f));
    EXPECT_EQ(ReadAt<glm::vec3>(exact->posData, 1), glm::vec3(1.0f));
    EXPECT_EQ(exact->otherData.size(), 32u);
    EXPECT_EQ(ReadAt<float>(exact->colorData, 4), 1.0f);
    const auto fine = Create(MakeFile(splats, 0), 1);
    EXPECT_EQ(fine->posData.size(), 16u);
    EXPECT_EQ(ReadAt<std::uint16_t>(fine->posData, 3), 65535);
    EXPECT_EQ(ReadAt<std::uint16_t>(fine->colorData, 4), 0x3c00);
    EXPECT_EQ(fine->shData, std::vector<std::uint8_t>(120, 0));
}

}  // namespace
