#include <fmt/format.h>

#include "NimbrelHost/Settings.h"
#include "NimbrelHost/Text.h"
#include "Suites/SuiteSupport.h"

namespace nimbrel::host {
namespace {

// References live until they are disposed of; each is an object of its own even for the same stream.
StreamReference* ToStream(AEGP_StreamRefH handle) { return Host::Active().GetStreams().Find(handle); }

AEGP_StreamRefH NewStream(const StreamReference& stream) {
    return reinterpret_cast<AEGP_StreamRefH>(
        Host::Active().GetStreams().Add(std::make_unique<StreamReference>(stream)));
}

/// Before the value or the expression changes.
void KeepStream(const StreamReference& stream) {
    UndoHistory& undo = BeforeChange();
    stream.mParameter != nullptr ? undo.Keep(*stream.mParameter) : undo.Keep(*stream.mLayer);
}

/// The value of a layer's own stream. Streams that the layer doesn't have give false.
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

/// Nulls alone can be moved here, as long as they have no keyframes.
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

/// The type of an effect's stream; no-data for what has no value here.
A_long GetParameterStreamType(const Parameter& parameter) {
    switch (parameter.GetType()) {
        case PF_Param_LAYER: return AEGP_StreamType_LAYER_ID;
        case PF_Param_COLOR: return AEGP_StreamType_COLOR;
        case PF_Param_POINT_3D: return AEGP_StreamType_ThreeD_SPATIAL;
        case PF_Param_ARBITRARY_DATA: return AEGP_StreamType_ARB;
        default: return parameter.HasValue() ? AEGP_StreamType_OneD : AEGP_StreamType_NO_DATA;
    }
}

/// Values of streams are as the user sees them: points in full-resolution pixels, pop-ups from 1.
A_Err ReadParameterStream(const Parameter& parameter, double seconds, bool preExpression, AEGP_StreamVal2& value) {
    const glm::dvec3 numbers =
        preExpression ? EvaluateNumbers(parameter, seconds) : Host::Active().EvaluateParameter(parameter, seconds);
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

A_Err WriteParameterStream(Parameter& parameter, const AEGP_StreamVal2& value) {
    // With keyframes it would be open which of them is meant.
    if (!parameter.mValue.IsConstant()) return A_Err_PARAMETER;
    glm::dvec3 numbers(0);
    switch (GetParameterStreamType(parameter)) {
        case AEGP_StreamType_LAYER_ID:
            if (value.layer_id != AEGP_LayerIDVal_NONE && TheProject().FindLayerById(value.layer_id) == nullptr) {
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

// Streams are made only where the layer has the property, so that reading them later succeeds.
A_Err GetNewLayerStream(AEGP_PluginID, AEGP_LayerH handle, A_long stream, AEGP_StreamRefH* reference) {
    return Guarded([&] {
        Layer* const layer = ToLayer(handle);
        AEGP_StreamVal2 value{};
        A_long type = 0;
        if (layer == nullptr || reference == nullptr || !ReadLayerStream(*layer, stream, 0, value, type)) {
            return A_Err_PARAMETER;
        }
        *reference = NewStream({layer, stream, nullptr});
        return A_Err_NONE;
    });
}

A_Err GetEffectNumParamStreams(AEGP_EffectRefH effect, A_long* count) {
    if (Host::Active().GetEffectReferences().Find(effect) == nullptr || count == nullptr) return A_Err_PARAMETER;
    *count = static_cast<A_long>(Host::Active().GetParameters().Count()) + 1;
    return A_Err_NONE;
}

A_Err GetNewEffectStreamByIndex(AEGP_PluginID, AEGP_EffectRefH effect, A_long index, AEGP_StreamRefH* reference) {
    return Guarded([&] {
        Host& host = Host::Active();
        Parameter* const parameter = host.GetParameters().Get(index);
        if (host.GetEffectReferences().Find(effect) == nullptr || parameter == nullptr || reference == nullptr) {
            return A_Err_PARAMETER;
        }
        *reference = NewStream({nullptr, -1, parameter});
        return A_Err_NONE;
    });
}

A_Err DisposeStream(AEGP_StreamRefH reference) {
    return Guarded([&] {
        if (Host::Active().GetStreams().Take(reference)) return A_Err_NONE;
        Host::Active().GetDiagnostics().Report("dispose: stream that is not, or no longer, in use");
        return A_Err_PARAMETER;
    });
}

std::string GetName(const StreamReference& stream) {
    return stream.mParameter != nullptr ? stream.mParameter->mName
                                        : fmt::format("{} stream {}", stream.mLayer->mName, stream.mStream);
}

A_Err GetStreamName(AEGP_PluginID, AEGP_StreamRefH reference, A_Boolean, AEGP_MemHandle* name) {
    return Guarded([&] {
        const StreamReference* const stream = ToStream(reference);
        if (stream == nullptr || name == nullptr) return A_Err_PARAMETER;
        *name = NewTextHandle(GetName(*stream));
        return *name == nullptr ? A_Err_ALLOC : A_Err_NONE;
    });
}

A_Err IsStreamTimevarying(AEGP_StreamRefH reference, A_Boolean* varies) {
    const StreamReference* const stream = ToStream(reference);
    if (stream == nullptr || varies == nullptr) return A_Err_PARAMETER;
    *varies = stream->mParameter != nullptr && !stream->mParameter->mValue.IsConstant() ? 1 : 0;
    return A_Err_NONE;
}

A_Err GetStreamType(AEGP_StreamRefH reference, A_long* type) {
    const StreamReference* const stream = ToStream(reference);
    if (stream == nullptr || type == nullptr) return A_Err_PARAMETER;
    AEGP_StreamVal2 value{};
    *type = AEGP_StreamType_NO_DATA;
    if (stream->mParameter != nullptr) {
        *type = GetParameterStreamType(*stream->mParameter);
    } else {
        ReadLayerStream(*stream->mLayer, stream->mStream, 0, value, *type);
    }
    return A_Err_NONE;
}

// Layer time and composition time are one.
A_Err GetNewStreamValue(AEGP_PluginID, AEGP_StreamRefH reference, A_short, const A_Time* time, A_Boolean preExpression,
                        AEGP_StreamValue2* value) {
    return Guarded([&]() -> A_Err {
        const StreamReference* const stream = ToStream(reference);
        if (stream == nullptr || time == nullptr || value == nullptr) return A_Err_PARAMETER;
        *value = {};
        value->streamH = reference;
        if (stream->mParameter != nullptr) {
            return ReadParameterStream(*stream->mParameter, ToSeconds(time), preExpression != 0, value->val);
        }
        A_long type = 0;
        const bool good = ReadLayerStream(*stream->mLayer, stream->mStream, ToSeconds(time), value->val, type);
        return good ? A_Err_NONE : A_Err_PARAMETER;
    });
}

A_Err DisposeStreamValue(AEGP_StreamValue2* value) {
    // No kind of value that is given out holds memory.
    if (value == nullptr) return A_Err_PARAMETER;
    value->streamH = nullptr;
    return A_Err_NONE;
}

A_Err SetStreamValue(AEGP_PluginID, AEGP_StreamRefH reference, AEGP_StreamValue2* value) {
    return Guarded([&]() -> A_Err {
        if (const A_Err error = CheckMayChangeProject()) return error;
        const StreamReference* const stream = ToStream(reference);
        if (stream == nullptr || value == nullptr) return A_Err_PARAMETER;
        KeepStream(*stream);
        return stream->mParameter != nullptr ? WriteParameterStream(*stream->mParameter, value->val)
                                             : WriteLayerStream(*stream->mLayer, stream->mStream, value->val);
    });
}

A_Err GetLayerStreamValue(AEGP_LayerH handle, A_long stream, A_short, const A_Time* time, A_Boolean,
                          AEGP_StreamVal2* value, A_long* type) {
    const Layer* const layer = ToLayer(handle);
    A_long found = 0;
    if (layer == nullptr || time == nullptr || value == nullptr ||
        !ReadLayerStream(*layer, stream, ToSeconds(time), *value, found)) {
        return A_Err_PARAMETER;
    }
    if (type != nullptr) *type = found;
    return A_Err_NONE;
}

/// The expression to change.
Expression* ToExpression(AEGP_StreamRefH reference) {
    StreamReference* const stream = ToStream(reference);
    if (stream == nullptr) return nullptr;
    KeepStream(*stream);
    return stream->mParameter != nullptr ? &stream->mParameter->mExpression
                                         : &stream->mLayer->mExpressions[stream->mStream];
}

A_Err SetExpressionState(AEGP_PluginID, AEGP_StreamRefH reference, A_Boolean enabled) {
    return Guarded([&]() -> A_Err {
        if (const A_Err error = CheckMayChangeProject()) return error;
        Expression* const expression = ToExpression(reference);
        if (expression == nullptr) return A_Err_PARAMETER;
        expression->mEnabled = enabled != 0;
        return A_Err_NONE;
    });
}

// An empty text takes the expression off; a new one is on at once.
A_Err SetExpressionText(AEGP_StreamRefH reference, const std::string& text) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    Expression* const expression = ToExpression(reference);
    if (expression == nullptr) return A_Err_PARAMETER;
    expression->mText = text;
    expression->mEnabled = !text.empty();
    return A_Err_NONE;
}

A_Err SetExpression(AEGP_PluginID, AEGP_StreamRefH reference, const A_UTF16Char* text) {
    return Guarded([&] { return text == nullptr ? A_Err_PARAMETER : SetExpressionText(reference, ToUtf8(text)); });
}

A_Err SetNarrowExpression(AEGP_PluginID, AEGP_StreamRefH reference, const A_char* text) {
    return Guarded([&] { return text == nullptr ? A_Err_PARAMETER : SetExpressionText(reference, text); });
}

// Hidden is the only flag that parameters carry here.
A_Err GetDynamicStreamFlags(AEGP_StreamRefH reference, A_u_long* flags) {
    const StreamReference* const stream = ToStream(reference);
    if (stream == nullptr || flags == nullptr) return A_Err_PARAMETER;
    const bool hidden = stream->mParameter != nullptr && stream->mParameter->mIsHidden;
    *flags = hidden ? A_u_long{AEGP_DynStreamFlag_HIDDEN} : 0U;
    return A_Err_NONE;
}

A_Err SetDynamicStreamFlag(AEGP_StreamRefH reference, A_u_long flag, A_Boolean undoable, A_Boolean set) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    const StreamReference* const stream = ToStream(reference);
    if (stream == nullptr || stream->mParameter == nullptr) return A_Err_PARAMETER;
    // Other flags, and undoable ones, are for streams in groups that can be added to.
    if (flag != AEGP_DynStreamFlag_HIDDEN || undoable != 0) return A_Err_PARAMETER;
    stream->mParameter->mIsHidden = set != 0;
    return A_Err_NONE;
}

// The name shown changes; the number that scenes and projects go by does not.
A_Err SetStreamName(AEGP_StreamRefH reference, const A_UTF16Char* name) {
    return Guarded([&]() -> A_Err {
        if (const A_Err error = CheckMayChangeProject()) return error;
        const StreamReference* const stream = ToStream(reference);
        if (stream == nullptr || stream->mParameter == nullptr || name == nullptr) return A_Err_PARAMETER;
        stream->mParameter->mName = ToUtf8(name);
        return A_Err_NONE;
    });
}

/// What both versions of the stream suite have alike.
template <class Table>
void FillStreamTable(Table& table) {
    NIMBREL_SERVE(table, AEGP_GetNewLayerStream, GetNewLayerStream);
    NIMBREL_SERVE(table, AEGP_GetEffectNumParamStreams, GetEffectNumParamStreams);
    NIMBREL_SERVE(table, AEGP_GetNewEffectStreamByIndex, GetNewEffectStreamByIndex);
    NIMBREL_SERVE(table, AEGP_DisposeStream, DisposeStream);
    NIMBREL_SERVE(table, AEGP_IsStreamTimevarying, IsStreamTimevarying);
    NIMBREL_SERVE(table, AEGP_GetStreamType, GetStreamType);
    NIMBREL_SERVE(table, AEGP_GetNewStreamValue, GetNewStreamValue);
    NIMBREL_SERVE(table, AEGP_DisposeStreamValue, DisposeStreamValue);
    NIMBREL_SERVE(table, AEGP_SetStreamValue, SetStreamValue);
    NIMBREL_SERVE(table, AEGP_GetLayerStreamValue, GetLayerStreamValue);
    NIMBREL_SERVE(table, AEGP_SetExpressionState, SetExpressionState);
}

}  // namespace

void AddStreamSuites(SuiteRegistry& suites) {
    static const AEGP_StreamSuite5 suite5 = [] {
        auto table = MakeTable<AEGP_StreamSuite5>(kAEGPStreamSuite);
        FillStreamTable(table);
        NIMBREL_SERVE(table, AEGP_GetStreamName, GetStreamName);
        NIMBREL_SERVE(table, AEGP_SetExpression, SetExpression);
        return table;
    }();
    static const AEGP_StreamSuite2 suite2 = [] {
        auto table = MakeTable<AEGP_StreamSuite2>(kAEGPStreamSuite);
        FillStreamTable(table);
        NIMBREL_SERVE(table, AEGP_SetExpression, SetNarrowExpression);
        return table;
    }();
    suites.Add(kAEGPStreamSuite, kAEGPStreamSuiteVersion5, &suite5);
    suites.Add(kAEGPStreamSuite, kAEGPStreamSuiteVersion2, &suite2);
}

void AddDynamicStreamSuite(SuiteRegistry& suites) {
    static const AEGP_DynamicStreamSuite4 suite = [] {
        auto table = MakeTable<AEGP_DynamicStreamSuite4>(kAEGPDynamicStreamSuite);
        NIMBREL_SERVE(table, AEGP_GetDynamicStreamFlags, GetDynamicStreamFlags);
        NIMBREL_SERVE(table, AEGP_SetDynamicStreamFlag, SetDynamicStreamFlag);
        NIMBREL_SERVE(table, AEGP_SetStreamName, SetStreamName);
        return table;
    }();
    suites.Add(kAEGPDynamicStreamSuite, kAEGPDynamicStreamSuiteVersion4, &suite);
}

}  // namespace nimbrel::host
