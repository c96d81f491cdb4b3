// From a PLY file to an asset, and to the importer's preview, on one thread. Each figure stands beside its floor,
// measured in the same run: reading the file, which lies in the page cache, into new memory and copying it once with
// memcpy; for a preview the reading of its sample.
//
// Counters, in processor time, best of five: `floor` in seconds, `ratio` of the way to it, `splats/s`; and the
// process's `peak` and the `allowed` memory in MiB: what ran before, the file, one copy of its body, the asset, and the
// colour image.
#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <string>

#include <benchmark/benchmark.h>

#include "GaussianSplatAssetCreator.h"
#include "ModelMaker.h"
#include "PlyInspection.h"
#include "Preview.h"
#include "SplatSample.h"

namespace {

// Processor time of the one thread, in seconds: a busy machine does not change it.
double GetSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// A model in a file, gone with the object.
class ModelFile {
public:
    ModelFile(std::int64_t count, int degree)
        : mPath(std::filesystem::temp_directory_path() /
                ("nimbrel-benchmark-" + std::to_string(std::random_device()()) + ".ply")) {
        std::ofstream file(mPath, std::ios::binary);
        nimbrel::maker::WriteModel({.mCount = count, .mDegree = degree}, file);
    }
    ~ModelFile() { std::filesystem::remove(mPath); }

    const std::filesystem::path& GetPath() const { return mPath; }
    std::size_t GetSize() const { return std::filesystem::file_size(mPath); }

private:
    std::filesystem::path mPath;
};

double MeasureFloor(const ModelFile& model) {
    double best = std::numeric_limits<double>::max();
    const std::size_t size = model.GetSize();
    for (int i = 0; i < 5; ++i) {
        const double start = GetSeconds();
        const auto bytes = std::make_unique_for_overwrite<char[]>(size);
        std::ifstream(model.GetPath(), std::ios::binary).read(bytes.get(), static_cast<std::streamsize>(size));
        const auto copy = std::make_unique_for_overwrite<char[]>(size);
        std::memcpy(copy.get(), bytes.get(), size);
        benchmark::DoNotOptimize(copy[size - 1]);
        best = std::min(best, GetSeconds() - start);
    }
    return best;
}

// Linux keeps the largest resident size of a process, in KiB; writing 5 here starts it anew.
void ResetPeak() { std::ofstream("/proc/self/clear_refs") << 5; }

double GetMemory(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double kibibytes = 0.0;
        if (word == key && status >> kibibytes) return kibibytes / 1024.0;
    }
    return 0.0;
}

void CreateAsset(benchmark::State& state) {
    const ModelFile model(state.range(0), static_cast<int>(state.range(1)));
    GaussianSplatAssetCreator::Settings settings;
    settings.ApplyQualityLevel();
    const double floor = MeasureFloor(model);
    const double before = GetMemory("VmRSS:");
    ResetPeak();
    double best = std::numeric_limits<double>::max(), assetSize = 0.0, imageSize = 0.0;
    for (auto _ : state) {
        const double start = GetSeconds();
        const auto asset = GaussianSplatAssetCreator::CreateAsset(model.GetPath().u16string(), settings, true);
        best = std::min(best, GetSeconds() - start);
        assetSize = static_cast<double>(GaussianSplatAsset::CalcDataSizes(*asset).total);
        imageSize = 16.0 * asset->colorWidth * asset->colorHeight;
    }
    const auto fileSize = static_cast<double>(model.GetSize());
    state.counters["floor"] = floor;
    state.counters["ratio"] = best / floor;
    state.counters["splats/s"] = static_cast<double>(state.range(0)) / best;
    state.counters["peak"] = GetMemory("VmHWM:");
    state.counters["allowed"] = before + (2.0 * fileSize + assetSize + imageSize) / (1 << 20);
}

/// What a host waits for when it imports a file. Counters: `floor` and `best` in seconds.
void MakePreview(benchmark::State& state) {
    using namespace nimbrel::importer;
    const ModelFile model(state.range(0), static_cast<int>(state.range(1)));
    const std::u16string path = model.GetPath().u16string();
    double best = std::numeric_limits<double>::max(), floor = best;
    for (auto _ : state) {
        const double start = GetSeconds();
        benchmark::DoNotOptimize(nimbrel::importer::MakePreview(path));
        const double middle = GetSeconds();
        benchmark::DoNotOptimize(ReadSample(path, *Inspect(path)));
        best = std::min(best, middle - start);
        floor = std::min(floor, GetSeconds() - middle);
    }
    state.counters["floor"] = floor;
    state.counters["best"] = best;
}

}  // namespace

BENCHMARK(CreateAsset)
    ->ArgNames({"splats", "degree"})
    ->Args({100000, 3})
    ->Args({1000000, 0})
    ->Args({1000000, 1})
    ->Args({1000000, 3})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

BENCHMARK(MakePreview)
    ->ArgNames({"splats", "degree"})
    ->Args({50000, 3})
    ->Args({5000000, 3})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

BENCHMARK_MAIN();
