#include <limits>
#include <new>

#include <gmock/gmock.h>

#include "AssetSupport.h"

// Files that are broken, or made to break: what matters is a defined result and not one byte out of bounds
// (the tests are run with the address and undefined behaviour sanitizers too).
namespace {

TEST(HostileFile, CountsBeyondMemoryAreAFailedAllocation) {
    // Records of 32 KB, so that no machine has room for the largest count.
    std::vector<std::string> properties = GetUsualProperties(3);
    for (int i = 0; i < 4000; ++i) properties.push_back("double padding" + std::to_string(i));
    for (std::int64_t count : {-1LL, -2147483648LL, 2147483647LL, 9223372036854775807LL})
        EXPECT_THROW(Create(MakeHeader(properties, count)), std::bad_alloc) << count;
}

TEST(HostileFile, WithoutOpacityItSharesTheFirstBytes) {
    // Offset 0 is x here: worked on as a position until the order stands, then as both, one after the other.
    std::string file = MakeHeader(Replaced(GetUsualProperties(0), "opacity", ""), 2);
    for (float x : {100.0f, 0.0f}) {
        const float values[13] = {x, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0};
        file += Bytes<float>(values);
    }
    const auto asset = Create(file);
    EXPECT_EQ(asset->boundsMax.x, 100.0f);
    const auto chunk = ReadAt<GaussianSplatAsset::ChunkInfo>(asset->chunkData, 0);
    EXPECT_EQ(chunk.posX, glm::vec2(0.5f, 1.0f));
    EXPECT_EQ(chunk.colA, 0x3c003800u);
    // 0 and 1 in the range of the position become -1 and 1 in that of the opacity.
    EXPECT_THAT(ReadAll<std::uint32_t>(asset->posData), testing::ElementsAre(0u, 2047u));
    EXPECT_EQ(asset->colorData[3], 0);
    EXPECT_EQ(asset->colorData[7], 255);
}

TEST(HostileFile, ValuesBehindARecordAreZeroAndReachNoNeighbour) {
    // Harmonics of one byte each at the record's end: twelve bytes where thirty-six are read.
    std::vector<std::string> narrow = {"x",     "y",     "z",     "opacity", "scale_0", "scale_1", "scale_2", "rot_0",
                                       "rot_1", "rot_2", "rot_3", "f_dc_0",  "f_dc_1",  "f_dc_2",  "f_rest_0"};
    std::vector<std::string> wide = narrow;
    for (int i = 1; i < 9; ++i) {
        narrow.push_back("uchar f_rest_" + std::to_string(i));
        wide.push_back("f_rest_" + std::to_string(i));
    }
    std::string narrowFile = MakeHeader(narrow, 300), wideFile = MakeHeader(wide, 300);
    for (int i = 0; i < 300; ++i) {
        float values[17] = {static_cast<float>(i % 7), static_cast<float>(i % 5), 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0};
        for (int k = 14; k < 17; ++k) values[k] = static_cast<float>(i * k % 11);
        narrowFile += Bytes<float>(values);
        wideFile += Bytes<float>(values) + std::string(24, '\0');
    }
    const auto a = Create(narrowFile), b = Create(wideFile);
    for (auto block : {&GaussianSplatAsset::posData, &GaussianSplatAsset::otherData, &GaussianSplatAsset::colorData,
                       &GaussianSplatAsset::shData, &GaussianSplatAsset::chunkData})
        EXPECT_EQ((*a).*block, (*b).*block);
}

TEST(HostileFile, OddTypesAtAnyPlaceAreDefined) {
    const char* const types[] = {"char", "short", "double", "nothing", "float"};
    const std::vector<std::string> rotated[] = {
        {"f_dc_0", "f_dc_1", "f_dc_2", "opacity", "scale_0", "scale_1", "scale_2", "rot_0", "rot_1", "rot_2", "rot_3",
         "x", "y", "z"},
        {"x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "scale_0", "scale_1", "scale_2", "rot_0", "rot_1", "rot_2",
         "rot_3", "opacity"},
        {"x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "rot_0", "rot_1", "rot_2", "rot_3", "opacity", "scale_0",
         "scale_1", "scale_2"},
    };
    for (const auto& properties : rotated) {
        for (const char* first : {"x", "f_dc_0", "opacity", "scale_0", "rot_0"}) {
            for (const char* type : types) {
                const std::string header = MakeHeader(Replaced(properties, first, std::string(type) + " " + first), 3);
                for (std::uint32_t quality = 0; quality < 3; ++quality)
                    EXPECT_EQ(Create(header + std::string(500, '\x3f'), quality)->splatCount, 3);
            }
        }
    }
}

TEST(HostileFile, HarmonicsThatAreNotContiguousOverlapTheRest) {
    // Position between the first harmonic and the others: the block behind f_dc_2 runs over it.
    std::vector<std::string> properties = {"f_dc_0", "f_dc_1", "f_dc_2", "f_rest_0", "x", "y", "z"};
    for (int i = 1; i < 9; ++i) properties.push_back("f_rest_" + std::to_string(i));
    for (const char* name : {"opacity", "scale_0", "scale_1", "scale_2", "rot_0", "rot_1", "rot_2", "rot_3"})
        properties.emplace_back(name);
    float values[23];
    for (int k = 0; k < 23; ++k) values[k] = static_cast<float>(k);
    const auto asset = Create(MakeHeader(properties, 1) + Bytes<float>(values));
    // Interleaving moves floats 3..11 to 3 6 9 4 7 10 5 8 11; x, y, z stand at 4, 5, 6.
    EXPECT_EQ(asset->boundsMin, glm::vec3(6.0f, 9.0f, 4.0f));
}

TEST(HostileFile, NoValueIsTooWild) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    const float wild[] = {nan, infinity, -infinity, 3.4e38f, -3.4e38f, 1e-45f, -0.0f, 1e30f, 0.0f};
    std::vector<PlySplat> splats;
    for (float a : wild) {
        for (float b : wild) {
            splats.push_back({.mPosition = {a, b, 1.0f},
                              .mDc = {b, a, b},
                              .mRest = std::vector<float>(45, b),
                              .mOpacity = a,
                              .mScale = {a, b, a},
                              .mRotation = {a, b, a, b}});
        }
    }
    for (std::uint32_t quality = 0; quality < 3; ++quality) {
        const auto asset = Create(MakeFile(splats, 3), quality);
        // A NaN is never an extreme.
        EXPECT_EQ(asset->boundsMin.x, -infinity);
        EXPECT_EQ(asset->boundsMax.y, infinity);
        EXPECT_EQ(asset->boundsMax.z, 1.0f);
    }
}

}  // namespace
