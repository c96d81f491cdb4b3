#include "ModelList.h"

#include <algorithm>
#include <unordered_set>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "ModelMatrices.h"
#include "Plugin.h"
#include "PluginBase/AE/TextAE.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Misc/Hash.h"

namespace {

/// Offset of `model_showModel` in "ModelConstants{}".
constexpr std::size_t kShowModelOffset = 64;

/// A key that the state lacks fails like one of the wrong type: with the JSON library's text.
std::string GetPathText(const nlohmann::json& state, std::uint32_t modelIndex) {
    const std::string key = fmt::format("Model{}", modelIndex);
    return (state.is_object() ? state.at(key) : state[key]).get<std::string>();
}

}  // namespace

std::vector<ModelList::Slot> ModelList::GetShownSlots(const zeb::DrawInfo& drawInfo) {
    std::vector<Slot> slots;
    for (std::uint32_t modelIndex = 1; modelIndex <= Plugin::kSlotCount; ++modelIndex) {
        std::string text = GetPathText(*drawInfo.mDrawState, modelIndex);
        if (text.empty()) continue;
        const std::string constants = fmt::format("ModelConstants{}", modelIndex);
        if (drawInfo.mPackedParameters->Read<std::int32_t>(constants, kShowModelOffset) == 0) continue;
        std::u16string path = zeb::ToUtf16(text);
        slots.push_back({modelIndex, std::move(text), std::move(path)});
    }
    return slots;
}

ModelList ModelList::Load(Plugin& plugin, const zeb::DrawInfo& drawInfo) {
    const std::vector<Slot> slots = GetShownSlots(drawInfo);
    const GaussianSplatAssetCreator::Settings settings = MakeModelSettings();
    std::unordered_set<std::string, zeb::StringHash, std::equal_to<>> pending;
    for (const Slot& slot : slots) {
        if (!plugin.IsAssetCached(slot.mPath, settings)) pending.insert(slot.mPathText);
    }

    ModelList list;
    std::int32_t current = 1;
    if (!pending.empty()) {
        list.mProgressTotal = static_cast<std::int32_t>(pending.size()) + 2;
        plugin.ProgressBegin("Loading Models", "LoadingModels");
        plugin.ProgressUpdate(current, list.mProgressTotal);
    }
    for (const Slot& slot : slots) {
        zeb::ComputeCacheResult<CacheableAsset> model = plugin.GetAsset(slot.mPath, settings);
        if (!model->IsLoaded()) ZEB_THROW(zeb::kInternalError, fmt::format("\"{}\": {}", slot.mPathText, model->error));
        if (pending.erase(slot.mPathText) != 0) plugin.ProgressUpdate(++current, list.mProgressTotal);
        list.AddSlot(slot, std::move(model), drawInfo);
    }
    return list;
}

void ModelList::AddSlot(const Slot& slot, zeb::ComputeCacheResult<CacheableAsset> model,
                        const zeb::DrawInfo& drawInfo) {
    const auto found = std::find(mPaths.begin(), mPaths.end(), slot.mPath);
    const auto group = static_cast<std::size_t>(found - mPaths.begin());
    if (found == mPaths.end()) {
        mGroups.push_back({model->asset.get(), {}});
        mPaths.push_back(slot.mPath);
        mCheckouts.push_back(std::move(model));
    }
    mGroups[group].instances.push_back(
        MakeModelInstance(slot.mModelIndex, ModelPlacement::Read(*drawInfo.mPackedParameters, slot.mModelIndex)));
}

void ModelList::EndProgress(Plugin& plugin) const {
    if (mProgressTotal == 0) return;
    plugin.ProgressUpdate(mProgressTotal, mProgressTotal);
    plugin.ProgressEnd();
}
