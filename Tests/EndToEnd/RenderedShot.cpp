#include "RenderedShot.h"

#include "Effect/TestBlob.h"

namespace nimbrel::endtoend {
namespace {

void SetInstance(TestBlob& blob, const std::string& slot, const reference::Instance& instance) {
    blob.Set("ModelConstants" + slot, 0, instance.mModel);
    blob.Set("NoiseConstants" + slot, 0, instance.mNoise);
    for (std::size_t i = 0; i < gpu::kRampRows * gpu::kCurveSamples; ++i)
        blob.Set("Ramps" + slot, 4 * i, instance.mRamps.empty() ? 1.0F : instance.mRamps[i]);
    for (std::size_t i = 0; i < gpu::kCurveSamples; ++i)
        blob.Set("Gradients" + slot, 16 * i, instance.mGradient.empty() ? glm::vec4(1.0F) : instance.mGradient[i]);
    const reference::GizmoSwitches& on = instance.mGizmos;
    const std::pair<std::size_t, bool> previews[] = {{0, on.mPivot},    {48, on.mCrop},  {52, on.mColor},
                                                     {56, on.mOpacity}, {60, on.mScale}, {64, on.mDisplacement},
                                                     {68, on.mNoise}};
    for (const auto& [offset, isOn] : previews) blob.Set("ModelCpp" + slot, offset, isOn ? 1 : 0);
}

host::Json ToJson(const glm::mat4& matrix) {
    host::Json numbers;
    for (int i = 0; i < 16; ++i) numbers.push_back(matrix[i / 4][i % 4]);
    return numbers;
}

}  // namespace

FrameCapture MakeCapture(const Shot& shot) {
    const reference::Frame frame = MakeReferenceFrame(shot);
    TestBlob blob = TestBlob::MakeEffect();
    blob.Set("CommonCpp", 0, static_cast<std::uint32_t>(frame.mDrawZDepth));
    blob.Set("CommonCpp", 4, frame.mZDepthNear);
    blob.Set("CommonCpp", 8, frame.mZDepthFar);
    host::Json models;
    // Slots 1 to 5 in the frame's order.
    std::uint32_t slot = 0;
    const std::vector<std::filesystem::path> files = GetFiles(shot);
    for (std::size_t i = 0; i < files.size(); ++i) {
        host::Json instances;
        for (const reference::Instance& instance : frame.mModels[i].mInstances) {
            SetInstance(blob, std::to_string(++slot), instance);
            instances.push_back({{"slot", slot},
                                 {"local", ToJson(instance.mLocalMatrix)},
                                 {"model", ToJson(instance.mModelMatrix)},
                                 {"third", ToJson(instance.mThirdMatrix)}});
        }
        models.push_back({{"file", files[i].string()}, {"instances", instances}});
    }
    const std::vector<std::byte>& bytes = blob.PackBytes();
    const auto* const first = reinterpret_cast<const std::uint8_t*>(bytes.data());
    return {{"width", frame.mWidth},
            {"height", frame.mHeight},
            {"bits", frame.mFormat == zeb::render::Format::RGBA8Unorm ? 8 : 32},
            {"orthographic", frame.mOrthographic},
            {"camera", ToJson(frame.mCamera)},
            {"projection", ToJson(frame.mProjection)},
            {"parameters", host::Json::binary({first, first + bytes.size()})},
            {"models", models}};
}

CapturedFrame RenderInProcess(const Shot& shot, const std::string& device, const RendererPrograms& programs) {
    return DrawCapture(MakeCapture(shot), device, programs);
}

}  // namespace nimbrel::endtoend
