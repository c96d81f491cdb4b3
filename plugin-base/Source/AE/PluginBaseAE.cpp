#include "PluginBase/AE/PluginBaseAE.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include <fmt/format.h>
#include <glm/gtc/matrix_inverse.hpp>
#include <nlohmann/json.hpp>

#include "CheckAE.h"
#include "PluginBase/AE/AEGPObjects.h"
#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/EventAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/ThreadContextAE.h"

namespace zeb {
namespace {

// 'PrMr': a host without the project suites.
constexpr A_long kPremiere = 0x50724d72;

// Whether a frame was asked for; kept for debuggers, nothing reads it.
std::atomic<bool> sRedrawRequested{false};

/// World to camera from the host's camera-to-world matrix of row vectors. A row-vector matrix is the same
/// memory as a column-vector one by columns, and so is its inverse.
glm::mat4 InvertCamera(const A_Matrix4& cameraToWorld) {
    glm::dmat4 matrix;
    for (glm::length_t row = 0; row < 4; ++row) {
        for (glm::length_t column = 0; column < 4; ++column) matrix[row][column] = cameraToWorld.mat[row][column];
    }
    const double determinant = glm::determinant(matrix);
    // A parent of scale 0, say: the camera sees nothing.
    if (!(std::abs(determinant) > 0.0) || !std::isfinite(determinant)) return glm::mat4(0.0F);
    return glm::mat4(glm::inverse(matrix));
}

CameraType ToCameraType(AEGP_CameraType type) {
    switch (type) {
        case AEGP_CameraType_PERSPECTIVE: return CameraType::Perspective;
        case AEGP_CameraType_ORTHOGRAPHIC: return CameraType::Orthographic;
        default: return CameraType::None;
    }
}

CameraInfo MakeDefaultCamera(const PF_InData& inData) {
    CameraInfo info;
    const auto width = static_cast<float>(inData.width);
    info.mFocalLength = width;
    info.mWorldToCamera[3] = glm::vec4(-width / 2.0F, -static_cast<float>(inData.height) / 2.0F, width, 1.0F);
    return info;
}

}  // namespace

PluginBaseAE::PluginBaseAE() = default;

PluginBaseAE::~PluginBaseAE() {
    // The devices may report until they are gone.
    mRender.reset();
    ReleaseDeviceSuite();
}

void PluginBaseAE::Init() {
    PluginBaseCommon::Init();
    if (InData()->appl_id != kPremiere) {
        ZEB_CHECK_TEXT(AEGPSuites().UtilitySuite3()->AEGP_RegisterWithAEGP(nullptr, GetPluginName(), &mPluginAEID),
                       "Failed to call zeb::AEGPSuites().UtilitySuite3()->AEGP_RegisterWithAEGP( nullptr, "
                       "GetPluginName(), &mPluginAEID)");
    }
    AEGP::SetPluginId(mPluginAEID);
    PF_OutData* outData = OutData();
    outData->my_version = MakeVersionWord(IsBeta());
    outData->out_flags = GetOutFlags();
    outData->out_flags2 = GetOutFlags2();
    render::RenderOptions options = GetRenderOptions();
    ReadDeviceSuite(options);
    mRender = std::make_unique<render::DeviceKeeper>([options]() mutable {
        auto made = render::Render::Create(0, options);
        options.mReportDevice = nullptr;  // the host is told once: of the device that it began with
        return made;
    });
}

void PluginBaseAE::Deinit() {
    mRender.reset();
    ReleaseDeviceSuite();
    PluginBaseCommon::Deinit();
}

void PluginBaseAE::ReadDeviceSuite(render::RenderOptions& options) {
    SPBasicSuite* basic = AEGPSuites().GetBasicSuite();
    const void* acquired = nullptr;
    if (basic == nullptr || basic->AcquireSuite(kNimbrelDeviceSuite, kNimbrelDeviceSuiteVersion2, &acquired) != 0 ||
        acquired == nullptr)
        return;
    const auto* suite = static_cast<const NimbrelDeviceSuite2*>(acquired);
    mDeviceSuite = suite;
    mDeviceSuiteHost = basic;

    const char* request = nullptr;
    ZEB_CHECK(suite->GetRequestedDevice(&request));
    if (request != nullptr) options.mRequestedDevice = request;
    std::uint8_t validation = 0;
    ZEB_CHECK(suite->GetValidationRequested(&validation));
    options.mValidation = validation != 0;
    std::int32_t processors = 0;
    ZEB_CHECK(suite->GetProcessorLimit(&processors));
    options.mProcessorLimit = static_cast<std::uint32_t>(std::max(processors, 0));
    options.mReportDevice = [suite](const render::DeviceCandidate& candidate) {
        ZEB_CHECK(suite->ReportDevice(candidate.mIndex, candidate.mName.c_str(), candidate.mKind.c_str(),
                                      candidate.mChosen, candidate.mReason.c_str()));
    };
    options.mReportValidation = [suite](const std::string& text) {
        if (suite->ReportValidationMessage(text.c_str()) != 0) LogFailure(text);
    };
}

void PluginBaseAE::ReleaseDeviceSuite() noexcept {
    if (mDeviceSuite == nullptr) return;
    mDeviceSuite = nullptr;
    if (mDeviceSuiteHost->ReleaseSuite(kNimbrelDeviceSuite, kNimbrelDeviceSuiteVersion2) != 0)
        ReportReleaseFailure(kNimbrelDeviceSuite);
}

void PluginBaseAE::GetRenderInfo(std::string& text) const {
    if (mRender) text += mRender->GetDescription();
}

CameraInfo PluginBaseAE::GetCamera() {
    const PF_InData& inData = *InData();
    const AEGP::Effect effect = AEGP::Suites().GetEffect();
    const A_Time time = effect.ConvertEffectToCompTime(inData.current_time, inData.time_scale);
    const auto camera = effect.FindEffectCamera(time);
    if (!camera) return MakeDefaultCamera(inData);

    const AEGP::Layer layer = camera->GetLayer();
    CameraInfo info;
    info.mFocalLength = static_cast<float>(
        layer.GetLayerStreamValue(AEGP_LayerStream_ZOOM, AEGP_LTimeMode_CompTime, time, false).one_d);
    info.mType = ToCameraType(camera->GetCameraType());
    info.mWorldToCamera = InvertCamera(layer.GetLayerToWorldXform(time));
    return info;
}

nlohmann::json PluginBaseAE::GetParameterValues(std::int32_t groupIndex) {
    const ParametersManagerBase& manager = GetParametersManager();
    return manager.SaveValues(ParameterCurrentValueGetterAE(manager, Params()), groupIndex);
}

void PluginBaseAE::ResetValues(std::int32_t groupIndex) {
    const ParametersManagerBase& manager = GetParametersManager();
    ParameterValueSetterAE setter(manager, Params(), *this);
    manager.ResetValues(setter, groupIndex);
}

void PluginBaseAE::LoadValues(const nlohmann::json& values) {
    const ParametersManagerBase& manager = GetParametersManager();
    ParameterValueSetterAE setter(manager, Params(), *this);
    manager.LoadValues(setter, values);
}

void PluginBaseAE::StartUndoGroup(const std::string& name) { AEGP::Suites().StartUndoGroup(name); }
void PluginBaseAE::EndUndoGroup() { AEGP::Suites().EndUndoGroup(); }

void PluginBaseAE::ProgressUpdate(std::int32_t current, std::int32_t total) {
    PF_InData* inData = InData();
    ZEB_CHECK_TEXT(inData->inter.progress(inData->effect_ref, current, total),
                   "Failed to call PF_PROGRESS(zeb::InData(), current, total)");
}

void PluginBaseAE::RedrawRequest() { sRedrawRequested = true; }

void PluginBaseAE::GlobalSetup() { Init(); }
void PluginBaseAE::GlobalSetdown() { Deinit(); }
void PluginBaseAE::QueryDynamicFlags() {}

void PluginBaseAE::ParamsSetup() {
    const ParametersManagerBase& manager = GetParametersManager();
    const UniquePtr<ParameterInitialProperties> properties = manager.MakeInitialProperties();
    ParameterDefinerAE definer(manager, *properties, mDefinedTexts);
    manager.DefineParameters(definer);
}

void PluginBaseAE::UserChangedParam(PF_ParamDef* params[], PF_UserChangedParamExtra* extra) {
    ParametersManagerBase& manager = GetParametersManager();
    const std::int32_t index = manager.FindIndexByParameterIndex(extra->param_index);
    if (index < 0) return;
    NeedFromHost(params, "parameters");
    const ParameterCurrentValueGetterAE getter(manager, params);
    ParameterValueSetterAE setter(manager, params, *this);
    manager.OnParameterChanged(getter, setter, index);
}

void PluginBaseAE::UpdateParamsUI(PF_ParamDef* params[]) {
    const ParametersManagerBase& manager = GetParametersManager();
    ParameterPropertiesAE properties(manager, NeedFromHost(params, "parameters"));
    manager.UpdateUI(ParameterCurrentValueGetterAE(manager, params), properties);
    if (properties.IsChanged()) OutData()->out_flags |= PF_OutFlag_FORCE_RERENDER;
}

void PluginBaseAE::Event(PF_ParamDef* params[], PF_EventExtra* extra) { HandleEvent(*this, params, *extra); }

void PluginBaseAE::ArbitraryCallback(PF_ArbParamsExtra* extra) { HandleArbitraryCallback(*extra); }

}  // namespace zeb
