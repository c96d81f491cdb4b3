#include <fmt/format.h>

#include "NimbrelHost/Support/Text.h"
#include "Suites/StreamValues.h"
#include "Suites/SuiteSupport.h"

namespace nimbrel::host {
namespace {

// References live until they are disposed of; each is an object of its own even for the same stream.
StreamReference* ToStream(Host& host, AEGP_StreamRefH handle) { return host.GetStreams().Find(handle); }

AEGP_StreamRefH NewStream(Host& host, const StreamReference& stream) {
    return reinterpret_cast<AEGP_StreamRefH>(host.GetStreams().Add(std::make_unique<StreamReference>(stream)));
}

/// Before the value or the expression changes.
void KeepStream(Host& host, const StreamReference& stream) {
    UndoHistory& undo = BeforeChange(host);
    stream.mParameter != nullptr ? undo.Keep(*stream.mParameter) : undo.Keep(*stream.mLayer);
}

// Streams are made only where the layer has the property, so that reading them later succeeds.
A_Err GetNewLayerStream(Host& host, AEGP_PluginID, AEGP_LayerH handle, A_long stream, AEGP_StreamRefH* reference) {
    Layer* const layer = ToLayer(host, handle);
    AEGP_StreamVal2 value{};
    A_long type = 0;
    if (layer == nullptr || reference == nullptr || !ReadLayerStream(*layer, stream, 0, value, type)) {
        return A_Err_PARAMETER;
    }
    *reference = NewStream(host, {layer, stream, nullptr});
    return A_Err_NONE;
}

A_Err GetEffectNumParamStreams(Host& host, AEGP_EffectRefH effect, A_long* count) {
    if (host.GetEffectReferences().Find(effect) == nullptr || count == nullptr) return A_Err_PARAMETER;
    *count = static_cast<A_long>(host.GetParameters().Count()) + 1;
    return A_Err_NONE;
}

A_Err GetNewEffectStreamByIndex(Host& host, AEGP_PluginID, AEGP_EffectRefH effect, A_long index,
                                AEGP_StreamRefH* reference) {
    Parameter* const parameter = host.GetParameters().Get(index);
    if (host.GetEffectReferences().Find(effect) == nullptr || parameter == nullptr || reference == nullptr) {
        return A_Err_PARAMETER;
    }
    *reference = NewStream(host, {nullptr, -1, parameter});
    return A_Err_NONE;
}

A_Err DisposeStream(Host& host, AEGP_StreamRefH reference) {
    if (host.GetStreams().Take(reference)) return A_Err_NONE;
    host.GetDiagnostics().Report("dispose: stream that is not, or no longer, in use");
    return A_Err_PARAMETER;
}

std::string GetName(const StreamReference& stream) {
    return stream.mParameter != nullptr ? stream.mParameter->mName
                                        : fmt::format("{} stream {}", stream.mLayer->mName, stream.mStream);
}

A_Err GetStreamName(Host& host, AEGP_PluginID, AEGP_StreamRefH reference, A_Boolean, AEGP_MemHandle* name) {
    const StreamReference* const stream = ToStream(host, reference);
    if (stream == nullptr || name == nullptr) return A_Err_PARAMETER;
    *name = NewTextHandle(host, GetName(*stream));
    return *name == nullptr ? A_Err_ALLOC : A_Err_NONE;
}

A_Err IsStreamTimevarying(Host& host, AEGP_StreamRefH reference, A_Boolean* varies) {
    const StreamReference* const stream = ToStream(host, reference);
    if (stream == nullptr || varies == nullptr) return A_Err_PARAMETER;
    *varies = stream->mParameter != nullptr && !stream->mParameter->mValue.IsConstant() ? 1 : 0;
    return A_Err_NONE;
}

A_Err GetStreamType(Host& host, AEGP_StreamRefH reference, A_long* type) {
    const StreamReference* const stream = ToStream(host, reference);
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

// The effect's layer alone has a time of its own.
A_Err GetNewStreamValue(Host& host, AEGP_PluginID, AEGP_StreamRefH reference, A_short mode, const A_Time* time,
                        A_Boolean preExpression, AEGP_StreamValue2* value) {
    const StreamReference* const stream = ToStream(host, reference);
    if (stream == nullptr || time == nullptr || value == nullptr) return A_Err_PARAMETER;
    *value = {};
    value->streamH = reference;
    if (stream->mParameter != nullptr) {
        const bool isLayerTime = mode != AEGP_LTimeMode_CompTime;
        const double seconds = isLayerTime ? ToSeconds(time) : host.GetLayerClock().ToLayer(ToSeconds(time));
        return ReadParameterStream(host, *stream->mParameter, seconds, preExpression != 0, value->val);
    }
    A_long type = 0;
    const bool good = ReadLayerStream(*stream->mLayer, stream->mStream, ToSeconds(time), value->val, type);
    return good ? A_Err_NONE : A_Err_PARAMETER;
}

A_Err DisposeStreamValue(Host&, AEGP_StreamValue2* value) {
    // No kind of value that is given out holds memory.
    if (value == nullptr) return A_Err_PARAMETER;
    value->streamH = nullptr;
    return A_Err_NONE;
}

A_Err SetStreamValue(Host& host, AEGP_PluginID, AEGP_StreamRefH reference, AEGP_StreamValue2* value) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    const StreamReference* const stream = ToStream(host, reference);
    if (stream == nullptr || value == nullptr) return A_Err_PARAMETER;
    KeepStream(host, *stream);
    return stream->mParameter != nullptr ? WriteParameterStream(host, *stream->mParameter, value->val)
                                         : WriteLayerStream(*stream->mLayer, stream->mStream, value->val);
}

A_Err GetLayerStreamValue(Host& host, AEGP_LayerH handle, A_long stream, A_short, const A_Time* time, A_Boolean,
                          AEGP_StreamVal2* value, A_long* type) {
    const Layer* const layer = ToLayer(host, handle);
    A_long found = 0;
    if (layer == nullptr || time == nullptr || value == nullptr ||
        !ReadLayerStream(*layer, stream, ToSeconds(time), *value, found)) {
        return A_Err_PARAMETER;
    }
    if (type != nullptr) *type = found;
    return A_Err_NONE;
}

/// The expression to change.
Expression* ToExpression(Host& host, AEGP_StreamRefH reference) {
    StreamReference* const stream = ToStream(host, reference);
    if (stream == nullptr) return nullptr;
    KeepStream(host, *stream);
    return stream->mParameter != nullptr ? &stream->mParameter->mExpression
                                         : &stream->mLayer->mExpressions[stream->mStream];
}

A_Err SetExpressionState(Host& host, AEGP_PluginID, AEGP_StreamRefH reference, A_Boolean enabled) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    Expression* const expression = ToExpression(host, reference);
    if (expression == nullptr) return A_Err_PARAMETER;
    expression->mEnabled = enabled != 0;
    return A_Err_NONE;
}

// An empty text takes the expression off; a new one is on at once.
A_Err SetExpressionText(Host& host, AEGP_StreamRefH reference, const std::string& text) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    Expression* const expression = ToExpression(host, reference);
    if (expression == nullptr) return A_Err_PARAMETER;
    expression->mText = text;
    expression->mEnabled = !text.empty();
    return A_Err_NONE;
}

A_Err SetExpression(Host& host, AEGP_PluginID, AEGP_StreamRefH reference, const A_UTF16Char* text) {
    return text == nullptr ? A_Err_PARAMETER : SetExpressionText(host, reference, ToUtf8(text));
}

A_Err SetNarrowExpression(Host& host, AEGP_PluginID, AEGP_StreamRefH reference, const A_char* text) {
    return text == nullptr ? A_Err_PARAMETER : SetExpressionText(host, reference, text);
}

// Hidden is the only flag that parameters carry here.
A_Err GetDynamicStreamFlags(Host& host, AEGP_StreamRefH reference, A_u_long* flags) {
    const StreamReference* const stream = ToStream(host, reference);
    if (stream == nullptr || flags == nullptr) return A_Err_PARAMETER;
    const bool hidden = stream->mParameter != nullptr && stream->mParameter->mIsHidden;
    *flags = hidden ? A_u_long{AEGP_DynStreamFlag_HIDDEN} : 0U;
    return A_Err_NONE;
}

A_Err SetDynamicStreamFlag(Host& host, AEGP_StreamRefH reference, A_u_long flag, A_Boolean undoable, A_Boolean set) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    const StreamReference* const stream = ToStream(host, reference);
    if (stream == nullptr || stream->mParameter == nullptr) return A_Err_PARAMETER;
    // Other flags, and undoable ones, are for streams in groups that can be added to.
    if (flag != AEGP_DynStreamFlag_HIDDEN || undoable != 0) return A_Err_PARAMETER;
    stream->mParameter->mIsHidden = set != 0;
    return A_Err_NONE;
}

// The name shown changes; the number that scenes and projects go by does not.
A_Err SetStreamName(Host& host, AEGP_StreamRefH reference, const A_UTF16Char* name) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    const StreamReference* const stream = ToStream(host, reference);
    if (stream == nullptr || stream->mParameter == nullptr || name == nullptr) return A_Err_PARAMETER;
    stream->mParameter->mName = ToUtf8(name);
    return A_Err_NONE;
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
