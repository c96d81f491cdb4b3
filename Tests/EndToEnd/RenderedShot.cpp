#include "RenderedShot.h"

#include <cstring>
#include <map>

#include "Effect/TestBlob.h"
#include "Nimbrel/CPU/Programs/RegisterCpuPrograms.h"
#include "Nimbrel/GaussianSplatRenderer.h"
#include "PluginBase/Render/Render.h"
#include "Shaders/RegisterShaders.h"

namespace nimbrel::endtoend {
namespace {

using namespace zeb::render;

Device& GetDevice(const std::string& name) {
    static std::map<std::string, zeb::UniquePtr<zeb::render::Render>> renders;
    auto& render = renders[name];
    if (render == nullptr) {
        RegisterShaders();
        RegisterCpuPrograms();
        RenderOptions options;
        options.mRequestedDevice = name;
        render = zeb::render::Render::Create(0, options);
    }
    return render->GetAnyDevice();
}

void SetInstance(TestBlob& blob, const std::string& slot, const reference::Instance& instance) {
    blob.Set("ModelConstants" + slot, 0, instance.mModel);
    blob.Set("NoiseConstants" + slot, 0, instance.mNoise);
    for (std::size_t i = 0; i < gpu::kRampRows * gpu::kCurveSamples; ++i)
        blob.Set("Ramps" + slot, 4 * i, instance.mRamps.empty() ? 1.0F : instance.mRamps[i]);
    for (std::size_t i = 0; i < gpu::kCurveSamples; ++i)
        blob.Set("Gradients" + slot, 16 * i, instance.mGradient.empty() ? glm::vec4(1.0F) : instance.mGradient[i]);
}

/// The frame's models, with slots 1 to 5 in the frame's order, and their settings.
std::vector<ModelGroup> MakeModels(const reference::Frame& frame, TestBlob& blob) {
    std::vector<ModelGroup> models;
    std::uint32_t slot = 0;
    for (const reference::Model& model : frame.mModels) {
        models.push_back({model.mAsset, {}});
        for (const reference::Instance& instance : model.mInstances) {
            SetInstance(blob, std::to_string(++slot), instance);
            models.back().instances.push_back(
                {slot, instance.mLocalMatrix, instance.mModelMatrix, instance.mThirdMatrix});
        }
    }
    blob.Set("CommonCpp", 0, static_cast<std::uint32_t>(frame.mDrawZDepth));
    blob.Set("CommonCpp", 4, frame.mZDepthNear);
    blob.Set("CommonCpp", 8, frame.mZDepthFar);
    return models;
}

zeb::DrawInfo MakeDrawInfo(const reference::Frame& frame) {
    zeb::DrawInfo info;
    info.mFullWidth = info.mOutputWidth = frame.mWidth;
    info.mFullHeight = info.mOutputHeight = frame.mHeight;
    info.mCamera = frame.mCamera;
    info.mCameraType = frame.mOrthographic ? zeb::CameraType::Orthographic : zeb::CameraType::Perspective;
    return info;
}

/// Runs `record` on a copy encoder that fills a buffer of `size` bytes, and gives the bytes.
template <class Record>
std::vector<std::byte> ReadBack(Device& device, std::uint64_t size, const Record& record) {
    const auto target =
        device.CreateBuffer("ReadBack", size, MemoryKind::Readback, BufferState::CopyDestination, BufferUsage::None);
    auto list = device.GetThreadData().mCommandQueue->CreateCommandList("ReadBack");
    const auto encoder = list->CreateCopyCommandEncoder();
    record(*encoder, *target);
    encoder->End();
    device.GetThreadData().mCommandQueue->Execute(std::move(list))->Wait();
    const std::byte* const bytes = target->Map(0, size);
    std::vector<std::byte> result(bytes, bytes + size);
    target->Unmap();
    return result;
}

template <class T>
std::vector<T> ReadBuffer(Device& device, zeb::render::Buffer& buffer, std::uint64_t count) {
    const std::vector<std::byte> bytes =
        ReadBack(device, count * sizeof(T), [&](CopyCommandEncoder& encoder, zeb::render::Buffer& target) {
            encoder.BufferTransitionBarrier(buffer, BufferState::CopySource);
            encoder.CopyBuffer(target, 0, buffer, 0, count * sizeof(T));
        });
    std::vector<T> values(count);
    std::memcpy(values.data(), bytes.data(), bytes.size());
    return values;
}

}  // namespace

RenderedShot RenderInProcess(const Shot& shot, const std::string& name) {
    const reference::Frame frame = MakeReferenceFrame(shot);
    TestBlob blob = TestBlob::MakeEffect();
    const std::vector<ModelGroup> models = MakeModels(frame, blob);
    zeb::DrawInfo info = MakeDrawInfo(frame);
    info.mPackedParameters = &blob.Pack();
    std::uint64_t splats = 0;
    for (const ModelGroup& group : models)
        splats += static_cast<std::uint64_t>(group.asset->splatCount) * group.instances.size();

    Device& device = GetDevice(name);
    TextureDescription description;
    description.mFormat = frame.mFormat;
    description.mWidth = frame.mWidth;
    description.mHeight = frame.mHeight;
    description.mUsage = kTextureUsageRenderTarget | kTextureUsageShaderRead;
    const auto target = device.CreateTexture("Target", description, 0, TextureState::RenderTarget);
    GaussianSplatRenderer renderer(device);
    device.GetThreadData()
        .mCommandQueue->Execute(renderer.Render(device, frame.mProjection, info, models, *target))
        ->Wait();
    const std::uint64_t texels = std::uint64_t{frame.mWidth} * frame.mHeight * GetBytesPerPixel(frame.mFormat);
    return {ReadBuffer<std::uint32_t>(device, renderer.GetSortDistances(), splats),
            ReadBuffer<std::uint32_t>(device, renderer.GetSortKeys(), splats),
            ReadBuffer<gpu::SplatViewData>(device, renderer.GetViewData(), splats),
            ReadBack(device, texels, [&](CopyCommandEncoder& encoder, zeb::render::Buffer& buffer) {
                encoder.TextureTransitionBarrier(*target, TextureState::CopySource);
                encoder.CopyToBufferFromTexture(buffer, *target);
            })};
}

}  // namespace nimbrel::endtoend
