#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "GaussianSplatAssetCreator.h"
#include "PLYFileReader.h"

namespace {

// Larger claims than this are legal and slow; that they fail in the standard way is a matter of the tests.
constexpr std::int64_t kMaxBody = std::int64_t{4} << 20;

const std::filesystem::path& GetPath() {
    static const std::filesystem::path path = [] {
        const std::filesystem::path shared = "/dev/shm";
        const auto folder = std::filesystem::exists(shared) ? shared : std::filesystem::temp_directory_path();
        return folder / ("nimbrel-fuzz-" + std::to_string(std::random_device()()) + ".ply");
    }();
    return path;
}

void Check(bool condition) {
    if (!condition) std::abort();
}

void CheckAsset(const GaussianSplatAsset& asset) {
    const GaussianSplatAsset::DataSizes sizes = GaussianSplatAsset::CalcDataSizes(asset);
    Check(asset.posData.size() == (sizes.position + 7) / 8 * 8);
    Check(asset.otherData.size() == (sizes.other + 7) / 8 * 8);
    Check(asset.colorData.size() == sizes.color);
    Check(asset.shData.size() == sizes.sh);
    Check(asset.chunkData.size() == sizes.chunk);
}

}  // namespace

/// The first byte picks the quality, the rest is the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0) return 0;
    std::ofstream(GetPath(), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes) + 1, static_cast<std::streamsize>(size - 1));
    try {
        const PLYFileData header = PLYFileReader::ReadFile(GetPath().u16string(), false);
        Check(header.data.empty() && header.shLevel <= 3);
        if (header.splatCount > 0 && header.splatCount * std::int64_t{header.stride} > kMaxBody) return 0;
        GaussianSplatAssetCreator::Settings settings;
        settings.quality = bytes[0] % 6;
        settings.ApplyQualityLevel();
        CheckAsset(*GaussianSplatAssetCreator::CreateAsset(GetPath().u16string(), settings, true));
    } catch (const std::exception&) {
        // Every failure has its message; a crash has none.
    }
    return 0;
}
