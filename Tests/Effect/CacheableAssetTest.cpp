#include "Nimbrel/CacheableAsset.h"

#include <filesystem>
#include <fstream>
#include <random>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "ModelInfo.h"
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
