// The costly kernels of a frame of 500000 splats at 1920 x 1080 on the processor. Each figure stands beside its floor,
// measured in the same run: one memcpy of the bytes that the kernel must read and write.
//
// Counters, in wall time, best of five: `floor` and `best` in milliseconds, `ratio` of the one to the other.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "Nimbrel/CPU/CalcDistances.h"
#include "Nimbrel/CPU/CalcViewData.h"
#include "Nimbrel/CPU/FastRenderGaussianSplats.h"
#include "Nimbrel/CPU/RenderGaussianSplats.h"
#include "Render/CPU/Sort.h"

namespace {

using namespace nimbrel;
using namespace nimbrel::cpu;
using zeb::render::Format;
using zeb::render::cpu::Image;
using zeb::render::cpu::MakeRenderPass;

constexpr std::uint32_t kSplats = 500000;
constexpr std::uint32_t kWidth = 1920;
constexpr std::uint32_t kHeight = 1080;

double GetMilliseconds() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

template <class Prepare, class Function>
double FindBest(const Prepare& prepare, const Function& function) {
    double best = std::numeric_limits<double>::infinity();
    for (int run = 0; run < 5; ++run) {
        prepare();
        const double begin = GetMilliseconds();
        function();
        best = std::min(best, GetMilliseconds() - begin);
    }
    return best;
}

/// `bytes` read and written altogether.
double MeasureFloor(std::size_t bytes) {
    std::vector<std::byte> from(bytes / 2, std::byte{1});
    std::vector<std::byte> to(bytes / 2);
    return FindBest([] {},
                    [&] {
                        std::memcpy(to.data(), from.data(), to.size());
                        benchmark::DoNotOptimize(to.data());
                        benchmark::ClobberMemory();
                    });
}

template <class Prepare, class Function>
void Measure(benchmark::State& state, std::size_t bytes, const Prepare& prepare, const Function& function) {
    for (auto _ : state) {
        const double best = FindBest(prepare, function);
        const double floor = MeasureFloor(bytes);
        state.SetIterationTime(best / 1000.0);
        state.counters["best"] = best;
        state.counters["floor"] = floor;
        state.counters["ratio"] = best / floor;
    }
}

/// Ellipses of `pixels` length on average, spread over the target.
std::vector<gpu::SplatViewData> MakeRecords(float pixels) {
    std::mt19937 engine(1);
    std::uniform_real_distribution<float> unit(0.0F, 1.0F);
    std::normal_distribution<float> normal(0.0F, 0.4F);
    std::vector<gpu::SplatViewData> records(kSplats);
    for (gpu::SplatViewData& record : records) {
        const float angle = unit(engine) * 6.2831853F;
        const float major = pixels * (0.3F + 1.4F * unit(engine));
        const float minor = std::max(0.45F, major * unit(engine));
        record.pos = {normal(engine), normal(engine), 0.5F, 1.0F};
        record.axis1 = {major * std::cos(angle), major * std::sin(angle)};
        record.axis2 = {minor * std::sin(angle), -minor * std::cos(angle)};
        record.color[0] = 0x38003400U;                                              // halves 0.5, 0.25
        record.color[1] = 0x3A000000U | (unit(engine) < 0.5F ? 0x3B00U : 0x3000U);  // opacity 0.875 or 0.125
    }
    return records;
}

void BM_Draw(benchmark::State& state, Format format, float pixels, bool fast) {
    const auto records = MakeRecords(pixels);
    std::vector<std::uint32_t> order(kSplats);
    std::iota(order.begin(), order.end(), 0U);
    const gpu::TextureConstants constants{{static_cast<float>(kWidth), static_cast<float>(kHeight)}, 0, 0};
    Image target(format, kWidth, kHeight);
    const auto pass = MakeRenderPass(target, kWidth, kHeight, GaussianSplatsBlend());
    const std::size_t bytes = 2 * target.Texels().size() + kSplats * (sizeof(gpu::SplatViewData) + 4);
    Measure(
        state, bytes, [&] { std::fill(target.Texels().begin(), target.Texels().end(), std::byte{0}); },
        [&] {
            if (fast)
                FastDrawGaussianSplats(pass, constants, order, records);
            else
                DrawGaussianSplats(pass, constants, order, records, 0, kSplats);
        });
}

void BM_Sort(benchmark::State& state) {
    std::mt19937 engine(2);
    std::vector<std::uint32_t> source(kSplats);
    for (std::uint32_t& key : source) key = static_cast<std::uint32_t>(engine());
    std::vector<std::uint32_t> keys;
    std::vector<std::uint32_t> payloads(kSplats);
    const auto prepare = [&] {
        keys = source;
        std::iota(payloads.begin(), payloads.end(), 0U);
    };
    Measure(state, std::size_t{16} * kSplats, prepare, [&] { zeb::render::cpu::Sort(keys, payloads); });
}

/// Random blocks in the formats of compression level 2.
struct Scene {
    Scene() : mChunks(kSplats / 256 + 1), mColor(Format::RGBA8Unorm, 2048, 256) {
        std::mt19937 engine(3);
        for (auto* block : {&mPositions, &mOther, &mSH, &mColor.Texels()}) {
            if (block->empty()) block->resize(kSplats * (block == &mPositions ? 4U : block == &mOther ? 8U : 32U));
            for (std::byte& byte : *block) byte = static_cast<std::byte>(engine());
        }
        for (gpu::SplatChunkInfo& chunk : mChunks) {
            chunk.posX = chunk.posY = {-1.0F, 1.0F};
            chunk.posZ = {2.0F, 4.0F};
            chunk.colR = chunk.colG = chunk.colB = chunk.colA = 0x3C000000U;                         // 0 to 1
            chunk.sclX = chunk.sclY = chunk.sclZ = chunk.shR = chunk.shG = chunk.shB = 0x38003000U;  // 1/8 to 1/2
        }
        mInputs.mBlocks = {std::as_bytes(std::span(mChunks)), mPositions, mOther, mSH, mColor.View(), {0x030202U, 0}};
        gpu::CalcViewDataConstants& c = mInputs.mConstants;
        c._MatrixAlign = c._MatrixTransform = c._MatrixWorldToObject = c._MatrixMV = c._MatrixCamera = glm::mat4(1.0F);
        c._MatrixP = glm::mat4(1.0F);
        c._MatrixP[2][3] = 1.0F;
        c._MatrixVP = c._MatrixP;
        c._VecScreenParams = {static_cast<float>(kWidth), static_cast<float>(kHeight), 0.0F, 0.0F};
        c._SplatScale = c._SplatOpacityScale = 1.0F;
        c._SHOrder = 3;
        c._SplatCount = kSplats;
    }

    std::vector<gpu::SplatChunkInfo> mChunks;
    std::vector<std::byte> mPositions, mOther, mSH;
    Image mColor;
    CalcViewDataInputs mInputs;
};

void BM_ViewData(benchmark::State& state) {
    const Scene scene;
    std::vector<gpu::SplatViewData> records(kSplats);
    const std::size_t bytes = kSplats * (4 + 8 + 32 + 4 + sizeof(gpu::SplatViewData));
    Measure(
        state, bytes, [] {}, [&] { CalcViewData(scene.mInputs, 0, kSplats, records); });
}

void BM_Distances(benchmark::State& state) {
    const Scene scene;
    CalcDistancesInputs inputs{scene.mInputs.mBlocks, {}, {}, {}};
    inputs.mConstants._CalcDistancesMatrixAlign = inputs.mConstants._CalcDistancesMatrixVP = glm::mat4(1.0F);
    inputs.mConstants._CalcDistancesSplatCount = kSplats;
    std::vector<std::uint32_t> keys(kSplats);
    Measure(
        state, std::size_t{8} * kSplats, [] {}, [&] { CalcDistances(inputs, 0, kSplats, keys); });
}

#define NIMBREL_BENCHMARK(function, ...) \
    BENCHMARK_CAPTURE(function, __VA_ARGS__)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond)

NIMBREL_BENCHMARK(BM_Draw, small_float, Format::RGBA32Float, 3.0F, true);
NIMBREL_BENCHMARK(BM_Draw, small_8bit, Format::RGBA8Unorm, 3.0F, true);
NIMBREL_BENCHMARK(BM_Draw, large_float, Format::RGBA32Float, 12.0F, true);
NIMBREL_BENCHMARK(BM_Draw, small_float_scalar, Format::RGBA32Float, 3.0F, false);
BENCHMARK(BM_Sort)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ViewData)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Distances)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
