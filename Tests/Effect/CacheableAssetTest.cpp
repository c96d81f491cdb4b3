#include "Nimbrel/CacheableAsset.h"

#include <bit>
#include <filesystem>
#include <fstream>
#include <new>
#include <random>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "ModelInfo.h"
#include "ModelMaker.h"
#include "PluginBase/ComputeCache/ComputeCache.h"
#include "PluginBase/ComputeCache/Hasher.h"

using ::testing::HasSubstr;
using ::testing::Not;

namespace {

CacheableAsset::Options MakeOptions(std::u16string path) {
    CacheableAsset::Options options;
    options.path = std::move(path);
    options.settings = MakeModelSettings();
    return options;
}

}  // namespace

TEST(CacheableAsset, TheKeyIsThePathInUtf16AndTheSettings) {
    zeb::Hasher hasher;
    zeb::CacheableCreator<CacheableAsset> creator;
    std::string hex;
    const auto key = creator.GetHash(hasher, MakeOptions(u"/m/\u00e4.ply"));
    for (const unsigned char byte : std::bit_cast<std::array<unsigned char, 16>>(key))
        hex += fmt::format("{:02x}", byte);
    // md5 of the code units, low byte first, and the words 2, 2, 2, 3, 2.
    EXPECT_EQ(hex, "50deaa9cfed7122211b5523a08c73c8b");
    EXPECT_NE(key, creator.GetHash(hasher, MakeOptions(u"/m/a.ply")));
    EXPECT_EQ(creator.GetName(), "adobe.ae.effect.velmaris.Nimbrel.modelcache_v_1");
}

TEST(CacheableAsset, AFileThatCannotBeReadIsCachedWithItsError) {
    zeb::ComputeCache cache(zeb::MakeUnique<zeb::Hasher>());
    cache.RegisterCacheable(zeb::MakeUnique<zeb::CacheableCreator<CacheableAsset>>());
    const auto options = MakeOptions(u"no/such/file.ply");
    const zeb::ComputeCacheResult<CacheableAsset> result(cache.DoComputeIfNeededAndCheckout(kModelCacheName, options));
    EXPECT_FALSE(result->IsLoaded());
    EXPECT_FALSE(result->error.empty());
    EXPECT_THAT(result->error, Not(HasSubstr("Throw in function")));  // the plain message, without its origin
    EXPECT_EQ(result->GetSize(), 0U);
    EXPECT_TRUE(cache.DoHasValue(kModelCacheName, options));
    EXPECT_THAT(FormatModelInfo("no/such/file.ply", *result, "GPU"),
                "Failed to load model \"no/such/file.ply\": " + result->error);
}

TEST(CacheableAsset, MoreSplatsThanCanBeDrawnAreToldFromTheHeader) {
    const auto file =
        std::filesystem::temp_directory_path() / fmt::format("nimbrel-many-{}.ply", std::random_device()());
    std::string header = "ply\nformat binary_little_endian 1.0\nelement vertex 33554433\n";
    for (const char* name : {"x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "opacity", "scale_0", "scale_1", "scale_2",
                             "rot_0", "rot_1", "rot_2", "rot_3"})
        header += fmt::format("property float {}\n", name);
    std::ofstream(file) << header << "end_header\n";  // and no body, which would be 1.9 GB
    const CacheableAsset model(MakeOptions(file.u16string()));
    std::filesystem::remove(file);
    EXPECT_EQ(model.error, "It has 33554433 splats; no more than 33554432 of a file can be drawn");
    EXPECT_FALSE(model.IsLoaded());
}

TEST(CacheableAsset, ALackOfMemoryIsNotRemembered) {
    zeb::ComputeCache cache(zeb::MakeUnique<zeb::Hasher>());
    cache.RegisterCacheable(zeb::MakeUnique<zeb::CacheableCreator<CacheableAsset>>());
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "nimbrel-much-memory.ply";
    nimbrel::maker::ModelOptions box;
    box.mCount = 10;
    const std::vector<std::uint8_t> model = nimbrel::maker::MakeModel(box);
    const auto write = [&](const auto& bytes) {
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    };
    std::string huge(reinterpret_cast<const char*>(model.data()), model.size());
    huge.replace(huge.find("vertex 10"), 9, "vertex -1");  // a count that no memory holds
    write(huge);
    const auto options = MakeOptions(path.u16string());
    EXPECT_THROW(cache.DoComputeIfNeededAndCheckout(kModelCacheName, options), std::bad_alloc);
    EXPECT_FALSE(cache.DoHasValue(kModelCacheName, options));
    write(model);
    EXPECT_TRUE(zeb::ComputeCacheResult<CacheableAsset>(cache.DoComputeIfNeededAndCheckout(kModelCacheName, options))
                    ->IsLoaded());
    std::filesystem::remove(path);
}

TEST(ModelInfo, CountsAndSizes) {
    const std::pair<std::uint64_t, const char*> counts[] = {
        {0, "0 "},           {500, "500 "},         {1000, "1000 "},        {1001, "1 001"},
        {999999, "999 999"}, {1000000, "1000 000"}, {1234567, "1 234 567"}, {2000000, "2 000 000"},
    };
    for (const auto& [value, text] : counts) EXPECT_EQ(FormatCount(value), text);
    const std::pair<std::uint64_t, const char*> sizes[] = {
        {0, "0 B"},
        {999, "999 B"},
        {1000, "1 kB"},
        {1234, "1.23 kB"},
        {123456, "123 kB"},
        {999900, "1000 kB"},
        {1000000, "1 MB"},
        {48000000, "48 MB"},
        {1500000000, "1.5 GB"},
        {2000000000000, "2 TB"},
        {3000000000000000, "3 PB"},
        {4000000000000000000, "4000 PB"},
    };
    for (const auto& [value, text] : sizes) EXPECT_EQ(FormatBytes(value), text);
}

TEST(ModelInfo, ShowsTheFilesBoundsInPixels) {
    CacheableAsset model(MakeOptions(u"none"));
    model.error.clear();
    model.asset = std::make_unique<GaussianSplatAsset>();
    model.asset->splatCount = 1500;
    model.asset->boundsMin = {-1.5F, 0.0F, 0.25F};
    model.asset->boundsMax = {2.0F, 3.0F, 4.0F};
    // 1500 splats at level 2: 6000 + 12000 bytes, 2048 x 16 pixels of 4, 1500 * 32, 6 chunks of 64.
    model.asset->shFormat = SHFormat::Norm6;
    EXPECT_EQ(FormatModelInfo("/m.ply", model, "GPU"),
              "Path: \"/m.ply\"\nSplats: 1 500\nVideo Memory: 197 kB\n\nBBox Min: [-1500, 0, 250]\n"
              "BBox Max: [2000, 3000, 4000]\nNote: Splat positions were multiplied by 1000 to match the dimensions of "
              "the After Effects scene.\n\nRender Info:\nGPU");
}
