#include "GaussianSplatAsset.h"

#include <gmock/gmock.h>

#include "../Failure.h"

namespace {

using testing::HasSubstr;
using Asset = GaussianSplatAsset;

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

}  // namespace
