#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "NimbrelConvert/Errors.h"
#include "NimbrelConvert/SplatReader.h"
#include "SampleFiles.h"

namespace {

using namespace nimbrel::convert;

/// A folder of this process, with the pictures of an unbundled SOG model in it.
const std::filesystem::path& GetFolder() {
    static const std::filesystem::path folder = [] {
        const std::filesystem::path shared = "/dev/shm";
        const auto base = std::filesystem::exists(shared) ? shared : std::filesystem::temp_directory_path();
        const std::filesystem::path made = base / ("nimbrel-fuzz-" + std::to_string(std::random_device()()));
        std::filesystem::create_directories(made);
        for (const test::NamedFile& file : test::WriteSog(test::MakeSmallSample(40, 1), 2)) {
            std::ofstream(made / file.mName, std::ios::binary) << file.mBytes;
        }
        std::atexit([] { std::filesystem::remove_all(GetFolder()); });
        return made;
    }();
    return folder;
}

// A name decides only for formats that have no mark of their own, and for a SOG model's parts.
constexpr const char* kNames[] = {"a.ply", "a.splat", "a.ksplat", "a.spz", "a.sog", "a.glb", "a.gltf", "meta.json"};

}  // namespace

/// The first byte picks the file's name, the rest is the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0) return 0;
    const std::filesystem::path file = GetFolder() / kNames[bytes[0] % std::size(kNames)];
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes) + 1, static_cast<std::streamsize>(size - 1));
    try {
        IsPlainPly(file);
        ListModelFiles(file);
        const std::unique_ptr<SplatReader> reader = OpenModel(file);
        if (reader->GetFacts().mDegree < 0 || reader->GetFacts().mDegree > 3) std::abort();
        std::vector<float> rows(300 * reader->GetLayout().Size());
        // A file may hold many equal splats; reading some blocks of them shows what there is to see.
        for (int block = 0; block < 20 && reader->CountLeft() > 0; ++block) reader->Read(rows);
    } catch (const ConvertError&) {
        // Every failure has its message; a crash has none.
    }
    return 0;
}
