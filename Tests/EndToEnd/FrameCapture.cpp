#include "FrameCapture.h"

#include <cstring>
#include <filesystem>
#include <map>

#include "AssetFile.h"
#include "Nimbrel/GaussianSplatRenderer.h"
#include "PluginBase/Parameters/ParameterPacker.h"
#include "PluginBase/Render/Render.h"
#include "Shaders/RegisterShaders.h"
#ifdef NIMBREL_HAS_CPU_PROGRAMS
#include "Nimbrel/CPU/Programs/RegisterCpuPrograms.h"
#endif

namespace nimbrel::endtoend {
namespace {

using namespace zeb::render;

Device& GetDevice(const std::string& name) {
    static std::map<std::string, zeb::UniquePtr<zeb::render::Render>> renders;
    auto& render = renders[name];
    if (render == nullptr) {
        RegisterShaders();
#ifdef NIMBREL_HAS_CPU_PROGRAMS
        RegisterCpuPrograms();
#endif
        RenderOptions options;
        options.mRequestedDevice = name;
        render = zeb::render::Render::Create(0, options);
    }
    return render->GetAnyDevice();
}

glm::mat4 ReadMatrix(const FrameCapture& numbers) {
    glm::mat4 matrix;
    for (int i = 0; i < 16; ++i) matrix[i / 4][i % 4] = numbers.at(static_cast<std::size_t>(i)).get<float>();
    return matrix;
}

std::vector<ModelGroup> ReadModels(const FrameCapture& models) {
    std::vector<ModelGroup> groups;
    for (const auto& model : models) {
        const auto file = std::filesystem::u8path(model.at("file").get<std::string>());
        groups.push_back({&GetAsset(file, model.value("quality", kEffectQuality)), {}});
        for (const auto& instance : model.at("instances"))
            groups.back().instances.push_back({instance.at("slot").get<std::uint32_t>(),
                                               ReadMatrix(instance.at("local")), ReadMatrix(instance.at("model")),
                                               ReadMatrix(instance.at("third"))});
    }
    return groups;
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

CapturedFrame DrawCapture(const FrameCapture& capture, const std::string& name, const RendererPrograms& programs) {
    const std::vector<ModelGroup> models = ReadModels(capture.at("models"));
    const auto& packed = capture.at("parameters").get_binary();
    const zeb::PackedParameters parameters(reinterpret_cast<const std::byte*>(packed.data()), packed.size());
    zeb::DrawInfo info;
    info.mFullWidth = info.mOutputWidth = capture.at("width").get<std::uint32_t>();
    info.mFullHeight = info.mOutputHeight = capture.at("height").get<std::uint32_t>();
    info.mCamera = ReadMatrix(capture.at("camera"));
    info.mCameraType =
        capture.at("orthographic").get<bool>() ? zeb::CameraType::Orthographic : zeb::CameraType::Perspective;
    info.mPackedParameters = &parameters;
    std::uint64_t splats = 0;
    for (const ModelGroup& group : models)
        splats += static_cast<std::uint64_t>(group.asset->splatCount) * group.instances.size();

    Device& device = GetDevice(name);
    TextureDescription description;
    description.mFormat = capture.at("bits").get<int>() == 8 ? Format::RGBA8Unorm : Format::RGBA32Float;
    description.mWidth = info.mFullWidth;
    description.mHeight = info.mFullHeight;
    description.mUsage = kTextureUsageRenderTarget | kTextureUsageShaderRead;
    const auto target = device.CreateTexture("Target", description, 0, TextureState::RenderTarget);
    GaussianSplatRenderer renderer(device, programs);
    device.GetThreadData()
        .mCommandQueue->Execute(renderer.Render(device, ReadMatrix(capture.at("projection")), info, models, *target))
        ->Wait();
    const std::uint64_t texels =
        std::uint64_t{info.mFullWidth} * info.mFullHeight * GetBytesPerPixel(description.mFormat);
    return {ReadBuffer<std::uint32_t>(device, renderer.GetSortDistances(), splats),
            ReadBuffer<std::uint32_t>(device, renderer.GetSortKeys(), splats),
            ReadBuffer<gpu::SplatViewData>(device, renderer.GetViewData(), splats),
            ReadBack(device, texels, [&](CopyCommandEncoder& encoder, zeb::render::Buffer& buffer) {
                encoder.TextureTransitionBarrier(*target, TextureState::CopySource);
                encoder.CopyToBufferFromTexture(buffer, *target);
            })};
}

}  // namespace nimbrel::endtoend
