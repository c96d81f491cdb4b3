#include "GaussianSplatAssetCreator.h"

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

}  // namespace
