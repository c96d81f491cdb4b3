#include "PluginBase/AE/AEGPObjects.h"
#include "PluginBase/AE/TextAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace zeb::AEGP {

// ---- Layer ----

AEGP_LayerIDVal Layer::GetLayerID() const {
    AEGP_LayerIDVal id = AEGP_LayerIDVal_NONE;
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_GetLayerID(mLayerHandle, &id));
    return id;
}

std::int32_t Layer::GetLayerIndex() const {
    A_long index = 0;
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_GetLayerIndex(mLayerHandle, &index));
    return index;
}

Comp Layer::GetLayerParentComp() const {
    AEGP_CompH comp = nullptr;
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_GetLayerParentComp(mLayerHandle, &comp));
    return Comp(comp);
}

Item Layer::GetLayerSourceItem(bool required) const {
    AEGP_ItemH item = nullptr;
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_GetLayerSourceItem(mLayerHandle, &item));
    if (required && item == nullptr) ZEB_THROW(kInternalError, "Failed to get the layer source item.");
    return Item(item);
}

AEGP_StreamVal2 Layer::GetLayerStreamValue(AEGP_LayerStream stream, AEGP_LTimeMode timeMode, const A_Time& time,
                                           bool preExpression) const {
    AEGP_StreamVal2 val{};
    AEGP_StreamType type = AEGP_StreamType_NO_DATA;
    ZEB_CHECK(GetSuites().StreamSuite5()->AEGP_GetLayerStreamValue(mLayerHandle, stream, timeMode, &time, preExpression,
                                                                   &val, &type));
    return val;
}

A_Matrix4 Layer::GetLayerToWorldXform(const A_Time& time) const {
    A_Matrix4 matrix{};
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_GetLayerToWorldXform(mLayerHandle, &time, &matrix));
    return matrix;
}

Stream Layer::GetNewLayerStream(AEGP_LayerStream stream) const {
    AEGP_StreamRefH handle = nullptr;
    ZEB_CHECK(GetSuites().StreamSuite5()->AEGP_GetNewLayerStream(GetPluginId(), mLayerHandle, stream, &handle));
    return Stream(handle);
}

std::u16string Layer::GetSourceName() const {
    AEGP_MemHandle name = nullptr;
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_GetLayerName(GetPluginId(), mLayerHandle, nullptr, &name));
    return MemHandle(name).GetText();
}

void Layer::ReorderLayer(std::int32_t index) const {
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_ReorderLayer(mLayerHandle, index));
}

void Layer::SetLayerFlag(AEGP_LayerFlags flag, bool value) const {
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_SetLayerFlag(mLayerHandle, flag, value));
}

void MoveLayerBelow(const Layer& layer, const Layer& reference) {
    const std::int32_t from = layer.GetLayerIndex();
    const std::int32_t above = reference.GetLayerIndex();
    // Taking a layer out from above shifts the reference up by one.
    const std::int32_t target = above <= from ? above + 1 : above;
    if (target != from) layer.ReorderLayer(target);
}

AEGP_CameraType CameraLayer::GetCameraType() const {
    AEGP_CameraType type = AEGP_CameraType_NONE;
    ZEB_CHECK(GetSuites().CameraSuite2()->AEGP_GetCameraType(mLayerHandle, &type));
    return type;
}

// ---- Comp ----

Layer Comp::AddLayer(const Item& item) const {
    AEGP_LayerH layer = nullptr;
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_AddLayer(item.GetHandle(), mCompHandle, &layer));
    return Layer(layer);
}

Layer Comp::CreateNullInComp(const std::u16string& name) const {
    const auto text = ToHostText(name);
    AEGP_LayerH layer = nullptr;
    ZEB_CHECK(GetSuites().CompSuite11()->AEGP_CreateNullInComp(text.data(), mCompHandle, nullptr, &layer));
    return Layer(layer);
}

Layer Comp::GetCompLayerByIndex(std::int32_t index) const {
    AEGP_LayerH layer = nullptr;
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_GetCompLayerByIndex(mCompHandle, index, &layer));
    return Layer(layer);
}

std::int32_t Comp::GetCompNumLayers() const {
    A_long numLayers = 0;
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_GetCompNumLayers(mCompHandle, &numLayers));
    return numLayers;
}

Layer Comp::GetLayerFromLayerID(AEGP_LayerIDVal id) const {
    AEGP_LayerH layer = nullptr;
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_GetLayerFromLayerID(mCompHandle, id, &layer));
    return Layer(layer);
}

bool Comp::IsAddLayerValid(const Item& item) const {
    A_Boolean valid = 0;
    ZEB_CHECK(GetSuites().LayerSuite8()->AEGP_IsAddLayerValid(item.GetHandle(), mCompHandle, &valid));
    return valid != 0;
}

// ---- Effect ----

Effect::~Effect() {
    if (mEffectHandle == nullptr) return;
    try {
        if (GetSuites().EffectSuite4()->AEGP_DisposeEffect(mEffectHandle) != 0)
            ReportCleanupFailure("Failed to dispose of an effect");
    } catch (const std::exception& exception) {
        ReportCleanupFailure(exception.what());
    }
}

A_Time Effect::ConvertEffectToCompTime(std::int32_t time, std::uint32_t timeScale) const {
    A_Time compTime{};
    ZEB_CHECK(GetSuites().PFInterfaceSuite1()->AEGP_ConvertEffectToCompTime(mEffectRef, time, timeScale, &compTime));
    return compTime;
}

CameraLayer Effect::GetEffectCamera(const A_Time& compTime) const {
    const std::optional<CameraLayer> camera = FindEffectCamera(compTime);
    if (!camera) ZEB_THROW(kInternalError, "Failed to find the camera layer.");
    return *camera;
}

std::optional<CameraLayer> Effect::FindEffectCamera(const A_Time& compTime) const {
    AEGP_LayerH layer = nullptr;
    ZEB_CHECK(GetSuites().PFInterfaceSuite1()->AEGP_GetEffectCamera(mEffectRef, &compTime, &layer));
    if (layer == nullptr) return std::nullopt;
    return CameraLayer(layer, compTime);
}

Layer Effect::GetEffectLayer() const {
    AEGP_LayerH layer = nullptr;
    ZEB_CHECK(GetSuites().PFInterfaceSuite1()->AEGP_GetEffectLayer(mEffectRef, &layer));
    return Layer(layer);
}

Stream Effect::GetNewEffectStreamByIndex(std::int32_t index) const {
    AEGP_StreamRefH stream = nullptr;
    // What gives the stream back must be at hand before it is taken.
    GetSuites().StreamSuite5();
    ZEB_CHECK(GetSuites().StreamSuite2()->AEGP_GetNewEffectStreamByIndex(GetPluginId(), mEffectHandle, index, &stream));
    return Stream(stream);
}

// ---- Suites ----

Suites::Suites() : mSuites(AEGPSuites()), mPluginId(GetPluginId()), mEffectRef(InData()->effect_ref) {}

void Suites::StartUndoGroup(const std::string& name) const {
    ZEB_CHECK(mSuites.UtilitySuite6()->AEGP_StartUndoGroup(name.c_str()));
}

void Suites::EndUndoGroup() const { ZEB_CHECK(mSuites.UtilitySuite6()->AEGP_EndUndoGroup()); }

std::string Suites::ExecuteScript(const std::string& script) const {
    constexpr A_Boolean kUtf8 = 0;
    AEGP_MemHandle result = nullptr;
    ZEB_CHECK(mSuites.UtilitySuite5()->AEGP_ExecuteScript(mPluginId, script.c_str(), kUtf8, &result, nullptr));
    return MemHandle(result).GetNarrowText();
}

bool Suites::IsScriptingAvailable() const {
    A_Boolean available = 0;
    ZEB_CHECK(mSuites.UtilitySuite6()->AEGP_IsScriptingAvailable(&available));
    return available != 0;
}

Effect Suites::GetEffect() const {
    AEGP_EffectRefH effect = nullptr;
    mSuites.EffectSuite4();  // which gives it back
    ZEB_CHECK(mSuites.PFInterfaceSuite1()->AEGP_GetNewEffectForEffect(mPluginId, mEffectRef, &effect));
    return Effect(effect, mEffectRef);
}

Project Suites::GetProjectByIndex(std::int32_t index) const {
    AEGP_ProjectH project = nullptr;
    ZEB_CHECK(mSuites.ProjSuite6()->AEGP_GetProjectByIndex(index, &project));
    return Project(project);
}

Footage Suites::NewFootage(const std::u16string& path, AEGP_InterpretationStyle style) const {
    const auto text = ToHostText(path);
    AEGP_FootageH footage = nullptr;
    ZEB_CHECK(
        mSuites.FootageSuite5()->AEGP_NewFootage(mPluginId, text.data(), nullptr, nullptr, style, nullptr, &footage));
    return Footage(footage, true);
}

}  // namespace zeb::AEGP
