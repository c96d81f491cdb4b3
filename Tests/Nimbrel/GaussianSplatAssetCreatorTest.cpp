#include "GaussianSplatAssetCreator.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>

#include "../Failure.h"
#include "AssetSupport.h"
#include "PLYFileReader.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

GaussianSplatAsset::ChunkInfo GetChunk(const GaussianSplatAsset& asset, std::size_t index) {
    return ReadAt<GaussianSplatAsset::ChunkInfo>(asset.chunkData, index);
}

std::uint32_t GetTexel(const GaussianSplatAsset& asset, int x, int y) {
    return ReadAt<std::uint32_t>(asset.colorData, static_cast<std::size_t>(y * 2048 + x));
}

constexpr std::uint32_t Halves(std::uint32_t low, std::uint32_t high) { return low | high << 16; }

constexpr std::uint32_t kZeroFields = 511u | 511u << 10 | 511u << 20;  // of a rotation's word

TEST(GaussianSplatAssetCreator, OneSplatIsItsChunksMinimum) {
    const PlySplat splat{.mPosition = {1.0f, -2.0f, 3.0f}, .mDc = {0.0f, 1.0f, -1.0f}};
    const auto asset = Create(MakeFile({{splat}}, 0));
    EXPECT_EQ(asset->splatCount, 1);
    EXPECT_EQ(asset->boundsMin, glm::vec3(1.0f, -2.0f, 3.0f));
    EXPECT_EQ(asset->boundsMax, asset->boundsMin);
    ASSERT_EQ(asset->chunkData.size(), 64u);
    const auto chunk = GetChunk(*asset, 0);
    EXPECT_EQ(chunk.posX, glm::vec2(1.0f, 1.0f));
    EXPECT_EQ(chunk.posY, glm::vec2(-2.0f, -2.0f));
    EXPECT_EQ(chunk.posZ, glm::vec2(3.0f, 3.0f));
    // Colours 0.5, 0.7820948 = 2^-1 * (1 + 577.7 / 1024), 0.2179052 = 2^-3 * (1 + 761.1 / 1024); opacity 0.5, e^0,
    // and with no harmonics a range inside out.
    EXPECT_THAT((std::array{chunk.colR, chunk.colG, chunk.colB, chunk.colA, chunk.sclX, chunk.shR}),
                ElementsAre(Halves(0x3800, 0x3800), Halves(0x3a41, 0x3a41), Halves(0x32f9, 0x32f9),
                            Halves(0x3800, 0x3800), Halves(0x3c00, 0x3c00), Halves(0x7c00, 0xfc00)));
    EXPECT_THAT(asset->posData, ElementsAre(0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(ReadAll<std::uint32_t>(asset->otherData), ElementsAre(kZeroFields | 3u << 30, 0u));
    EXPECT_EQ(asset->colorData, std::vector<std::uint8_t>(2048 * 16 * 4));
    EXPECT_EQ(asset->shData, std::vector<std::uint8_t>(32));
}

TEST(GaussianSplatAssetCreator, SplatsAreSortedAlongTheCurveAndNormalised) {
    // In the file: the far corner, the near one, and the middle, which Morton order puts between.
    const PlySplat splats[] = {
        {.mPosition = {3.0f, 4.0f, 5.0f}, .mDc = {1.0f}, .mOpacity = kInfinity, .mScale = {-8.0f}},
        {.mPosition = {1.0f, 0.0f, -3.0f}, .mDc = {-1.0f}, .mOpacity = -kInfinity, .mScale = {8.0f}},
        {.mPosition = {2.0f, 2.0f, 1.0f}, .mRotation = {0.0f, 3.0f, 0.0f, 0.0f}},
    };
    const auto asset = Create(MakeFile(splats, 0));
    const auto chunk = GetChunk(*asset, 0);
    EXPECT_EQ(chunk.posX, glm::vec2(1.0f, 3.0f));
    EXPECT_EQ(chunk.posZ, glm::vec2(-3.0f, 5.0f));
    EXPECT_EQ(chunk.colA, Halves(0x0000, 0x3c00));
    // The eighth roots of e^-8 and e^8 are 1/e and e, cut to halves.
    EXPECT_EQ(chunk.sclX, Halves(0x35e2, 0x416f));
    EXPECT_THAT(ReadAll<std::uint32_t>(asset->posData),  // with its padding
                ElementsAre(0u, 1023u | 511u << 11 | 1023u << 21, 0xffffffffu, 0u));
    // Rotation words, then scales: (e^1 - 1/e) spans the range, 1 lies at 0.2689.
    EXPECT_THAT(ReadAll<std::uint32_t>(asset->otherData),
                ElementsAre(kZeroFields | 3u << 30, 2047u, kZeroFields, 550u, kZeroFields | 3u << 30, 0u));
    // Red and opacity: 0, the middle, 1. Green and blue are constant.
    EXPECT_EQ(GetTexel(*asset, 0, 0), 0x00000000u);
    EXPECT_EQ(GetTexel(*asset, 1, 0), 0x7f00007fu);
    EXPECT_EQ(GetTexel(*asset, 0, 1), 0xff0000ffu);
}

TEST(GaussianSplatAssetCreator, EqualPlacesKeepTheFilesOrder) {
    std::vector<PlySplat> splats;
    for (float red : {0.5f, -1.0f, 1.0f, 0.0f}) splats.push_back({.mPosition = {7.0f, 7.0f, 7.0f}, .mDc = {red}});
    const auto asset = Create(MakeFile(splats, 0));
    const std::uint32_t reds[] = {191, 0, 255, 127};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(GetTexel(*asset, i % 2, i / 2), reds[i]) << i;
}

TEST(GaussianSplatAssetCreator, EachChunkHasItsOwnRanges) {
    std::vector<PlySplat> splats;
    for (int i = 256; i >= 0; --i)
        splats.push_back({.mPosition = {static_cast<float>(i)}, .mDc = {0.001f * static_cast<float>(i)}});
    const auto asset = Create(MakeFile(splats, 0));
    ASSERT_EQ(asset->chunkData.size(), 128u);
    EXPECT_EQ(GetChunk(*asset, 0).posX, glm::vec2(0.0f, 255.0f));
    EXPECT_EQ(GetChunk(*asset, 1).posX, glm::vec2(256.0f, 256.0f));
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->posData, 255), 2047u);
    EXPECT_EQ(ReadAt<std::uint32_t>(asset->posData, 256), 0u);
    EXPECT_EQ(GetTexel(*asset, 15, 15) & 0xff, 255u);
    EXPECT_EQ(asset->posData.size(), 1032u);
}

TEST(GaussianSplatAssetCreator, HarmonicsTurnFromPlanesToTriplesAndAreNormalisedByChannel) {
    // Planes: red 1 2 3, green 4 5 6, blue 7 8 9.
    const std::string file = MakeFile({{PlySplat{.mRest = {1, 2, 3, 4, 5, 6, 7, 8, 9}}}}, 1);
    const auto exact = Create(file, 0);
    ASSERT_EQ(exact->shData.size(), 192u);
    EXPECT_THAT(ReadAll<float>(exact->shData, 9), ElementsAre(1, 4, 7, 2, 5, 8, 3, 6, 9));
    EXPECT_THAT(std::vector(exact->shData.begin() + 36, exact->shData.end()), Each(0));
    const auto chunk = GetChunk(*exact, 0);
    EXPECT_THAT((std::array{chunk.shR, chunk.shG, chunk.shB}),
                ElementsAre(Halves(0x3c00, 0x4200), Halves(0x4400, 0x4600), Halves(0x4700, 0x4880)));
    // Each channel runs 0, 1/2, 1 over its three coefficients; what is above the degree stays 0.
    std::vector<std::uint16_t> words(16);
    words[1] = 15 | 31 << 5 | 15 << 11;
    words[2] = 0xffff;
    EXPECT_EQ(ReadAll<std::uint16_t>(Create(file)->shData), words);
}

TEST(GaussianSplatAssetCreator, AllDegreesReachTheirLastCoefficient) {
    for (int degree = 1; degree <= 3; ++degree) {
        const auto count = static_cast<std::size_t>((degree + 1) * (degree + 1) - 1);
        PlySplat splat;
        splat.mRest.resize(3 * count);
        splat.mRest[count - 1] = splat.mRest[2 * count - 1] = splat.mRest[3 * count - 1] = 2.0f;
        const auto asset = Create(MakeFile({{splat}}, degree));
        EXPECT_EQ(asset->shLevel, static_cast<std::uint32_t>(degree));
        std::vector<std::uint16_t> words(16);
        words[count - 1] = 0xffff;
        EXPECT_EQ(ReadAll<std::uint16_t>(asset->shData), words) << degree;
    }
}

TEST(GaussianSplatAssetCreator, AZeroQuaternionGivesAZeroWord) {
    const PlySplat splat{.mRotation = {0.0f, 0.0f, 0.0f, 0.0f}};
    EXPECT_EQ(ReadAt<std::uint32_t>(Create(MakeFile({{splat}}, 0))->otherData, 0), 0u);
}

TEST(GaussianSplatAssetCreator, NoSplatsAtAll) {
    const auto asset = Create(MakeFile({}, 3));
    for (const auto* block : {&asset->posData, &asset->otherData, &asset->shData, &asset->chunkData})
        EXPECT_TRUE(block->empty());
    EXPECT_EQ(asset->colorWidth, 2048);
    EXPECT_EQ(asset->colorHeight, 16);
    EXPECT_EQ(asset->colorData, std::vector<std::uint8_t>(2048 * 16 * 4));
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
    const std::uint32_t table[5][5] = {
        {0, 0, 0, 0, 0}, {1, 1, 1, 2, 1}, {2, 2, 2, 3, 2}, {3, 2, 3, 6, 2}, {4, 2, 3, 8, 3}};
    for (const auto& row : table) {
        const auto settings = GetSettings(row[0]);
        EXPECT_EQ(std::memcmp(&settings, row, sizeof(settings)), 0) << row[0];
    }
}

TEST(GaussianSplatAssetCreator, FormatsThatCannotBeMadeFail) {
    const std::pair<GaussianSplatAssetCreator::Settings, const char*> cases[] = {
        {{.quality = 3}, "\"Clustering is not supported yet.\""},
        {{.quality = 4}, "\"Clustering is not supported yet.\""},
        {{.quality = 5, .colorFormat = ColorFormat::BC7},
         "CreateColorData() with message \"BC7 compression is not supported yet.\""},
        {{.quality = 5, .posFormat = VectorFormat{4}}, "VectorFormat 4\""},
        {{.quality = 5, .colorFormat = ColorFormat{7}}, "format 7\""},
        {{.quality = 6}, "\"Failed to apply quality of 6\""},
        {{.quality = 5}, ""},
    };
    const TemporaryFile file(MakeFile({{PlySplat{}}}, 1));
    for (auto [settings, message] : cases) {
        const std::string failure = test::MessageOf([&, &made = settings] {
            made.ApplyQualityLevel();
            GaussianSplatAssetCreator::CreateAsset(file.GetPath(), made, true);
        });
        EXPECT_THAT(failure, HasSubstr(message));
        EXPECT_EQ(failure.empty(), *message == '\0') << failure;
    }
    EXPECT_THROW(Create("ply\n"), PLYFileReader::LoadModelException) << "the reader's failures pass through";
}

TEST(GaussianSplatAssetCreator, WideFormatsHoldTheNormalisedValues) {
    const PlySplat splats[] = {{.mPosition = {0, 0, 0}, .mDc = {0, 0, 0}}, {.mPosition = {4, 2, 8}, .mDc = {1, 2, 3}}};
    const auto exact = Create(MakeFile(splats, 0), 0);
    EXPECT_THAT(ReadAll<glm::vec3>(exact->posData), ElementsAre(glm::vec3(0.0f), glm::vec3(1.0f)));
    EXPECT_EQ(exact->otherData.size(), 32u);
    EXPECT_EQ(ReadAt<float>(exact->colorData, 4), 1.0f);
    const auto fine = Create(MakeFile(splats, 0), 1);
    EXPECT_EQ(fine->posData.size(), 16u);
    EXPECT_EQ(ReadAt<std::uint16_t>(fine->posData, 3), 65535);
    EXPECT_EQ(ReadAt<std::uint16_t>(fine->colorData, 4), 0x3c00);
    EXPECT_EQ(fine->shData, std::vector<std::uint8_t>(120));
}

}  // namespace
