#include "GaussianSplatAsset.h"

#include <cstddef>

#include <gmock/gmock.h>

#include "PluginBase/Exception.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

template <class Call>
std::string GetFailure(const Call& call) {
    try {
        call();
    } catch (const zeb::Exception& e) {
        EXPECT_EQ(e.code, 512);
        return e.what();
    }
    return "";
}

TEST(GaussianSplatAsset, SizesByFormat) {
    const std::uint64_t vectors[] = {12, 6, 4, 2}, colors[] = {16, 8, 4, 1}, harmonics[] = {192, 96, 60, 32};
    for (std::uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(GaussianSplatAsset::GetVectorSize(VectorFormat{i}), vectors[i]);
        EXPECT_EQ(GaussianSplatAsset::GetOtherSize(VectorFormat{i}), vectors[i] + 4);
        EXPECT_EQ(GaussianSplatAsset::CalcPosDataSize(2000000000, VectorFormat{i}), vectors[i] * 2000000000);
        EXPECT_EQ(GaussianSplatAsset::CalcOtherDataSize(3, VectorFormat{i}), (vectors[i] + 4) * 3);
        EXPECT_EQ(GaussianSplatAsset::CalcColorDataSize({2048, 32}, ColorFormat{i}), colors[i] * 65536);
        EXPECT_EQ(GaussianSplatAsset::CalcSHDataSize(7, SHFormat{i}), harmonics[i] * 7);
        EXPECT_EQ(GaussianSplatAsset::GetSHCount(SHFormat{i}, 7), 7);
    }
}

TEST(GaussianSplatAsset, FormatsWithoutASizeFail) {
    EXPECT_THAT(GetFailure([] { GaussianSplatAsset::GetVectorSize(VectorFormat{4}); }),
                HasSubstr("\"Failed to get size of the VectorFormat 4\""));
    EXPECT_THAT(GetFailure([] { GaussianSplatAsset::GetOtherSize(VectorFormat{9}); }), HasSubstr("VectorFormat 9\""));
    EXPECT_THAT(GetFailure([] {
                    GaussianSplatAsset::CalcColorDataSize({1, 1}, ColorFormat{4});
                }),
                HasSubstr("\"Failed to get the color data size of format 4\""));
    EXPECT_THAT(GetFailure([] { GaussianSplatAsset::CalcSHDataSize(1, SHFormat{5}); }),
                HasSubstr("\"Failed to get the SH data size of format 5\""));
    EXPECT_THAT(GetFailure([] { GaussianSplatAsset::CalcSHDataSize(1, SHFormat{9}); }),
                HasSubstr("\"Failed to get the count of SH format 9\""));
    for (std::uint32_t i = 4; i <= 8; ++i) EXPECT_NO_THROW(GaussianSplatAsset::GetSHCount(SHFormat{i}, 1));
}

TEST(GaussianSplatAsset, TextureAndChunksByCount) {
    struct Case {
        std::int32_t mSplats, mHeight, mChunks;
    };
    for (const Case& c :
         {Case{-5, 16, 0}, Case{0, 16, 0}, Case{1, 16, 1}, Case{256, 16, 1}, Case{257, 16, 2}, Case{2049, 16, 9},
          Case{32768, 16, 128}, Case{32769, 32, 129}, Case{2147483647, 1048576, 8388608}}) {
        EXPECT_EQ(GaussianSplatAsset::CalcTextureSize(c.mSplats).width, 2048);
        EXPECT_EQ(GaussianSplatAsset::CalcTextureSize(c.mSplats).height, c.mHeight) << c.mSplats;
        EXPECT_EQ(GaussianSplatAsset::GetChunkCount(c.mSplats), c.mChunks) << c.mSplats;
    }
}

TEST(GaussianSplatAsset, TexelsFollowTilesInMortonOrder) {
    EXPECT_THAT(GaussianSplatAsset::GetTexel(0), ElementsAre(0, 0));
    EXPECT_THAT(GaussianSplatAsset::GetTexel(1), ElementsAre(1, 0));
    EXPECT_THAT(GaussianSplatAsset::GetTexel(2), ElementsAre(0, 1));
    EXPECT_THAT(GaussianSplatAsset::GetTexel(3), ElementsAre(1, 1));
    EXPECT_THAT(GaussianSplatAsset::GetTexel(255), ElementsAre(15, 15));
    EXPECT_THAT(GaussianSplatAsset::GetTexel(0x92), ElementsAre(4, 9));  // 1001'0010: x = 0100, y = 1001.
    EXPECT_THAT(GaussianSplatAsset::GetTexel(256), ElementsAre(16, 0));
    EXPECT_THAT(GaussianSplatAsset::GetTexel(32767), ElementsAre(2047, 15));
    EXPECT_THAT(GaussianSplatAsset::GetTexel(32768), ElementsAre(0, 16));
}

TEST(GaussianSplatAsset, TotalIsTheSumOfTheBlocks) {
    GaussianSplatAsset asset;
    asset.splatCount = 300;
    asset.shFormat = SHFormat::Norm6;
    const GaussianSplatAsset::DataSizes sizes = GaussianSplatAsset::CalcDataSizes(asset);
    EXPECT_EQ(sizes.position, 1200u);
    EXPECT_EQ(sizes.other, 2400u);
    EXPECT_EQ(sizes.color, 2048u * 16 * 4);
    EXPECT_EQ(sizes.sh, 9600u);
    EXPECT_EQ(sizes.chunk, 128u);
    EXPECT_EQ(sizes.total, 1200u + 2400 + 131072 + 9600 + 128);
}

TEST(GaussianSplatAsset, ChunkRecordIsTheGpusRecord) {
    using Info = GaussianSplatAsset::ChunkInfo;
    EXPECT_EQ(offsetof(Info, colA), 12u);
    EXPECT_EQ(offsetof(Info, posX), 16u);
    EXPECT_EQ(offsetof(Info, posZ), 32u);
    EXPECT_EQ(offsetof(Info, sclX), 40u);
    EXPECT_EQ(offsetof(Info, shR), 52u);
    EXPECT_EQ(offsetof(Info, shB), 60u);
}

}  // namespace
