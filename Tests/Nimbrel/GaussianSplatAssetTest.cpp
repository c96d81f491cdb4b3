#include "GaussianSplatAsset.h"

#include <cstddef>

#include <gmock/gmock.h>

#include "../Failure.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Asset = GaussianSplatAsset;

TEST(GaussianSplatAsset, SizesByFormat) {
    const std::uint64_t vectors[] = {12, 6, 4, 2}, colors[] = {16, 8, 4, 1}, harmonics[] = {192, 96, 60, 32};
    for (std::uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(Asset::GetVectorSize(VectorFormat{i}), vectors[i]);
        EXPECT_EQ(Asset::GetOtherSize(VectorFormat{i}), vectors[i] + 4);
        EXPECT_EQ(Asset::CalcPosDataSize(2000000000, VectorFormat{i}), vectors[i] * 2000000000);
        EXPECT_EQ(Asset::CalcOtherDataSize(3, VectorFormat{i}), (vectors[i] + 4) * 3);
        EXPECT_EQ(Asset::CalcColorDataSize({2048, 32}, ColorFormat{i}), colors[i] * 65536);
        EXPECT_EQ(Asset::CalcSHDataSize(7, SHFormat{i}), harmonics[i] * 7);
        EXPECT_EQ(Asset::GetSHCount(SHFormat{i}, 7), 7);
    }
}

TEST(GaussianSplatAsset, FormatsWithoutASizeFail) {
    const std::pair<void (*)(), const char*> cases[] = {
        {[] { Asset::GetVectorSize(VectorFormat{4}); }, "\"Failed to get size of the VectorFormat 4\""},
        {[] { Asset::GetOtherSize(VectorFormat{9}); }, "VectorFormat 9\""},
        {[] {
             Asset::CalcColorDataSize({1, 1}, ColorFormat{4});
         },
         "\"Failed to get the color data size of format 4\""},
        {[] { Asset::CalcSHDataSize(1, SHFormat{5}); }, "\"Failed to get the SH data size of format 5\""},
        {[] { Asset::CalcSHDataSize(1, SHFormat{9}); }, "\"Failed to get the count of SH format 9\""},
    };
    for (const auto& [call, message] : cases) EXPECT_THAT(test::MessageOf(call), HasSubstr(message));
    for (std::uint32_t i = 4; i <= 8; ++i) EXPECT_NO_THROW(Asset::GetSHCount(SHFormat{i}, 1));
}

TEST(GaussianSplatAsset, TextureAndChunksByCount) {
    struct Case {
        std::int32_t mSplats, mHeight, mChunks;
    };
    for (const Case& c :
         {Case{-5, 16, 0}, Case{0, 16, 0}, Case{1, 16, 1}, Case{256, 16, 1}, Case{257, 16, 2}, Case{2049, 16, 9},
          Case{32768, 16, 128}, Case{32769, 32, 129}, Case{2147483647, 1048576, 8388608}}) {
        EXPECT_EQ(Asset::CalcTextureSize(c.mSplats).width, 2048);
        EXPECT_EQ(Asset::CalcTextureSize(c.mSplats).height, c.mHeight) << c.mSplats;
        EXPECT_EQ(Asset::GetChunkCount(c.mSplats), c.mChunks) << c.mSplats;
    }
}

TEST(GaussianSplatAsset, TexelsFollowTilesInMortonOrder) {
    using Texel = std::array<std::int32_t, 2>;
    const std::pair<std::int32_t, Texel> cases[] = {{0, {0, 0}},     {1, {1, 0}},         {2, {0, 1}},     {3, {1, 1}},
                                                    {255, {15, 15}}, {0x92, {4, 9}},  // 1001'0010: x = 0100, y = 1001
                                                    {256, {16, 0}},  {32767, {2047, 15}}, {32768, {0, 16}}};
    for (const auto& [splat, texel] : cases) EXPECT_EQ(Asset::GetTexel(splat), texel) << splat;
}

TEST(GaussianSplatAsset, TotalIsTheSumOfTheBlocks) {
    Asset asset;
    asset.splatCount = 300;
    asset.shFormat = SHFormat::Norm6;
    const auto [position, other, color, sh, chunk, total] = Asset::CalcDataSizes(asset);
    EXPECT_THAT((std::array{position, other, color, sh, chunk, total}),
                ElementsAre(1200, 2400, 2048 * 16 * 4, 9600, 128, 1200 + 2400 + 131072 + 9600 + 128));
}

TEST(GaussianSplatAsset, ChunkRecordIsTheGpusRecord) {
    using Info = Asset::ChunkInfo;
    EXPECT_THAT((std::array{offsetof(Info, colA), offsetof(Info, posX), offsetof(Info, posZ), offsetof(Info, sclX),
                            offsetof(Info, shR), offsetof(Info, shB)}),
                ElementsAre(12, 16, 32, 40, 52, 60));
}

}  // namespace
