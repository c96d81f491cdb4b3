#include "FakeProject.h"

#include <algorithm>
#include <cstring>

namespace test {
namespace {

FakeProject* sProject = nullptr;

template <class T>
T* From(void* handle) {
    return static_cast<T*>(handle);
}

template <class Handle>
Handle To(void* object) {
    return reinterpret_cast<Handle>(object);
}

std::u16string ReadText(const A_UTF16Char* text) {
    std::u16string result;
    for (; *text != 0; ++text) result += static_cast<char16_t>(*text);
    return result;
}

AEGP_MemHandle MakeMemory(const std::u16string& text) {
    ++sProject->mHeld;
    return To<AEGP_MemHandle>(new std::u16string(text));
}

// ---- Effect ----

A_Err GetEffectLayer(PF_ProgPtr, AEGP_LayerH* layer) { return *layer = To<AEGP_LayerH>(sProject->mEffectLayer), 0; }

A_Err GetNewEffect(AEGP_PluginID, PF_ProgPtr, AEGP_EffectRefH* effect) {
    ++sProject->mHeld;
    return *effect = To<AEGP_EffectRefH>(sProject), 0;
}

A_Err ConvertTime(PF_ProgPtr, A_long time, A_u_long scale, A_Time* result) {
    // The layer begins one second into the composition.
    return *result = {time + static_cast<A_long>(scale), scale}, 0;
}

A_Err GetEffectCamera(PF_ProgPtr, const A_Time* time, AEGP_LayerH* layer) {
    sProject->mCameraTime = *time;
    return *layer = To<AEGP_LayerH>(sProject->mCamera), 0;
}

A_Err DisposeEffect(AEGP_EffectRefH) { return --sProject->mHeld, 0; }

// ---- Streams ----

A_Err GetEffectStream(AEGP_PluginID, AEGP_EffectRefH, A_long index, AEGP_StreamRefH* stream) {
    ++sProject->mHeld;
    return *stream = To<AEGP_StreamRefH>(&sProject->mStreams[index]), 0;
}

A_Err DisposeStream(AEGP_StreamRefH) { return --sProject->mHeld, 0; }

A_Err GetStreamValue(AEGP_PluginID, AEGP_StreamRefH stream, A_short, const A_Time*, A_Boolean,
                     AEGP_StreamValue2* value) {
    ++sProject->mHeld;
    *value = {};
    value->streamH = stream;
    return value->val.layer_id = From<FakeStream>(stream)->mLayerId, 0;
}

A_Err DisposeStreamValue(AEGP_StreamValue2*) { return --sProject->mHeld, 0; }

A_Err SetStreamValue(AEGP_PluginID, AEGP_StreamRefH stream, AEGP_StreamValue2* value) {
    return From<FakeStream>(stream)->mLayerId = value->val.layer_id, 0;
}

A_Err GetStreamName(AEGP_PluginID, AEGP_StreamRefH stream, A_Boolean, AEGP_MemHandle* name) {
    return *name = MakeMemory(From<FakeStream>(stream)->mName), 0;
}

A_Err SetStreamName(AEGP_StreamRefH stream, const A_UTF16Char* name) {
    return From<FakeStream>(stream)->mName = ReadText(name), 0;
}

A_Err GetFlags(AEGP_StreamRefH stream, A_u_long* flags) { return *flags = From<FakeStream>(stream)->mFlags, 0; }

A_Err SetFlag(AEGP_StreamRefH stream, A_u_long flag, A_Boolean undoable, A_Boolean set) {
    if (undoable != 0) return A_Err_PARAMETER;
    A_u_long& flags = From<FakeStream>(stream)->mFlags;
    return flags = set != 0 ? flags | flag : flags & ~flag, 0;
}

A_Err GetLayerStream(AEGP_LayerH, A_long stream, A_short mode, const A_Time*, A_Boolean preExpression,
                     AEGP_StreamVal2* val, A_long* type) {
    if (stream != AEGP_LayerStream_ZOOM || mode != AEGP_LTimeMode_CompTime || preExpression != 0)
        return A_Err_PARAMETER;
    *type = AEGP_StreamType_OneD;
    return val->one_d = sProject->mZoom, 0;
}

// ---- Layers ----

A_Err GetNumLayers(AEGP_CompH, A_long* count) {
    if (sProject->mNumLayersError != 0) return sProject->mNumLayersError;
    return *count = static_cast<A_long>(sProject->mLayers.size()), 0;
}

A_Err GetLayerByIndex(AEGP_CompH, A_long index, AEGP_LayerH* layer) {
    return *layer = To<AEGP_LayerH>(sProject->mLayers.at(static_cast<std::size_t>(index)).get()), 0;
}

A_Err GetLayerIndex(AEGP_LayerH layer, A_long* index) {
    const auto& layers = sProject->mLayers;
    const auto found = std::find_if(layers.begin(), layers.end(),
                                    [layer](const auto& each) { return each.get() == From<FakeLayer>(layer); });
    return *index = static_cast<A_long>(found - layers.begin()), 0;
}

A_Err GetSourceItem(AEGP_LayerH layer, AEGP_ItemH* item) {
    return *item = To<AEGP_ItemH>(From<FakeLayer>(layer)->mSource), 0;
}

A_Err GetParentComp(AEGP_LayerH, AEGP_CompH* comp) { return *comp = To<AEGP_CompH>(sProject), 0; }

A_Err IsAddValid(AEGP_ItemH, AEGP_CompH, A_Boolean* valid) { return *valid = sProject->mLayersValid, 0; }

A_Err AddLayer(AEGP_ItemH item, AEGP_CompH, AEGP_LayerH* layer) {
    auto& layers = sProject->mLayers;
    layers.insert(layers.begin(), std::make_unique<FakeLayer>(FakeLayer{sProject->mNextId++, From<FakeItem>(item)}));
    return *layer = To<AEGP_LayerH>(layers.front().get()), 0;
}

A_Err ReorderLayer(AEGP_LayerH layer, A_long index) {
    ++sProject->mReorders;
    A_long from = 0;
    GetLayerIndex(layer, &from);
    auto& layers = sProject->mLayers;
    auto moved = std::move(layers[static_cast<std::size_t>(from)]);
    layers.erase(layers.begin() + from);
    layers.insert(layers.begin() + index, std::move(moved));
    return 0;
}

A_Err SetLayerFlag(AEGP_LayerH layer, A_long flag, A_Boolean value) {
    if (flag == AEGP_LayerFlag_VIDEO_ACTIVE) From<FakeLayer>(layer)->mVideo = value != 0;
    return 0;
}

A_Err GetLayerId(AEGP_LayerH layer, A_long* id) { return *id = From<FakeLayer>(layer)->mId, 0; }

A_Err GetTransform(AEGP_LayerH, const A_Time*, A_Matrix4* matrix) { return *matrix = sProject->mCameraToWorld, 0; }

A_Err GetLayerFromId(AEGP_CompH, A_long id, AEGP_LayerH* layer) {
    FakeLayer* found = sProject->FindLayer(id);
    if (found == nullptr) return A_Err_PARAMETER;
    return *layer = To<AEGP_LayerH>(found), 0;
}

A_Err GetCameraType(AEGP_LayerH, A_u_long* type) { return *type = sProject->mCameraType, 0; }

// ---- Items ----

A_Err GetFirstItem(AEGP_ProjectH, AEGP_ItemH* item) {
    return *item = To<AEGP_ItemH>(sProject->mItems.front().get()), 0;
}

A_Err GetNextItem(AEGP_ProjectH, AEGP_ItemH item, AEGP_ItemH* next) {
    const auto& items = sProject->mItems;
    auto found = std::find_if(items.begin(), items.end(),
                              [item](const auto& each) { return each.get() == From<FakeItem>(item); });
    ++found;
    return *next = found == items.end() ? nullptr : To<AEGP_ItemH>(found->get()), 0;
}

A_Err GetItemType(AEGP_ItemH item, A_short* type) { return *type = From<FakeItem>(item)->mType, 0; }

A_Err GetItemName(AEGP_PluginID, AEGP_ItemH item, AEGP_MemHandle* name) {
    return *name = MakeMemory(From<FakeItem>(item)->mName), 0;
}

A_Err CreateFolder(const A_UTF16Char* name, AEGP_ItemH parent, AEGP_ItemH* folder) {
    FakeItem& item = sProject->AddItem(AEGP_ItemType_FOLDER, ReadText(name), {});
    item.mParent = From<FakeItem>(parent);
    return *folder = To<AEGP_ItemH>(&item), 0;
}

A_Err GetRootFolder(AEGP_ProjectH, AEGP_ItemH* folder) {
    return *folder = To<AEGP_ItemH>(sProject->mItems.front().get()), 0;
}

A_Err GetProject(A_long, AEGP_ProjectH* project) { return *project = To<AEGP_ProjectH>(sProject), 0; }

// ---- Footage ----

A_Err GetMainFootage(AEGP_ItemH item, AEGP_FootageH* footage) { return *footage = To<AEGP_FootageH>(item), 0; }

A_Err GetFootagePath(AEGP_FootageH footage, A_long, A_long, AEGP_MemHandle* path) {
    return *path = MakeMemory(From<FakeItem>(footage)->mPath), 0;
}

A_Err NewFootage(AEGP_PluginID, const A_UTF16Char* path, const AEGP_FootageLayerKey*,
                 const AEGP_FileSequenceImportOptions*, A_Boolean style, void*, AEGP_FootageH* footage) {
    ++sProject->mHeld;
    ++sProject->mImports;
    sProject->mImportStyle = style;
    return *footage = To<AEGP_FootageH>(new FakeItem{AEGP_ItemType_FOOTAGE, u"new", ReadText(path)}), 0;
}

A_Err AddFootage(AEGP_FootageH footage, AEGP_ItemH folder, AEGP_ItemH* item) {
    --sProject->mHeld;
    std::unique_ptr<FakeItem> owned(From<FakeItem>(footage));
    owned->mParent = From<FakeItem>(folder);
    sProject->mItems.push_back(std::move(owned));
    return *item = To<AEGP_ItemH>(sProject->mItems.back().get()), 0;
}

A_Err DisposeFootage(AEGP_FootageH footage) {
    delete From<FakeItem>(footage);
    return --sProject->mHeld, 0;
}

// ---- Memory ----

A_Err FreeMemory(AEGP_MemHandle handle) {
    delete From<std::u16string>(handle);
    return --sProject->mHeld, 0;
}

A_Err LockMemory(AEGP_MemHandle handle, void** memory) { return *memory = From<std::u16string>(handle)->data(), 0; }

A_Err UnlockMemory(AEGP_MemHandle) { return 0; }

A_Err GetMemorySize(AEGP_MemHandle handle, A_u_long* size) {
    return *size = static_cast<A_u_long>((From<std::u16string>(handle)->size() + 1) * 2), 0;
}

PF_Err UpdateParamUI(PF_ProgPtr, A_long index, const PF_ParamDef* def) {
    if (sProject->mUpdateError != 0) return sProject->mUpdateError;
    sProject->mUpdated.emplace_back(index, *def);
    return 0;
}

}  // namespace

FakeProject::FakeProject(FakeHost& host) {
    sProject = this;
    mInterface.AEGP_GetEffectLayer = GetEffectLayer;
    mInterface.AEGP_GetNewEffectForEffect = GetNewEffect;
    mInterface.AEGP_ConvertEffectToCompTime = ConvertTime;
    mInterface.AEGP_GetEffectCamera = GetEffectCamera;
    host.AddSuite(kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1, &mInterface);
    mEffect.AEGP_DisposeEffect = DisposeEffect;
    host.AddSuite(kAEGPEffectSuite, kAEGPEffectSuiteVersion4, &mEffect);
    mStream2.AEGP_GetNewEffectStreamByIndex = GetEffectStream;
    host.AddSuite(kAEGPStreamSuite, kAEGPStreamSuiteVersion2, &mStream2);
    mStream.AEGP_DisposeStream = DisposeStream;
    mStream.AEGP_GetNewStreamValue = GetStreamValue;
    mStream.AEGP_DisposeStreamValue = DisposeStreamValue;
    mStream.AEGP_SetStreamValue = SetStreamValue;
    mStream.AEGP_GetStreamName = GetStreamName;
    mStream.AEGP_GetLayerStreamValue = GetLayerStream;
    host.AddSuite(kAEGPStreamSuite, kAEGPStreamSuiteVersion5, &mStream);
    mDynamic.AEGP_GetDynamicStreamFlags = GetFlags;
    mDynamic.AEGP_SetDynamicStreamFlag = SetFlag;
    mDynamic.AEGP_SetStreamName = SetStreamName;
    host.AddSuite(kAEGPDynamicStreamSuite, kAEGPDynamicStreamSuiteVersion4, &mDynamic);
    mLayer.AEGP_GetCompNumLayers = GetNumLayers;
    mLayer.AEGP_GetCompLayerByIndex = GetLayerByIndex;
    mLayer.AEGP_GetLayerIndex = GetLayerIndex;
    mLayer.AEGP_GetLayerSourceItem = GetSourceItem;
    mLayer.AEGP_GetLayerParentComp = GetParentComp;
    mLayer.AEGP_IsAddLayerValid = IsAddValid;
    mLayer.AEGP_AddLayer = test::AddLayer;
    mLayer.AEGP_ReorderLayer = ReorderLayer;
    mLayer.AEGP_SetLayerFlag = SetLayerFlag;
    mLayer.AEGP_GetLayerID = GetLayerId;
    mLayer.AEGP_GetLayerToWorldXform = GetTransform;
    mLayer.AEGP_GetLayerFromLayerID = GetLayerFromId;
    host.AddSuite(kAEGPLayerSuite, kAEGPLayerSuiteVersion8, &mLayer);
    mItem6.AEGP_GetFirstProjItem = GetFirstItem;
    mItem6.AEGP_GetNextProjItem = GetNextItem;
    mItem6.AEGP_GetItemType = GetItemType;
    host.AddSuite(kAEGPItemSuite, kAEGPItemSuiteVersion6, &mItem6);
    mItem9.AEGP_GetItemName = GetItemName;
    mItem9.AEGP_CreateNewFolder = CreateFolder;
    host.AddSuite(kAEGPItemSuite, kAEGPItemSuiteVersion9, &mItem9);
    mFootage.AEGP_GetMainFootageFromItem = GetMainFootage;
    mFootage.AEGP_GetFootagePath = GetFootagePath;
    mFootage.AEGP_NewFootage = NewFootage;
    mFootage.AEGP_AddFootageToProject = AddFootage;
    mFootage.AEGP_DisposeFootage = DisposeFootage;
    host.AddSuite(kAEGPFootageSuite, kAEGPFootageSuiteVersion5, &mFootage);
    mProj.AEGP_GetProjectByIndex = GetProject;
    mProj.AEGP_GetProjectRootFolder = GetRootFolder;
    host.AddSuite(kAEGPProjSuite, kAEGPProjSuiteVersion6, &mProj);
    mMemory.AEGP_FreeMemHandle = FreeMemory;
    mMemory.AEGP_LockMemHandle = LockMemory;
    mMemory.AEGP_UnlockMemHandle = UnlockMemory;
    mMemory.AEGP_GetMemHandleSize = GetMemorySize;
    host.AddSuite(kAEGPMemorySuite, kAEGPMemorySuiteVersion1, &mMemory);
    mCameraSuite.AEGP_GetCameraType = GetCameraType;
    host.AddSuite(kAEGPCameraSuite, kAEGPCameraSuiteVersion2, &mCameraSuite);
    mParamUtils.PF_UpdateParamUI = UpdateParamUI;
    host.AddSuite(kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3, &mParamUtils);

    AddItem(AEGP_ItemType_FOLDER, u"Root", {});
    mEffectLayer = &AddLayer(nullptr);
}

FakeProject::~FakeProject() { sProject = nullptr; }

FakeProject& FakeProject::Get() { return *sProject; }

FakeItem& FakeProject::AddItem(AEGP_ItemType type, std::u16string name, std::u16string path) {
    mItems.push_back(std::make_unique<FakeItem>(FakeItem{type, std::move(name), std::move(path)}));
    return *mItems.back();
}

FakeLayer& FakeProject::AddLayer(FakeItem* source) {
    mLayers.push_back(std::make_unique<FakeLayer>(FakeLayer{mNextId++, source}));
    return *mLayers.back();
}

FakeLayer* FakeProject::FindLayer(A_long id) {
    for (const auto& layer : mLayers) {
        if (layer->mId == id) return layer.get();
    }
    return nullptr;
}

}  // namespace test
