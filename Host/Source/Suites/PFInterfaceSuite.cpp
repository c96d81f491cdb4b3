#include <glm/gtc/matrix_transform.hpp>

#include "NimbrelHost/Commands/Command.h"
#include "Suites/SuiteSupport.h"

namespace nimbrel::host {
namespace {

// An effect reference is good within the command that brought it, and on that thread.
A_Err GetEffectLayer(Host& host, PF_ProgPtr effect, AEGP_LayerH* layer) {
    if (Command::FromReference(effect) == nullptr || layer == nullptr) return A_Err_PARAMETER;
    *layer = ToHandle(host.GetProject().GetEffectLayer());
    return A_Err_NONE;
}

A_Err GetNewEffectForEffect(Host& host, AEGP_PluginID, PF_ProgPtr effect, AEGP_EffectRefH* reference) {
    if (Command::FromReference(effect) == nullptr || reference == nullptr) return A_Err_PARAMETER;
    auto& references = host.GetEffectReferences();
    *reference = reinterpret_cast<AEGP_EffectRefH>(references.Add(std::make_unique<EffectReference>()));
    return A_Err_NONE;
}

A_Err ConvertEffectToCompTime(Host& host, PF_ProgPtr effect, A_long time, A_u_long scale, A_Time* compTime) {
    if (Command::FromReference(effect) == nullptr || compTime == nullptr) return A_Err_PARAMETER;
    const Moment moment = host.GetLayerClock().ToComposition({time, scale});
    *compTime = {moment.mValue, moment.mScale};
    return A_Err_NONE;
}

// No camera is no error: a null layer.
A_Err GetEffectCamera(Host& host, PF_ProgPtr effect, const A_Time* time, AEGP_LayerH* camera) {
    if (Command::FromReference(effect) == nullptr || time == nullptr || camera == nullptr) return A_Err_PARAMETER;
    *camera = ToHandle(host.GetProject().GetCameraLayer());
    return A_Err_NONE;
}

// Without a camera layer, the view that shows the layer as it is.
A_Err GetEffectCameraMatrix(Host& host, PF_ProgPtr effect, const A_Time* time, A_Matrix4* matrix, A_FpLong* distance,
                            A_short* width, A_short* height) {
    if (Command::FromReference(effect) == nullptr || time == nullptr || matrix == nullptr) return A_Err_PARAMETER;
    const Composition& composition = host.GetProject().GetComposition();
    Layer* const layer = host.GetProject().GetCameraLayer();
    const Camera camera = layer != nullptr ? *layer->mCamera : DefaultCamera(composition.mWidth, composition.mHeight);
    *matrix = ToRowMatrix(CameraToWorld(camera, ToSeconds(time)));
    if (distance != nullptr) *distance = Evaluate(camera.mZoom, ToSeconds(time));
    if (width != nullptr) *width = static_cast<A_short>(composition.mWidth);
    if (height != nullptr) *height = static_cast<A_short>(composition.mHeight);
    return A_Err_NONE;
}

A_Err GetCameraType(Host& host, AEGP_LayerH handle, A_u_long* type) {
    const Layer* const layer = ToLayer(host, handle);
    if (layer == nullptr || !layer->mCamera || type == nullptr) return A_Err_PARAMETER;
    *type =
        layer->mCamera->mType == Camera::Type::Perspective ? AEGP_CameraType_PERSPECTIVE : AEGP_CameraType_ORTHOGRAPHIC;
    return A_Err_NONE;
}

A_Err GetDefaultCameraDistance(Host& host, AEGP_CompH comp, A_FpLong* distance) {
    if (!IsComp(host, comp) || distance == nullptr) return A_Err_PARAMETER;
    *distance = host.GetProject().GetComposition().mWidth * 50.0 / 36.0;  // a 50 mm lens on 36 mm film
    return A_Err_NONE;
}

A_Err DisposeEffect(Host& host, AEGP_EffectRefH reference) {
    if (host.GetEffectReferences().Take(reference)) return A_Err_NONE;
    host.GetDiagnostics().Report("dispose: effect reference that is not, or no longer, in use");
    return A_Err_PARAMETER;
}

}  // namespace

void AddPFInterfaceSuite(SuiteRegistry& suites) {
    static const AEGP_PFInterfaceSuite1 interfaceSuite = [] {
        auto table = MakeTable<AEGP_PFInterfaceSuite1>(kAEGPPFInterfaceSuite);
        NIMBREL_SERVE(table, AEGP_GetEffectLayer, GetEffectLayer);
        NIMBREL_SERVE(table, AEGP_GetNewEffectForEffect, GetNewEffectForEffect);
        NIMBREL_SERVE(table, AEGP_ConvertEffectToCompTime, ConvertEffectToCompTime);
        NIMBREL_SERVE(table, AEGP_GetEffectCamera, GetEffectCamera);
        NIMBREL_SERVE(table, AEGP_GetEffectCameraMatrix, GetEffectCameraMatrix);
        return table;
    }();
    static const AEGP_CameraSuite2 cameraSuite = [] {
        auto table = MakeTable<AEGP_CameraSuite2>(kAEGPCameraSuite);
        NIMBREL_SERVE(table, AEGP_GetCameraType, GetCameraType);
        NIMBREL_SERVE(table, AEGP_GetDefaultCameraDistanceToImagePlane, GetDefaultCameraDistance);
        return table;
    }();
    static const AEGP_EffectSuite4 effectSuite = [] {
        auto table = MakeTable<AEGP_EffectSuite4>(kAEGPEffectSuite);
        NIMBREL_SERVE(table, AEGP_DisposeEffect, DisposeEffect);
        return table;
    }();
    suites.Add(kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1, &interfaceSuite);
    suites.Add(kAEGPCameraSuite, kAEGPCameraSuiteVersion2, &cameraSuite);
    suites.Add(kAEGPEffectSuite, kAEGPEffectSuiteVersion4, &effectSuite);
}

}  // namespace nimbrel::host
