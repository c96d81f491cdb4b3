#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "PlyInspection.h"
#include "Preview.h"

namespace {

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

}  // namespace

/// The first byte is passed over, so that the corpus of AssetFuzzer serves; the rest is the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace nimbrel::importer;
    if (size == 0) return 0;
    std::ofstream(GetPath(), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes) + 1, static_cast<std::streamsize>(size - 1));
    IsPly(GetPath().u16string());
    // Whatever a readable file holds, there is something to show of it.
    const auto preview = MakePreview(GetPath().u16string());
    Check(preview != nullptr && !preview->mKind.empty() && !preview->mDetails.empty());
    Check(preview->mPicture.mPixels.size() ==
          static_cast<std::size_t>(preview->mPicture.mWidth) * static_cast<std::size_t>(preview->mPicture.mHeight));
    return 0;
}
