#include "Suites/StreamValues.h"

#include "NimbrelHost/Parameters/Parameter.h"
#include "Suites/SuiteSupport.h"

namespace nimbrel::host {

bool ReadLayerStream(const Layer& layer, int stream, double seconds, AEGP_StreamVal2& value, A_long& type) {
    const auto vector = [&](const glm::dvec3& from) {
        value.three_d = {from.x, from.y, from.z};
        type = stream == AEGP_LayerStream_POSITION || stream == AEGP_LayerStream_ANCHORPOINT
                   ? AEGP_StreamType_ThreeD_SPATIAL
                   : AEGP_StreamType_ThreeD;
        return true;
    };
    const auto number = [&](double from) {
        value.one_d = from;
        type = AEGP_StreamType_OneD;
        return true;
    };
    const Camera* const camera = layer.mCamera ? &*layer.mCamera : nullptr;
    const Pose pose = layer.GetPose(seconds);
    // A flat layer turns about z alone.
    const bool is3D = layer.Is3D();
    switch (stream) {
        case AEGP_LayerStream_ZOOM: return camera != nullptr && number(Evaluate(camera->mZoom, seconds));
        case AEGP_LayerStream_POSITION: return vector(pose.mPosition);
        case AEGP_LayerStream_SCALE: return camera == nullptr && vector(pose.mScale);
        case AEGP_LayerStream_ANCHORPOINT:
            if (camera == nullptr) return vector(glm::dvec3(0));
            return camera->mPointOfInterest && vector(Evaluate(*camera->mPointOfInterest, seconds));
        case AEGP_LayerStream_ORIENTATION: return is3D && vector(pose.mOrientation);
        case AEGP_LayerStream_ROTATE_X: return is3D && number(pose.mRotation.x);
        case AEGP_LayerStream_ROTATE_Y: return is3D && number(pose.mRotation.y);
        case AEGP_LayerStream_ROTATE_Z: return number(pose.mRotation.z);
        default: return false;
    }
}

A_Err WriteLayerStream(Layer& layer, int stream, const AEGP_StreamVal2& value) {
    if (!layer.mNull) return A_Err_PARAMETER;
    NullTransform& transform = *layer.mNull;
    const glm::dvec3 vector(value.three_d.x, value.three_d.y, value.three_d.z);
    const auto write = [](Animation<glm::dvec3>& animation, auto set) -> A_Err {
        if (!animation.IsConstant()) return A_Err_PARAMETER;
        set(animation.mKeys.front().mValue);
        return A_Err_NONE;
    };
    const auto whole = [&](glm::dvec3& target) { target = vector; };
    switch (stream) {
        case AEGP_LayerStream_POSITION: return write(transform.mPosition, whole);
        case AEGP_LayerStream_SCALE: return write(transform.mScale, whole);
        case AEGP_LayerStream_ORIENTATION: return write(transform.mOrientation, whole);
        case AEGP_LayerStream_ROTATE_X:
            return write(transform.mRotation, [&](glm::dvec3& target) { target.x = value.one_d; });
        case AEGP_LayerStream_ROTATE_Y:
            return write(transform.mRotation, [&](glm::dvec3& target) { target.y = value.one_d; });
        case AEGP_LayerStream_ROTATE_Z:
            return write(transform.mRotation, [&](glm::dvec3& target) { target.z = value.one_d; });
        default: return A_Err_PARAMETER;
    }
}

A_long GetParameterStreamType(const Parameter& parameter) {
    switch (parameter.GetType()) {
        case PF_Param_LAYER: return AEGP_StreamType_LAYER_ID;
        case PF_Param_COLOR: return AEGP_StreamType_COLOR;
        case PF_Param_POINT_3D: return AEGP_StreamType_ThreeD_SPATIAL;
        case PF_Param_ARBITRARY_DATA: return AEGP_StreamType_ARB;
        default: return parameter.HasValue() ? AEGP_StreamType_OneD : AEGP_StreamType_NO_DATA;
    }
}

A_Err ReadParameterStream(Host& host, const Parameter& parameter, double seconds, bool preExpression,
                          AEGP_StreamVal2& value) {
    const glm::dvec3 numbers =
        preExpression ? EvaluateNumbers(parameter, seconds) : host.EvaluateParameter(parameter, seconds);
    switch (GetParameterStreamType(parameter)) {
        case AEGP_StreamType_LAYER_ID: value.layer_id = static_cast<AEGP_LayerIDVal>(numbers.x); return A_Err_NONE;
        case AEGP_StreamType_COLOR: value.color = {1, numbers.x, numbers.y, numbers.z}; return A_Err_NONE;
        case AEGP_StreamType_ThreeD_SPATIAL: value.three_d = {numbers.x, numbers.y, numbers.z}; return A_Err_NONE;
        case AEGP_StreamType_OneD:
            value.one_d = numbers.x + (parameter.GetType() == PF_Param_POPUP ? 1 : 0);
            return A_Err_NONE;
        default: return A_Err_PARAMETER;
    }
}

A_Err WriteParameterStream(Host& host, Parameter& parameter, const AEGP_StreamVal2& value) {
    // With keyframes it would be open which of them is meant.
    if (!parameter.mValue.IsConstant()) return A_Err_PARAMETER;
    glm::dvec3 numbers(0);
    switch (GetParameterStreamType(parameter)) {
        case AEGP_StreamType_LAYER_ID:
            if (value.layer_id != AEGP_LayerIDVal_NONE && host.GetProject().FindLayerById(value.layer_id) == nullptr) {
                return A_Err_PARAMETER;
            }
            numbers.x = value.layer_id;
            break;
        case AEGP_StreamType_COLOR: numbers = {value.color.redF, value.color.greenF, value.color.blueF}; break;
        case AEGP_StreamType_ThreeD_SPATIAL: numbers = {value.three_d.x, value.three_d.y, value.three_d.z}; break;
        case AEGP_StreamType_OneD: numbers.x = value.one_d - (parameter.GetType() == PF_Param_POPUP ? 1 : 0); break;
        default: return A_Err_PARAMETER;
    }
    parameter.mValue.mKeys.front().mValue.mNumbers = numbers;
    // What the effect sets is part of the scene, as if the user had set it.
    parameter.mIsSet = true;
    return A_Err_NONE;
}

}  // namespace nimbrel::host
