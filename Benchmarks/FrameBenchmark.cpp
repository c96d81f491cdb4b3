// One frame of the procedural model at 1920 by 1080 on the default device, stage by stage: each stage is recorded in
// a command list of its own, executed and waited for. Its floor, measured beside it, is a memcpy that reads and writes
// as many bytes as the stage has to.
//
// Times are the best of the iterations in milliseconds: `wall`; `cpu`, processor time of all threads, which other
// programs disturb less; `floor` and the `ratio` of cpu to it; `against`, cpu to that of another run beside it: of the
// sort to the view data, of the kernels to those without the effects' code or without noise.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>

#include <benchmark/benchmark.h>
#include <glm/ext/matrix_transform.hpp>

#include "Catalogue/CatalogueManager.h"
#include "GaussianSplatAssetCreator.h"
#include "ModelMaker.h"
#include "Nimbrel/GaussianSplatRenderer.h"
#include "PluginBase/Render/Render.h"
#include "PluginBaseCache.h"
#include "Render.h"
#include "Shaders/RegisterShaders.h"

namespace nimbrel::embedded {
extern const unsigned char CSCalcDistancesNoEffects[];
extern const std::size_t CSCalcDistancesNoEffectsSize;
extern const unsigned char CSCalcViewDataNoEffects[];
extern const std::size_t CSCalcViewDataNoEffectsSize;
}  // namespace nimbrel::embedded

namespace {

using Stage = GaussianSplatRenderer::Stage;
constexpr std::uint32_t kWidth = 1920;
constexpr std::uint32_t kHeight = 1080;
constexpr std::uint64_t kPixels = std::uint64_t{kWidth} * kHeight;
constexpr Stage kStages[] = {Stage::Upload, Stage::Distances, Stage::Sort, Stage::ViewData, Stage::Draw};

/// Best times of a piece of work, in milliseconds.
struct Best {
    double mWall = 1e30;
    double mCpu = 1e30;

    void Measure(const std::function<void()>& work) {
        const auto wall = std::chrono::steady_clock::now();
        const std::clock_t cpu = std::clock();
        work();
        mCpu = std::min(mCpu, static_cast<double>(std::clock() - cpu) * 1e3 / CLOCKS_PER_SEC);
        const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - wall;
        mWall = std::min(mWall, passed.count());
    }
};

zeb::render::Device& GetDevice() {
    static const auto render = [] {
        const auto add = [](const char* name, std::size_t size, const unsigned char* data) {
            zeb::render::EmbeddedShaderData program;
            program.mStages[2] = {size, data};
            zeb::render::Render::SetEmbeddedShaderData(name, program);
        };
        nimbrel::RegisterShaders();
        add("CSCalcDistances.NoEffects", nimbrel::embedded::CSCalcDistancesNoEffectsSize,
            nimbrel::embedded::CSCalcDistancesNoEffects);
        add("CSCalcViewData.NoEffects", nimbrel::embedded::CSCalcViewDataNoEffectsSize,
            nimbrel::embedded::CSCalcViewDataNoEffects);
        return zeb::render::Render::Create(0, {});
    }();
    return render->GetAnyDevice();
}

std::unique_ptr<GaussianSplatAsset> MakeAsset(std::int64_t splats) {
    const auto path = std::filesystem::temp_directory_path() /
                      ("nimbrel-benchmark-" + std::to_string(std::random_device()()) + ".ply");
    {
        std::ofstream file(path, std::ios::binary);
        nimbrel::maker::WriteModel({.mCount = splats, .mDegree = 3}, file);
    }
    GaussianSplatAssetCreator::Settings settings;
    settings.ApplyQualityLevel();
    auto asset = GaussianSplatAssetCreator::CreateAsset(path.u16string(), settings, true);
    std::filesystem::remove(path);
    return asset;
}

const GaussianSplatAsset& GetAsset(std::int64_t splats) {
    static std::unique_ptr<GaussianSplatAsset> asset;
    if (asset == nullptr || asset->splatCount != splats) asset = MakeAsset(splats);
    return *asset;
}

/// The catalogue's defaults; with `noise`, noise over the whole model.
std::vector<std::byte> MakeBlob(bool noise) {
    static const test::CatalogueManager manager;
    std::vector<std::byte> blob = manager.Pack();
    if (!noise) return blob;
    const zeb::PackedParameters packed(blob.data(), blob.size());
    const std::byte* const place = packed.GetStruct("NoiseConstants1").mData;
    nimbrel::gpu::NoiseConstants1 constants;
    std::memcpy(&constants, place, sizeof(constants));
    constants.noise_enabled = 1;
    constants.noise_shape_type = 0;
    constants.noise_shape_halfSize = glm::vec4(1e9F);
    constants.noise_amplitude = glm::vec4(20.0F);
    constants.noise_scale = glm::vec4(1.0F);
    std::memcpy(blob.data() + (place - blob.data()), &constants, sizeof(constants));
    return blob;
}

/// A renderer with a frame that the model just fills; all its stages have run once.
class Frame {
public:
    Frame(const GaussianSplatAsset& asset, bool noise, const RendererPrograms& programs)
        : mBlob(MakeBlob(noise)), mPacked(mBlob.data(), mBlob.size()), mRenderer(GetDevice(), programs) {
        const glm::vec3 size = (asset.boundsMax - asset.boundsMin) * 500.0F;
        const glm::vec3 center = (asset.boundsMax + asset.boundsMin) * 500.0F;
        constexpr float kFocalLength = 1800.0F;
        const float distance = size.z + kFocalLength * std::max(size.x * 2.0F / static_cast<float>(kWidth),
                                                                size.y * 2.0F / static_cast<float>(kHeight));
        mDrawInfo.mPackedParameters = &mPacked;
        mDrawInfo.mFullWidth = mDrawInfo.mOutputWidth = kWidth;
        mDrawInfo.mFullHeight = mDrawInfo.mOutputHeight = kHeight;
        mDrawInfo.mFocalLength = kFocalLength;
        mDrawInfo.mCameraType = zeb::CameraType::Perspective;
        mDrawInfo.mCamera = glm::translate(glm::mat4(1.0F), glm::vec3(0.0F, 0.0F, distance) - center);
        ModelInstance instance;
        instance.modelIndex = 1;
        instance.localMatrix = glm::scale(glm::mat4(1.0F), glm::vec3(1000.0F));
        instance.thirdMatrix = glm::scale(glm::mat4(1.0F), glm::vec3(0.001F));
        mModels.push_back({&asset, {instance}});
        for (const Stage stage : kStages) Run(stage);
    }

    void Run(Stage stage) {
        Execute(
            mRenderer.RenderStage(GetDevice(), stage, GetProjectionMatrix(mDrawInfo), mDrawInfo, mModels, GetTarget()));
    }
    /// All of the picture and its way to 8-bit pixels of the host.
    void RunAll() {
        auto list = mRenderer.Render(GetDevice(), GetProjectionMatrix(mDrawInfo), mDrawInfo, mModels, GetTarget());
        Convert(*list);
        Execute(std::move(list));
        ReadBack();
    }
    void RunOutput() {
        zeb::render::ThreadData& thread = GetDevice().GetThreadData();
        auto list = thread.mCommandQueue->CreateCommandList("Output");
        list->SetDescriptorHeaps(*thread.mShaderResourceHeap, thread.mSamplerHeap.get());
        Convert(*list);
        Execute(std::move(list));
        ReadBack();
    }

private:
    static constexpr zeb::render::CopyFromTextureToBuffer::Layout kLayout = {kWidth, kHeight, kWidth * 4, kPixels * 4};

    static zeb::PluginBaseCache& GetCache() { return zeb::PluginBaseCache::Get(GetDevice()); }
    static zeb::render::Texture& GetTarget() {
        return GetCache().GetPluginTarget(zeb::render::Format::RGBA8Unorm, kWidth, kHeight);
    }
    static void Execute(zeb::UniquePtr<zeb::render::CommandList> list) {
        GetDevice().GetThreadData().mCommandQueue->Execute(std::move(list))->Wait();
    }
    static void Convert(zeb::render::CommandList& list) {
        zeb::PluginBaseCache& cache = GetCache();
        zeb::render::Texture& output = cache.GetOutputTarget(zeb::render::Format::RGBA8Unorm, kWidth, kHeight);
        GetDevice().CreateRenderTargetView(cache.GetConversionRange(), 0, output);
        cache.GetConversion(true).Record(list, GetTarget(), output, cache.GetConversionRange(), kWidth, kHeight);
        cache.GetCopyUtil().SetLayout(kLayout);
        cache.GetCopyUtil().Copy(list, kLayout, zeb::PixelChannels::ARGB, zeb::ChannelFormat::U8, 0, 0, output, 0, 0,
                                 kWidth, kHeight, true, zeb::render::TextureState::RenderTarget);
    }
    void ReadBack() {
        auto& copy = GetCache().GetCopyUtil();
        auto list = GetDevice().GetThreadData().mCommandQueue->CreateCommandList("ReadBack");
        const auto encoder = list->CreateCopyCommandEncoder();
        encoder->BufferTransitionBarrier(copy.GetReadWriteBuffer(), zeb::render::BufferState::CopySource);
        encoder->CopyBuffer(copy.GetReadbackBuffer(), 0, copy.GetReadWriteBuffer(), 0, kLayout.mTotalSize);
        encoder->End();
        Execute(std::move(list));
        std::memcpy(mPixels.data(), copy.GetReadbackBuffer().Map(0, kLayout.mTotalSize), mPixels.size());
        copy.GetReadbackBuffer().Unmap();
    }

    std::vector<std::byte> mBlob;
    zeb::PackedParameters mPacked;
    zeb::DrawInfo mDrawInfo;
    std::vector<ModelGroup> mModels;
    std::vector<std::byte> mPixels = std::vector<std::byte>(kPixels * 4);
    GaussianSplatRenderer mRenderer;
};

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

void MeasureStage(benchmark::State& state, Stage stage, const RendererPrograms& programs) {
    const GaussianSplatAsset& asset = GetAsset(state.range(0));
    Frame frame(asset, false, programs);
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
}

void MeasureWhole(benchmark::State& state) {
    const GaussianSplatAsset& asset = GetAsset(state.range(0));
    Frame frame(asset, false, {});
    Best best;
    for (auto _ : state) best.Measure([&] { frame.RunAll(); });
    std::uint64_t bytes = 4 * 4 * kPixels;
    for (const Stage stage : kStages) bytes += GetCopiedBytes(asset, stage);
    Report(state, best, bytes);
}

void MeasureOutput(benchmark::State& state) {
    Frame frame(GetAsset(100000), false, {});
    Best best;
    for (auto _ : state) best.Measure([&] { frame.RunOutput(); });
    Report(state, best, 4 * 4 * kPixels);
}

/// A kernel beside one that does less: the two in turn.
void Compare(benchmark::State& state, Stage stage, bool noise, const RendererPrograms& less) {
    const GaussianSplatAsset& asset = GetAsset(500000);
    Frame frame(asset, noise, {});
    Frame other(asset, false, less);
    Best best, base;
    for (auto _ : state) {
        base.Measure([&] { other.Run(stage); });
        best.Measure([&] { frame.Run(stage); });
    }
    Report(state, best, GetCopiedBytes(asset, stage));
    state.counters["against"] = best.mCpu / base.mCpu;
}

void Register() {
    const auto add = [](const char* name, auto... arguments) {
        return benchmark::RegisterBenchmark(name, arguments...)->Unit(benchmark::kMillisecond)->Iterations(7);
    };
    const RendererPrograms usual;
    const RendererPrograms plainSort{.mSort = ParallelSort::Form::Plain};
    const RendererPrograms noEffects{"CSCalcDistances.NoEffects", "CSCalcViewData.NoEffects"};
    for (const std::int64_t splats : {100000, 500000, 2000000}) {
        add("Upload", MeasureStage, Stage::Upload, usual)->Arg(splats);
        add("Distances", MeasureStage, Stage::Distances, usual)->Arg(splats);
        add("Sort", MeasureStage, Stage::Sort, usual)->Arg(splats);
        add("SortPlainForm", MeasureStage, Stage::Sort, plainSort)->Arg(splats);
        add("ViewData", MeasureStage, Stage::ViewData, usual)->Arg(splats);
        add("Draw", MeasureStage, Stage::Draw, usual)->Arg(splats);
        add("WholeFrame", MeasureWhole)->Arg(splats);
    }
    add("ConversionAndReadBack", MeasureOutput);
    add("DistancesEffectsOff", Compare, Stage::Distances, false, noEffects);
    add("ViewDataEffectsOff", Compare, Stage::ViewData, false, noEffects);
    add("DistancesNoise", Compare, Stage::Distances, true, usual);
    add("ViewDataNoise", Compare, Stage::ViewData, true, usual);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::AddCustomContext("device", GetDevice().GetName());
    Register();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
