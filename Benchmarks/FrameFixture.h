#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <vector>

#include "GaussianSplatAssetCreator.h"
#include "Nimbrel/GaussianSplatRenderer.h"
#include "PluginBase/Render/Render.h"
#include "PluginBaseCache.h"

/// One frame of the procedural model, degree 3, at 1920 by 1080, that can be run stage by stage on either device.
namespace nimbrel::benchmarks {

inline constexpr std::uint32_t kWidth = 1920;
inline constexpr std::uint32_t kHeight = 1080;
inline constexpr std::uint64_t kPixels = std::uint64_t{kWidth} * kHeight;

/// What `RenderOptions::mRequestedDevice` asks for.
enum class DeviceName : std::int64_t { Vulkan, CPU };

/// Thread: any, but for the first call.
zeb::render::Device& GetDevice(DeviceName name);

/// The procedural model; the last one is kept.
const GaussianSplatAsset& GetAsset(std::int64_t splats);

/// Best times of a piece of work, in milliseconds.
struct Best {
    double mWall = 1e30;
    double mCpu = 1e30;

    template <class Work>
    void Measure(const Work& work) {
        const auto wall = std::chrono::steady_clock::now();
        const std::clock_t cpu = std::clock();
        work();
        mCpu = std::min(mCpu, static_cast<double>(std::clock() - cpu) * 1e3 / CLOCKS_PER_SEC);
        const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - wall;
        mWall = std::min(mWall, passed.count());
    }
};

/// One that is on, in a box over the whole model.
enum class Effect { None, Noise, CropBox, Opacity, Color };

struct FrameSettings {
    DeviceName mDevice = DeviceName::Vulkan;
    Effect mEffect = Effect::None;
    bool mInside = false;  ///< the camera stands in the middle of the model, else the model just fills the frame
    RendererPrograms mPrograms{};
};

/// A renderer with all stages run once. Used by the thread that made it.
class Frame {
public:
    using Stage = GaussianSplatRenderer::Stage;
    static constexpr Stage kStages[] = {Stage::Upload, Stage::Distances, Stage::Sort, Stage::ViewData, Stage::Draw};

    Frame(const GaussianSplatAsset& asset, const FrameSettings& settings);

    void Run(Stage stage);
    /// All of the picture and its way to 8-bit pixels of the host.
    void RunAll();
    /// The picture's way alone.
    void RunOutput();

    const std::vector<std::byte>& GetPixels() const { return mPixels; }

private:
    void SetCamera(const GaussianSplatAsset& asset, bool inside);
    zeb::PluginBaseCache& GetCache() { return zeb::PluginBaseCache::Get(mDevice); }
    zeb::render::Texture& GetTarget() {
        return GetCache().GetPluginTarget(zeb::render::Format::RGBA8Unorm, kWidth, kHeight);
    }
    void Execute(zeb::UniquePtr<zeb::render::CommandList> list);
    void Convert(zeb::render::CommandList& list);
    void ReadBack();

    zeb::render::Device& mDevice;
    std::vector<std::byte> mBlob;
    zeb::PackedParameters mPacked;
    zeb::DrawInfo mDrawInfo;
    std::vector<ModelGroup> mModels;
    std::vector<std::byte> mPixels = std::vector<std::byte>(kPixels * 4);
    GaussianSplatRenderer mRenderer;
};

}  // namespace nimbrel::benchmarks
