// One frame of the procedural model, stage by stage, on a Vulkan device and on the CPU device in the same run: each
// stage is recorded into a command list of its own, executed and waited for. Its floor, measured beside it, is a memcpy
// that reads and writes as many bytes as the stage has to.
//
// Times are the best of the iterations in milliseconds: `wall`; `cpu`, processor time of all threads, which other
// programs disturb less; `floor` and the `ratio` of cpu to it; `against`, cpu to that of another run beside it: of the
// sort to the view data, of the kernels with the code of effects that are off to those without it, of those with an
// effect to those without, of the camera inside the model to the one outside. The CPU device's `faster` and
// `faster_wall` are how many times less cpu and wall than the Vulkan device it took; these want a Vulkan device that
// runs in software.
#include <algorithm>
#include <barrier>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "FrameFixture.h"

namespace {

using namespace nimbrel::benchmarks;
using Stage = Frame::Stage;

double MeasureFloor(std::uint64_t bytes) {
    const std::vector<char> source(bytes, 1);
    std::vector<char> target(bytes);
    Best best;
    for (int i = 0; i < 5; ++i) {
        best.Measure([&] {
            std::memcpy(target.data(), source.data(), bytes);
            benchmark::DoNotOptimize(target.data());
            benchmark::ClobberMemory();
        });
    }
    return std::max(best.mCpu, 1e-3);
}

/// Half the bytes that a stage reads and writes: as many as its memcpy copies. Overdraw is not counted.
std::uint64_t GetCopiedBytes(const GaussianSplatAsset& asset, Stage stage) {
    const auto sizes = GaussianSplatAsset::CalcDataSizes(asset);
    const auto splats = static_cast<std::uint64_t>(asset.splatCount);
    switch (stage) {
        case Stage::Upload: return sizes.total + sizes.color;
        case Stage::Distances: return (sizes.position + sizes.chunk + 8 * splats) / 2;
        case Stage::Sort: return 8 * (4 + 8 + 8) * splats / 2;  // eight times: count keys, move keys and payload
        case Stage::ViewData: return (sizes.total + 40 * splats) / 2;
        case Stage::Draw: return (44 * splats + 4 * kPixels) / 2;
    }
    return 0;
}

void Report(benchmark::State& state, const Best& best, std::uint64_t bytes) {
    const double floor = MeasureFloor(bytes);
    state.counters["wall"] = best.mWall;
    state.counters["cpu"] = best.mCpu;
    state.counters["floor"] = floor;
    state.counters["ratio"] = best.mCpu / floor;
}

/// Puts the CPU device's times beside those that the Vulkan device took for the same thing just before.
void ReportFaster(benchmark::State& state, const std::string& what, DeviceName device, const Best& best) {
    static std::map<std::string, Best> vulkan;
    const std::string key = what + std::to_string(state.range(0));
    if (device == DeviceName::Vulkan) vulkan[key] = best;
    const auto found = vulkan.find(key);
    if (device == DeviceName::Vulkan || found == vulkan.end()) return;
    state.counters["faster"] = found->second.mCpu / best.mCpu;
    state.counters["faster_wall"] = found->second.mWall / best.mWall;
}

void MeasureStage(benchmark::State& state, Stage stage, const FrameSettings& settings) {
    const GaussianSplatAsset& asset = GetAsset(state.range(0));
    Frame frame(asset, settings);
    Best best, viewData;
    for (auto _ : state) {
        if (stage == Stage::Sort) {
            frame.Run(Stage::Distances);
            viewData.Measure([&] { frame.Run(Stage::ViewData); });
        }
        best.Measure([&] { frame.Run(stage); });
    }
    Report(state, best, GetCopiedBytes(asset, stage));
    if (stage == Stage::Sort) state.counters["against"] = best.mCpu / viewData.mCpu;
    if (settings.mPrograms.mSort == ParallelSort::Form::ForDevice)
        ReportFaster(state, std::to_string(static_cast<int>(stage)), settings.mDevice, best);
}

// Linux keeps the largest resident size of a process, in KiB; writing 5 here starts it anew.
void ResetPeak() { std::ofstream("/proc/self/clear_refs") << 5; }

double GetMemory(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double kibibytes = 0.0;
        if (word == key && status >> kibibytes) return kibibytes * 1024.0;
    }
    return 0.0;
}

/// `bytes/splat`: what the process held at its peak beyond what it held before the frame, the asset not counted;
/// `growth`: MiB that the iterations took beyond the first frame.
void MeasureWhole(benchmark::State& state, DeviceName device) {
    const GaussianSplatAsset& asset = GetAsset(state.range(0));
    const double before = GetMemory("VmRSS:");
    ResetPeak();
    Frame frame(asset, {.mDevice = device});
    frame.RunAll();
    const double first = GetMemory("VmHWM:");
    Best best;
    for (auto _ : state) best.Measure([&] { frame.RunAll(); });
    const double last = GetMemory("VmHWM:");
    std::uint64_t bytes = 4 * 4 * kPixels;
    for (const Stage stage : Frame::kStages) bytes += GetCopiedBytes(asset, stage);
    Report(state, best, bytes);
    ReportFaster(state, "whole", device, best);
    state.counters["bytes/splat"] = (last - before) / static_cast<double>(asset.splatCount);
    state.counters["growth"] = (last - first) / (1 << 20);
}

void MeasureOutput(benchmark::State& state, DeviceName device) {
    Frame frame(GetAsset(state.range(0)), {.mDevice = device});
    Best best;
    for (auto _ : state) best.Measure([&] { frame.RunOutput(); });
    Report(state, best, 4 * 4 * kPixels);
    ReportFaster(state, "output", device, best);
}

/// Two frames in turn, which may differ in everything.
template <class Run>
void Compare(benchmark::State& state, const FrameSettings& settings, const FrameSettings& base, const Run& run) {
    const GaussianSplatAsset& asset = GetAsset(state.range(0));
    Frame frame(asset, settings);
    Frame other(asset, base);
    Best best, least;
    for (auto _ : state) {
        least.Measure([&] { run(other); });
        best.Measure([&] { run(frame); });
    }
    state.counters["wall"] = best.mWall;
    state.counters["cpu"] = best.mCpu;
    state.counters["against"] = best.mCpu / least.mCpu;
}

/// As many threads as the argument tells, a renderer each, draw frames at the same time. `frames/s` of all together;
/// `uneven`: the slowest thread's time for its frames to the fastest one's.
void MeasureFramesAtOnce(benchmark::State& state) {
    constexpr int kFrames = 8;
    const GaussianSplatAsset& asset = GetAsset(500000);
    const auto count = static_cast<std::size_t>(state.range(0));
    double rate = 0.0, uneven = 1e30;
    for (auto _ : state) {
        std::vector<double> seconds(count);
        std::barrier ready(static_cast<std::ptrdiff_t>(count));
        std::vector<std::thread> threads;
        for (double& passed : seconds) {
            threads.emplace_back([&] {
                Frame frame(asset, {.mDevice = DeviceName::CPU});
                frame.RunAll();
                ready.arrive_and_wait();
                Best best;
                best.Measure([&] {
                    for (int i = 0; i < kFrames; ++i) frame.RunAll();
                });
                passed = best.mWall / 1e3;
            });
        }
        for (std::thread& thread : threads) thread.join();
        const auto [fastest, slowest] = std::minmax_element(seconds.begin(), seconds.end());
        rate = std::max(rate, kFrames * static_cast<double>(count) / *slowest);
        uneven = std::min(uneven, *slowest / *fastest);
    }
    state.counters["frames/s"] = rate;
    state.counters["uneven"] = uneven;
}

template <class... Arguments>
auto* Add(const std::string& name, Arguments... arguments) {
    return benchmark::RegisterBenchmark(name.c_str(), arguments...)->Unit(benchmark::kMillisecond)->Iterations(7);
}

void RegisterStages(DeviceName device, std::int64_t splats) {
    const std::string suffix = device == DeviceName::CPU ? "/cpu" : "/vulkan";
    FrameSettings usual{.mDevice = device};
    FrameSettings plainSort = usual;
    plainSort.mPrograms.mSort = ParallelSort::Form::Plain;
    Add("Upload" + suffix, MeasureStage, Stage::Upload, usual)->Arg(splats);
    Add("Distances" + suffix, MeasureStage, Stage::Distances, usual)->Arg(splats);
    Add("Sort" + suffix, MeasureStage, Stage::Sort, usual)->Arg(splats);
    if (device == DeviceName::Vulkan) Add("SortPlainForm/vulkan", MeasureStage, Stage::Sort, plainSort)->Arg(splats);
    Add("ViewData" + suffix, MeasureStage, Stage::ViewData, usual)->Arg(splats);
    Add("Draw" + suffix, MeasureStage, Stage::Draw, usual)->Arg(splats);
    Add("ConversionAndReadBack" + suffix, MeasureOutput, device)->Arg(splats);
    Add("WholeFrame" + suffix, MeasureWhole, device)->Arg(splats);
}

void RegisterComparisons(DeviceName device) {
    const std::string suffix = device == DeviceName::CPU ? "/cpu" : "/vulkan";
    const auto run = [](Stage stage) { return [stage](Frame& frame) { frame.Run(stage); }; };
    const auto all = [](Frame& frame) { frame.RunAll(); };
    const FrameSettings usual{.mDevice = device};
    FrameSettings noise = usual, inside = usual, fullForm = usual;
    noise.mEffect = Effect::Noise;
    inside.mInside = true;
    fullForm.mPrograms.mLeaveOutEffects = false;
    const auto add = [&](const std::string& name, const FrameSettings& settings, const FrameSettings& base, auto work) {
        Add(name + suffix, [=](benchmark::State& state) { Compare(state, settings, base, work); })->Arg(500000);
    };
    add("DistancesFullForm", fullForm, usual, run(Stage::Distances));
    add("ViewDataFullForm", fullForm, usual, run(Stage::ViewData));
    add("DistancesNoise", noise, usual, run(Stage::Distances));
    add("ViewDataNoise", noise, usual, run(Stage::ViewData));
    for (const auto& [effect, name] : {std::pair(Effect::CropBox, "ViewDataCropBox"),
                                       {Effect::Opacity, "ViewDataOpacity"},
                                       {Effect::Color, "ViewDataColor"}}) {
        FrameSettings one = usual;
        one.mEffect = effect;
        add(name, one, usual, run(Stage::ViewData));
    }
    add("CameraInside", inside, usual, all);
}

void Register() {
    for (const std::int64_t splats : {100000, 500000, 2000000}) {
        RegisterStages(DeviceName::Vulkan, splats);
        RegisterStages(DeviceName::CPU, splats);
    }
    RegisterComparisons(DeviceName::Vulkan);
    RegisterComparisons(DeviceName::CPU);
    Add("FramesAtOnce/cpu", MeasureFramesAtOnce)->Arg(1)->Arg(2)->Iterations(3);
    for (const std::int64_t splats : {4000000, 8000000, 16000000}) RegisterStages(DeviceName::CPU, splats);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::AddCustomContext("vulkan", GetDevice(DeviceName::Vulkan).GetName());
    benchmark::AddCustomContext("cpu", GetDevice(DeviceName::CPU).GetName());
    Register();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
