// The stages of a frame of real captures at 1920 x 1080 on the processor, by the CPU device's kernels: every PLY file
// of the folder in NIMBREL_MODELS, framed as the frame benchmark's model is. One frame before each measurement.
//
// Counters, in milliseconds of processor time over all threads, least of nine: `view`, `sort`, `draw8` and `draw32`
// (into 8-bit and into float targets), `wall8` (the draw's wall time); and `ratio32`, the float frame to the 8-bit one.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <glm/ext/matrix_transform.hpp>

#include "Nimbrel/CPU/CalcDistances.h"
#include "Nimbrel/CPU/CalcViewData.h"
#include "Nimbrel/CPU/FastRenderGaussianSplats.h"
#include "Nimbrel/CPU/RenderGaussianSplats.h"
#include "Nimbrel/GaussianSplatAssetCreator.h"
#include "Render/CPU/Parallel.h"
#include "Render/CPU/Sort.h"

namespace {

using namespace nimbrel;
using namespace nimbrel::cpu;
using zeb::render::Format;
using zeb::render::cpu::Image;

constexpr std::uint32_t kWidth = 1920;
constexpr std::uint32_t kHeight = 1080;

double GetProcessorTime() { return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

double GetWallTime() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Processor and wall time, the least of each.
template <class Prepare, class Function>
std::pair<double, double> Measure(const Prepare& prepare, const Function& function) {
    std::pair best(std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity());
    for (int run = 0; run < 10; ++run) {
        prepare();
        const double processor = GetProcessorTime();
        const double wall = GetWallTime();
        function();
        if (run == 0) continue;
        best.first = std::min(best.first, GetProcessorTime() - processor);
        best.second = std::min(best.second, GetWallTime() - wall);
    }
    return best;
}

/// One capture before the camera, with what its stages leave for the next.
class Capture {
public:
    explicit Capture(const std::filesystem::path& path) {
        GaussianSplatAssetCreator::Settings settings;
        settings.ApplyQualityLevel();
        mAsset = GaussianSplatAssetCreator::CreateAsset(path.u16string(), settings, true);
        mView.mBlocks = MakeBlocks(*mAsset);
        mDistances.mBlocks = mView.mBlocks;
        const auto count = static_cast<std::uint32_t>(mAsset->splatCount);
        mRecords.resize(count);
        mKeys.resize(count);
        mOrder.resize(count);
        SetCamera(count);
    }

    void CalcRecords() {
        ForAll([&](auto begin, auto end) { CalcViewData(mView, begin, end, mRecords); });
    }
    void CalcKeys() {
        std::iota(mOrder.begin(), mOrder.end(), 0U);
        ForAll([&](auto begin, auto end) { CalcDistances(mDistances, begin, end, mKeys); });
    }
    void Sort() { zeb::render::cpu::Sort(mKeys, mOrder); }
    void Draw(Image& target) const {
        const gpu::TextureConstants constants{{static_cast<float>(kWidth), static_cast<float>(kHeight)}, 0, 0};
        FastDrawGaussianSplats(MakeRenderPass(target, kWidth, kHeight, GaussianSplatsBlend()), constants, mOrder,
                               mRecords);
    }
    std::size_t GetCount() const { return mRecords.size(); }

private:
    template <class Function>
    void ForAll(const Function& function) const {
        zeb::render::cpu::ParallelFor(
            static_cast<std::uint32_t>(mRecords.size() / 256 + 1), 4,
            [&](std::uint32_t begin, std::uint32_t end) { function(begin * 256, end * 256); });
    }

    /// The near face of the asset's box fills the picture.
    void SetCamera(std::uint32_t count) {
        const glm::vec3 size = (mAsset->boundsMax - mAsset->boundsMin) * 500.0F;
        const glm::vec3 center = (mAsset->boundsMax + mAsset->boundsMin) * 500.0F;
        constexpr float kFocal = 1800.0F;
        const float sideways = std::max(size.x * 2.0F / static_cast<float>(kWidth), size.y * 2.0F / kHeight);
        const glm::mat4 place =
            glm::translate(glm::mat4(1.0F), glm::vec3(0.0F, 0.0F, size.z + kFocal * sideways) - center);
        gpu::CalcViewDataConstants& c = mView.mConstants;
        c._MatrixAlign = glm::scale(place, glm::vec3(1000.0F));
        c._MatrixTransform = c._MatrixWorldToObject = c._MatrixCamera = glm::mat4(1.0F);
        c._MatrixMV = c._MatrixAlign;
        c._MatrixP = glm::mat4(0.0F);
        c._MatrixP[0][0] = 2.0F * kFocal / kWidth;
        c._MatrixP[1][1] = -2.0F * kFocal / kHeight;
        c._MatrixP[2][2] = 1.0002F;
        c._MatrixP[2][3] = 1.0F;
        c._MatrixP[3][2] = -200.02F;
        c._MatrixVP = c._MatrixP;
        c._VecScreenParams = {static_cast<float>(kWidth), static_cast<float>(kHeight), 0.0F, 0.0F};
        c._SplatScale = c._SplatOpacityScale = 1.0F;
        c._SHOrder = mAsset->shLevel;
        c._SplatCount = count;
        mDistances.mConstants = {c._MatrixAlign, glm::mat4(1.0F), count, 0};
    }

    std::unique_ptr<GaussianSplatAsset> mAsset;
    CalcViewDataInputs mView;
    CalcDistancesInputs mDistances;
    std::vector<gpu::SplatViewData> mRecords;
    std::vector<std::uint32_t> mKeys, mOrder;
};

void MeasureCapture(benchmark::State& state, const std::filesystem::path& path) {
    Capture capture(path);
    Image bytes(Format::RGBA8Unorm, kWidth, kHeight);
    Image floats(Format::RGBA32Float, kWidth, kHeight);
    const auto clear = [](Image& target) { std::fill(target.Texels().begin(), target.Texels().end(), std::byte{0}); };
    for (auto _ : state) {
        state.counters["view"] = Measure([] {}, [&] { capture.CalcRecords(); }).first;
        state.counters["sort"] = Measure([&] { capture.CalcKeys(); }, [&] { capture.Sort(); }).first;
        const auto draw8 = Measure([&] { clear(bytes); }, [&] { capture.Draw(bytes); });
        const auto draw32 = Measure([&] { clear(floats); }, [&] { capture.Draw(floats); });
        state.counters["draw8"] = draw8.first;
        state.counters["wall8"] = draw8.second;
        state.counters["draw32"] = draw32.first;
        state.counters["ratio32"] = draw32.first / draw8.first;
        state.counters["splats"] = static_cast<double>(capture.GetCount());
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (const char* const folder = std::getenv("NIMBREL_MODELS")) {
        for (const auto& file : std::filesystem::directory_iterator(folder)) {
            if (file.path().extension() != ".ply") continue;
            const std::string name = "Capture/" + file.path().stem().string();
            benchmark::RegisterBenchmark(name.c_str(), MeasureCapture, file.path())->Iterations(1);
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
