#include "FilePathAE.h"

#include "PluginBase/AE/AEGPObjects.h"
#include "PluginBase/AE/ThreadContextAE.h"

namespace zeb {
namespace {

/// The parameter's stream and the composition around the effect.
class PathParameter {
public:
    explicit PathParameter(const ParameterDescription& description)
        : mEffect(AEGP::Suites().GetEffect()),
          mStream(mEffect.GetNewEffectStreamByIndex(description.mParameterIndex)) {}

    AEGP_LayerIDVal GetLayerId() const {
        // Layer parameters do not vary over time.
        constexpr A_Time kStart{0, 1};
        return mStream.GetNewStreamValue(AEGP_LTimeMode_LayerTime, kStart, false).GetVal().layer_id;
    }

    void SetLayerId(AEGP_LayerIDVal id) const {
        constexpr A_Time kStart{0, 1};
        AEGP::StreamValue value = mStream.GetNewStreamValue(AEGP_LTimeMode_LayerTime, kStart, false);
        value.GetVal().layer_id = id;
        mStream.SetStreamValue(value.Get());
    }

    AEGP::Layer GetEffectLayer() const { return mEffect.GetEffectLayer(); }
    AEGP::Comp GetComp() const { return GetEffectLayer().GetLayerParentComp(); }

private:
    AEGP::Effect mEffect;
    AEGP::Stream mStream;
};

/// The path of an item's file; empty for what is not an imported file.
std::u16string GetItemPath(const AEGP::Item& item) {
    if (!item || item.GetItemType() != AEGP_ItemType_FOOTAGE) return {};
    return item.GetMainFootageFromItem().GetFootagePath();
}

void AddLayerForItem(const PathParameter& parameter, const AEGP::Item& item) {
    const AEGP::Comp comp = parameter.GetComp();
    if (!comp.IsAddLayerValid(item)) {
        parameter.SetLayerId(AEGP_LayerIDVal_NONE);
        return;
    }
    const AEGP::Layer layer = comp.AddLayer(item);
    AEGP::MoveLayerBelow(layer, parameter.GetEffectLayer());
    // The file's own picture is never drawn.
    layer.SetLayerFlag(AEGP_LayerFlag_VIDEO_ACTIVE, false);
    parameter.SetLayerId(layer.GetLayerID());
}

template <class Predicate>
AEGP::Item FindItem(const AEGP::Project& project, Predicate&& predicate) {
    AEGP::Item item = project.GetFirstProjItem();
    while (item && !predicate(item)) item = project.GetNextProjItem(item);
    return item;
}

AEGP::Item GetOrMakeFolder(const AEGP::Project& project, const std::u16string& name) {
    const AEGP::Item folder = FindItem(project, [&](const AEGP::Item& item) {
        return item.GetItemType() == AEGP_ItemType_FOLDER && item.GetItemName() == name;
    });
    return folder ? folder : project.GetProjectRootFolder().CreateNewFolder(name);
}

/// Chooses the first layer of the composition that shows the file.
bool SelectExistingLayer(const PathParameter& parameter, const std::u16string& path) {
    const AEGP::Comp comp = parameter.GetComp();
    const std::int32_t count = comp.GetCompNumLayers();
    for (std::int32_t i = 0; i < count; ++i) {
        const AEGP::Layer layer = comp.GetCompLayerByIndex(i);
        if (GetItemPath(layer.GetLayerSourceItem(false)) != path) continue;
        parameter.SetLayerId(layer.GetLayerID());
        return true;
    }
    return false;
}

}  // namespace

std::u16string GetFilePath(const ParameterDescription& description) {
    const PathParameter parameter(description);
    const AEGP_LayerIDVal id = parameter.GetLayerId();
    if (id == AEGP_LayerIDVal_NONE) return {};
    const AEGP::Item item = parameter.GetComp().GetLayerFromLayerID(id).GetLayerSourceItem(false);
    if (!item || item.GetItemType() != AEGP_ItemType_FOOTAGE) {
        SetMessage(OutData(), "Failed to get a path: the layer must be of type footage");
        return {};
    }
    std::u16string path = item.GetMainFootageFromItem().GetFootagePath();
    if (path.empty()) SetMessage(OutData(), "Failed to get a path: the footage is not an imported file");
    return path;
}

void SetFilePath(const ParameterDescription& description, const std::u16string& path,
                 const std::function<std::u16string(const std::u16string&)>& getFolderName) {
    const PathParameter parameter(description);
    const AEGP_LayerIDVal id = parameter.GetLayerId();
    std::u16string current;
    if (id != AEGP_LayerIDVal_NONE)
        current = GetItemPath(parameter.GetComp().GetLayerFromLayerID(id).GetLayerSourceItem(false));
    if (current == path) return;
    if (path.empty()) {
        parameter.SetLayerId(AEGP_LayerIDVal_NONE);
        return;
    }
    if (SelectExistingLayer(parameter, path)) return;

    const AEGP::Suites suites;
    const AEGP::Project project = suites.GetProjectByIndex(0);
    AEGP::Item item = FindItem(project, [&](const AEGP::Item& candidate) { return GetItemPath(candidate) == path; });
    if (!item) {
        AEGP::Footage footage = suites.NewFootage(path, AEGP_InterpretationStyle_NO_DIALOG_NO_GUESS);
        item = GetOrMakeFolder(project, getFolderName(path)).AddFootageToProject(footage);
    }
    AddLayerForItem(parameter, item);
}

void ClearFilePath(const ParameterDescription& description) {
    const PathParameter parameter(description);
    if (parameter.GetLayerId() != AEGP_LayerIDVal_NONE) parameter.SetLayerId(AEGP_LayerIDVal_NONE);
}

}  // namespace zeb
