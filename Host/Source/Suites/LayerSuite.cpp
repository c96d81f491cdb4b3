#include "NimbrelHost/Support/Text.h"
#include "Suites/SuiteSupport.h"

namespace nimbrel::host {
namespace {

// Functions that only read take any thread; those that change the project ask CheckMayChangeProject first.
A_Err GetCompNumLayers(Host& host, AEGP_CompH comp, A_long* count) {
    if (!IsComp(host, comp) || count == nullptr) return A_Err_PARAMETER;
    *count = static_cast<A_long>(host.GetProject().GetLayers().size());
    return A_Err_NONE;
}

A_Err GetCompLayerByIndex(Host& host, AEGP_CompH comp, A_long index, AEGP_LayerH* layer) {
    const auto& layers = host.GetProject().GetLayers();
    if (!IsComp(host, comp) || layer == nullptr || index < 0 || index >= static_cast<A_long>(layers.size())) {
        return A_Err_PARAMETER;
    }
    *layer = ToHandle(layers[static_cast<std::size_t>(index)].get());
    return A_Err_NONE;
}

A_Err GetLayerIndex(Host& host, AEGP_LayerH handle, A_long* index) {
    const Layer* const layer = ToLayer(host, handle);
    if (layer == nullptr || index == nullptr) return A_Err_PARAMETER;
    *index = host.GetProject().GetIndex(layer);
    return A_Err_NONE;
}

// Cameras and nulls have no source: a null item, and no error.
A_Err GetLayerSourceItem(Host& host, AEGP_LayerH handle, AEGP_ItemH* item) {
    const Layer* const layer = ToLayer(host, handle);
    if (layer == nullptr || item == nullptr) return A_Err_PARAMETER;
    *item = ToHandle(layer->mSource);
    return A_Err_NONE;
}

A_Err GetLayerParentComp(Host& host, AEGP_LayerH handle, AEGP_CompH* comp) {
    if (ToLayer(host, handle) == nullptr || comp == nullptr) return A_Err_PARAMETER;
    *comp = TheComp(host);
    return A_Err_NONE;
}

// Either name may be left out; the effect frees what it gets.
A_Err GetLayerName(Host& host, AEGP_PluginID, AEGP_LayerH handle, AEGP_MemHandle* layerName,
                   AEGP_MemHandle* sourceName) {
    const Layer* const layer = ToLayer(host, handle);
    if (layer == nullptr) return A_Err_PARAMETER;
    if (layerName != nullptr) *layerName = NewTextHandle(host, layer->mName);
    if (sourceName != nullptr)
        *sourceName = NewTextHandle(host, layer->mSource != nullptr ? layer->mSource->mName : "");
    return A_Err_NONE;
}

A_Err GetLayerFlags(Host& host, AEGP_LayerH handle, A_long* flags) {
    const Layer* const layer = ToLayer(host, handle);
    if (layer == nullptr || flags == nullptr) return A_Err_PARAMETER;
    *flags = layer->mFlags;
    return A_Err_NONE;
}

A_Err SetLayerFlag(Host& host, AEGP_LayerH handle, A_long flag, A_Boolean value) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    Layer* const layer = ToLayer(host, handle);
    if (layer == nullptr) return A_Err_PARAMETER;
    BeforeChange(host).Keep(*layer);
    layer->mFlags = value != 0 ? layer->mFlags | flag : layer->mFlags & ~flag;
    return A_Err_NONE;
}

// A composition inside itself would never end, and folders have no picture.
A_Err IsAddLayerValid(Host& host, AEGP_ItemH handle, AEGP_CompH comp, A_Boolean* valid) {
    const Item* const item = ToItem(host, handle);
    if (item == nullptr || !IsComp(host, comp) || valid == nullptr) return A_Err_PARAMETER;
    *valid = item->mKind == Item::Kind::Footage ? 1 : 0;
    return A_Err_NONE;
}

A_Err AddLayer(Host& host, AEGP_ItemH handle, AEGP_CompH comp, AEGP_LayerH* layer) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    Item* const item = ToItem(host, handle);
    if (item == nullptr || item->mKind != Item::Kind::Footage || !IsComp(host, comp) || layer == nullptr) {
        return A_Err_PARAMETER;
    }
    BeforeChange(host).KeepLists();
    *layer = ToHandle(host.GetProject().AddLayer(item));
    return A_Err_NONE;
}

A_Err ReorderLayer(Host& host, AEGP_LayerH handle, A_long index) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    Layer* const layer = ToLayer(host, handle);
    if (layer == nullptr) return A_Err_PARAMETER;
    BeforeChange(host).KeepLists();
    return host.GetProject().Reorder(layer, index) ? A_Err_NONE : A_Err_PARAMETER;
}

// Nulls are picture layers without a picture, so they answer as those do.
A_Err GetLayerObjectType(Host& host, AEGP_LayerH handle, A_long* type) {
    const Layer* const layer = ToLayer(host, handle);
    if (layer == nullptr || type == nullptr) return A_Err_PARAMETER;
    *type = layer->mKind == Layer::Kind::Camera ? AEGP_ObjectType_CAMERA : AEGP_ObjectType_AV;
    return A_Err_NONE;
}

A_Err GetLayerID(Host& host, AEGP_LayerH handle, A_long* id) {
    const Layer* const layer = ToLayer(host, handle);
    if (layer == nullptr || id == nullptr) return A_Err_PARAMETER;
    *id = layer->mId;
    return A_Err_NONE;
}

// For a camera this is camera-to-world; whoever wants a view matrix inverts it.
A_Err GetLayerToWorldXform(Host& host, AEGP_LayerH handle, const A_Time* time, A_Matrix4* matrix) {
    const Layer* const layer = ToLayer(host, handle);
    if (layer == nullptr || time == nullptr || matrix == nullptr) return A_Err_PARAMETER;
    *matrix = ToRowMatrix(layer->ToWorld(ToSeconds(time)));
    return A_Err_NONE;
}

A_Err SetLayerName(Host& host, AEGP_LayerH handle, const A_UTF16Char* name) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    Layer* const layer = ToLayer(host, handle);
    if (layer == nullptr || name == nullptr) return A_Err_PARAMETER;
    BeforeChange(host).Keep(*layer);
    layer->mName = ToUtf8(name);
    return A_Err_NONE;
}

// An id of a layer that is gone is an error and gives a null layer, so that neither alone is relied on.
A_Err GetLayerFromLayerID(Host& host, AEGP_CompH comp, A_long id, AEGP_LayerH* layer) {
    if (!IsComp(host, comp) || layer == nullptr) return A_Err_PARAMETER;
    *layer = ToHandle(host.GetProject().FindLayerById(id));
    return *layer == nullptr ? A_Err_PARAMETER : A_Err_NONE;
}

}  // namespace

void AddLayerSuite(SuiteRegistry& suites) {
    static const AEGP_LayerSuite8 suite = [] {
        auto table = MakeTable<AEGP_LayerSuite8>(kAEGPLayerSuite);
        NIMBREL_SERVE(table, AEGP_GetCompNumLayers, GetCompNumLayers);
        NIMBREL_SERVE(table, AEGP_GetCompLayerByIndex, GetCompLayerByIndex);
        NIMBREL_SERVE(table, AEGP_GetLayerIndex, GetLayerIndex);
        NIMBREL_SERVE(table, AEGP_GetLayerSourceItem, GetLayerSourceItem);
        NIMBREL_SERVE(table, AEGP_GetLayerParentComp, GetLayerParentComp);
        NIMBREL_SERVE(table, AEGP_GetLayerName, GetLayerName);
        NIMBREL_SERVE(table, AEGP_GetLayerFlags, GetLayerFlags);
        NIMBREL_SERVE(table, AEGP_SetLayerFlag, SetLayerFlag);
        NIMBREL_SERVE(table, AEGP_IsAddLayerValid, IsAddLayerValid);
        NIMBREL_SERVE(table, AEGP_AddLayer, AddLayer);
        NIMBREL_SERVE(table, AEGP_ReorderLayer, ReorderLayer);
        NIMBREL_SERVE(table, AEGP_GetLayerObjectType, GetLayerObjectType);
        NIMBREL_SERVE(table, AEGP_GetLayerID, GetLayerID);
        NIMBREL_SERVE(table, AEGP_GetLayerToWorldXform, GetLayerToWorldXform);
        NIMBREL_SERVE(table, AEGP_SetLayerName, SetLayerName);
        NIMBREL_SERVE(table, AEGP_GetLayerFromLayerID, GetLayerFromLayerID);
        return table;
    }();
    suites.Add(kAEGPLayerSuite, kAEGPLayerSuiteVersion8, &suite);
}

}  // namespace nimbrel::host
