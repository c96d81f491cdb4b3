// One frame's packed parameters: 26 structures from 753 parameters. The goal is 3 ms once a thread's
// scripts are compiled. Beside it the floor: copying the finished blob, and the cosines of its ramps.
#include <cmath>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

#include "Catalogue/CatalogueManager.h"
#include "PluginBase/Parameters/Custom/Ramp.h"

namespace {

const test::CatalogueManager& Manager() {
    static const test::CatalogueManager manager;
    return manager;
}

void PackFrame(benchmark::State& state) {
    std::vector<std::byte> bytes = Manager().Pack();  // compiles the scripts
    for (auto _ : state) {
        bytes.clear();
        zeb::BlobWriter writer(bytes);
        Manager().Get().GetPacker().PackFromGetter(writer, Manager().Get().GetDefaultValueGetter());
        benchmark::DoNotOptimize(bytes.data());
    }
    state.counters["bytes"] = static_cast<double>(bytes.size());
}
BENCHMARK(PackFrame)->Unit(benchmark::kMicrosecond);

void FloorCopyBlob(benchmark::State& state) {
    const std::vector<std::byte> source = Manager().Pack();
    std::vector<std::byte> target(source.size());
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), source.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FloorCopyBlob)->Unit(benchmark::kMicrosecond);

/// 35 ramps and 5 gradients of 1024 samples: a cosine each.
void FloorCosines(benchmark::State& state) {
    std::vector<float> samples(40 * 1024);
    for (auto _ : state) {
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = std::cos(static_cast<float>(i % 1024) * (3.1415927F / 1023.0F));
        benchmark::DoNotOptimize(samples.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FloorCosines)->Unit(benchmark::kMicrosecond);

void FillRamp(benchmark::State& state) {
    zeb::Ramp ramp(0, 1.0F, 0.0F);
    ramp.interpolation = static_cast<std::int32_t>(state.range(0));
    for (int i = 1; i < 20; ++i) ramp.keys[static_cast<float>(i) / 20.0F] = i % 2 == 0 ? 0.25F : 0.75F;
    std::vector<float> samples(1024);
    for (auto _ : state) {
        ramp.Fill(samples.data(), samples.size());
        benchmark::DoNotOptimize(samples.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FillRamp)->DenseRange(0, 3)->ArgName("interpolation")->Unit(benchmark::kMicrosecond);

/// A thread's first frame: heap, bindings, compilation of both scripts.
void FirstFrameOfAThread(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        const test::CatalogueManager manager;
        state.ResumeTiming();
        benchmark::DoNotOptimize(manager.Pack().data());
    }
}
BENCHMARK(FirstFrameOfAThread)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
