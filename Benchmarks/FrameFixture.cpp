#include "FrameFixture.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include <glm/ext/matrix_transform.hpp>

#include "Catalogue/CatalogueManager.h"
#include "ModelMaker.h"
#include "Nimbrel/CPU/Programs/RegisterCpuPrograms.h"
#include "Render.h"
#include "Shaders/RegisterShaders.h"

namespace nimbrel::benchmarks {

using namespace zeb::render;

namespace {

constexpr CopyFromTextureToBuffer::Layout kLayout = {kWidth, kHeight, kWidth * 4, kPixels * 4};

void RegisterPrograms() {
    RegisterShaders();
    RegisterCpuPrograms();
}

zeb::UniquePtr<zeb::render::Render> Open(const char* request) {
    RenderOptions options;
    options.mRequestedDevice = request;
    return zeb::render::Render::Create(0, options);
}

std::unique_ptr<GaussianSplatAsset> MakeAsset(std::int64_t splats) {
    const auto path = std::filesystem::temp_directory_path() /
                      ("nimbrel-benchmark-" + std::to_string(std::random_device()()) + ".ply");
    {
        std::ofstream file(path, std::ios::binary);
        maker::WriteModel({.mCount = splats, .mDegree = 3}, file);
    }
    GaussianSplatAssetCreator::Settings settings;
    settings.ApplyQualityLevel();
    auto asset = GaussianSplatAssetCreator::CreateAsset(path.u16string(), settings, true);
    std::filesystem::remove(path);
    return asset;
}

template <class Constants, class Change>
void ChangeStruct(std::vector<std::byte>& blob, const char* name, const Change& change) {
    const zeb::PackedParameters packed(blob.data(), blob.size());
    std::byte* const place = blob.data() + (packed.GetStruct(name).mData - blob.data());
    Constants constants;
    std::memcpy(&constants, place, sizeof constants);
    change(constants);
    std::memcpy(place, &constants, sizeof constants);
}

void TurnOn(Effect effect, gpu::ModelConstants1& model) {
    constexpr std::int32_t kBox = 1;
    const glm::vec4 wide(1e9F);
    if (effect == Effect::CropBox) {
        model.model_crop_shape_enabled = 1;
        model.model_crop_shape_type = kBox;
        model.crop_shape_halfSize = wide;
    }
    if (effect == Effect::Opacity) {
        model.model_effects_splatOpacity_enabled = 1;
        model.model_effects_splatOpacity_shape_type = kBox;
        model.splatOpacity_shape_halfSize = wide;
    }
    if (effect == Effect::Color) {
        model.model_effects_splatColor_enabled = 1;
        model.model_effects_splatColor_shape_type = kBox;
        model.splatColor_shape_halfSize = wide;
    }
}

/// The catalogue's defaults with an effect.
std::vector<std::byte> MakeBlob(Effect effect) {
    static const test::CatalogueManager manager;
    std::vector<std::byte> blob = manager.Pack();
    ChangeStruct<gpu::ModelConstants1>(blob, "ModelConstants1",
                                       [&](gpu::ModelConstants1& model) { TurnOn(effect, model); });
    ChangeStruct<gpu::NoiseConstants1>(blob, "NoiseConstants1", [&](gpu::NoiseConstants1& constants) {
        if (effect != Effect::Noise) return;
        constants.noise_enabled = 1;
        constants.noise_shape_type = 0;
        constants.noise_shape_halfSize = glm::vec4(1e9F);
        constants.noise_amplitude = glm::vec4(20.0F);
        constants.noise_scale = glm::vec4(1.0F);
    });
    return blob;
}

}  // namespace

Device& GetDevice(DeviceName name) {
    static const auto vulkan = [] {
        RegisterPrograms();
        return Open("vulkan");
    }();
    static const auto cpu = Open("cpu");
    return (name == DeviceName::CPU ? cpu : vulkan)->GetAnyDevice();
}

const GaussianSplatAsset& GetAsset(std::int64_t splats) {
    static std::unique_ptr<GaussianSplatAsset> asset;
    if (asset == nullptr || asset->splatCount != splats) {
        asset.reset();
        asset = MakeAsset(splats);
    }
    return *asset;
}

Frame::Frame(const GaussianSplatAsset& asset, const FrameSettings& settings)
    : mDevice(GetDevice(settings.mDevice)),
      mBlob(MakeBlob(settings.mEffect)),
      mPacked(mBlob.data(), mBlob.size()),
      mRenderer(mDevice, settings.mPrograms) {
    mDrawInfo.mPackedParameters = &mPacked;
    mDrawInfo.mFullWidth = mDrawInfo.mOutputWidth = kWidth;
    mDrawInfo.mFullHeight = mDrawInfo.mOutputHeight = kHeight;
    mDrawInfo.mCameraType = zeb::CameraType::Perspective;
    SetCamera(asset, settings.mInside);
    ModelInstance instance;
    instance.modelIndex = 1;
    instance.localMatrix = glm::scale(glm::mat4(1.0F), glm::vec3(1000.0F));
    instance.thirdMatrix = glm::scale(glm::mat4(1.0F), glm::vec3(0.001F));
    mModels.push_back({&asset, {instance}});
    for (const Stage stage : kStages) Run(stage);
}

void Frame::SetCamera(const GaussianSplatAsset& asset, bool inside) {
    const glm::vec3 size = (asset.boundsMax - asset.boundsMin) * 500.0F;
    const glm::vec3 center = (asset.boundsMax + asset.boundsMin) * 500.0F;
    constexpr float kFocalLength = 1800.0F;
    const float distance = size.z + kFocalLength * std::max(size.x * 2.0F / static_cast<float>(kWidth),
                                                            size.y * 2.0F / static_cast<float>(kHeight));
    mDrawInfo.mFocalLength = kFocalLength;
    mDrawInfo.mCamera = glm::translate(glm::mat4(1.0F), glm::vec3(0.0F, 0.0F, inside ? 0.0F : distance) - center);
}

void Frame::Run(Stage stage) {
    Execute(mRenderer.RenderStage(mDevice, stage, GetProjectionMatrix(mDrawInfo), mDrawInfo, mModels, GetTarget()));
}

void Frame::RunAll() {
    auto list = mRenderer.Render(mDevice, GetProjectionMatrix(mDrawInfo), mDrawInfo, mModels, GetTarget());
    Convert(*list);
    Execute(std::move(list));
    ReadBack();
}

void Frame::RunOutput() {
    ThreadData& thread = mDevice.GetThreadData();
    auto list = thread.mCommandQueue->CreateCommandList("Output");
    list->SetDescriptorHeaps(*thread.mShaderResourceHeap, thread.mSamplerHeap.get());
    Convert(*list);
    Execute(std::move(list));
    ReadBack();
}

void Frame::Execute(zeb::UniquePtr<CommandList> list) {
    mDevice.GetThreadData().mCommandQueue->Execute(std::move(list))->Wait();
}

void Frame::Convert(CommandList& list) {
    zeb::PluginBaseCache& cache = GetCache();
    Texture& output = cache.GetOutputTarget(Format::RGBA8Unorm, kWidth, kHeight);
    mDevice.CreateRenderTargetView(cache.GetConversionRange(), 0, output);
    cache.GetConversion(true).Record(list, GetTarget(), output, cache.GetConversionRange(), kWidth, kHeight);
    cache.GetCopyUtil().SetLayout(kLayout);
    cache.GetCopyUtil().Copy(list, kLayout, zeb::PixelChannels::ARGB, zeb::ChannelFormat::U8, 0, 0, output, 0, 0,
                             kWidth, kHeight, true, TextureState::RenderTarget);
}

void Frame::ReadBack() {
    auto& copy = GetCache().GetCopyUtil();
    auto list = mDevice.GetThreadData().mCommandQueue->CreateCommandList("ReadBack");
    const auto encoder = list->CreateCopyCommandEncoder();
    encoder->BufferTransitionBarrier(copy.GetReadWriteBuffer(), BufferState::CopySource);
    encoder->CopyBuffer(copy.GetReadbackBuffer(), 0, copy.GetReadWriteBuffer(), 0, kLayout.mTotalSize);
    encoder->End();
    Execute(std::move(list));
    std::memcpy(mPixels.data(), copy.GetReadbackBuffer().Map(0, kLayout.mTotalSize), mPixels.size());
    copy.GetReadbackBuffer().Unmap();
}

}  // namespace nimbrel::benchmarks
