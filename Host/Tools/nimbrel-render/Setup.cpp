#include "Setup.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>
#include <iterator>

#include "NimbrelHost/Output/Output.h"
#include "NimbrelHost/Scene/PathMap.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/User/Settings.h"

namespace nimbrel::host {
namespace {

// Options are checked by the same rules as the scene's keys, under the option's name.
void ApplyOverrides(const CommandLine& line, Composition& composition) {
    if (!line.mSize.empty()) ParseSize(line.mSize, composition.mWidth, composition.mHeight);
    const auto read = [](const auto& option, const char* name, auto reader, auto& target) {
        if (!option) return;
        const Json value = *option;
        target = reader(JsonView(value, name));
    };
    read(line.mFrameRate, "--fps", ReadFrameRate, composition.mFrameRate);
    read(line.mDepth, "--depth", ReadBitsPerChannel, composition.mBitsPerChannel);
    read(line.mDownsample, "--downsample", ReadDownsample, composition.mDownsample);
    if (!line.mTurntable) return;
    // A scene may last longer than its turn; without one the turn is all there is.
    const double turn = *line.mTurntable;
    composition.mDuration = line.mScene.empty() ? turn : std::max(composition.mDuration, turn);
}

[[noreturn]] void FailWithoutSlots() {
    throw UsageError(
        "--model: expected an effect with Model1_model; is nimbrel-catalogue.json beside the program (see "
        "--catalogue)?");
}

/// "2=room.ply" or "room.ply", which takes the first slot without a model.
void ApplyModel(Host& host, const std::string& text) {
    if (FindSlotParameter(host, 1, "model") == nullptr) FailWithoutSlots();
    int slot = 0;
    std::string file = text;
    const std::size_t equals = text.find('=');
    const bool isNumbered = equals != std::string::npos && equals > 0 &&
                            std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(equals),
                                        [](char c) { return c >= '0' && c <= '9'; });
    if (isNumbered) {
        slot = equals == 1 ? text[0] - '0' : 0;
        file = text.substr(equals + 1);
        if (slot < 1 || slot > kModelSlots) {
            throw UsageError(
                fmt::format("--model: expected a slot from 1 to {}, but it is {}", kModelSlots, Quote(text)));
        }
    } else {
        // Backwards, so that the first free slot is the last found.
        for (int s = kModelSlots; s >= 1; --s) {
            if (FindSlotParameter(host, s, "model") != nullptr && GetModelFile(host, s, false).empty()) slot = s;
        }
        if (slot == 0)
            throw UsageError(
                fmt::format("--model: expected at most {} models, no slot is left for {}", kModelSlots, text));
    }
    ApplySetting(
        host, {fmt::format("Model{}_model", slot), Json(file), "--model", text, std::filesystem::current_path(), {}});
}

void ApplySet(Host& host, const std::string& text) {
    // A shown name may hold a blank but no "=".
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw UsageError(fmt::format("--set: expected ID=VALUE, but it is {}", Quote(text)));
    }
    Setting setting{text.substr(0, equals), {}, "--set", text.substr(0, equals), std::filesystem::current_path(), {}};
    const std::string value = text.substr(equals + 1);
    // What isn't JSON is taken as text: paths and choices need no quotes.
    const bool looksLikeJson = Json::accept(value);
    setting.mValue = looksLikeJson ? ParseJson(value, "--set " + setting.mId) : Json(value);
    if (!setting.mValue.is_string() || !looksLikeJson) setting.mBareText = value;
    ApplySetting(host, setting);
}

/// Paths within a value of a file parameter, its keyframes included.
void MapPaths(const PathMap& map, Json& value) {
    if (value.is_string()) {
        value = map.Apply(value.get<std::string>());
    } else if (value.is_structured()) {
        for (Json& inner : value) MapPaths(map, inner);
    }
}

void ApplySceneSetting(Host& host, const Setting& setting, const PathMap& map) {
    if (map.IsEmpty() || host.GetParameters().Find(setting.mId, setting.mFile).GetType() != PF_Param_LAYER)
        return ApplySetting(host, setting);
    Setting mapped = setting;
    MapPaths(map, mapped.mValue);
    ApplySetting(host, mapped);
}

/// One turn of each model about the axis that its align made upright, on top of how it is turned already.
void TurnModels(Host& host, double seconds) {
    bool turned = false;
    for (int slot = 1; slot <= kModelSlots; ++slot) {
        if (GetModelFile(host, slot, true).empty()) continue;
        Parameter* const parameter = FindSlotParameter(host, slot, "transform_yRotation");
        if (parameter == nullptr) continue;
        const double start = EvaluateNumbers(*parameter, 0).x;
        const std::string where = parameter->mId;
        const Json keys = Json::array({Json::array({0.0, start}), Json::array({seconds, start + 360})});
        ApplySetting(host, {where, Json{{"keyframes", keys}}, "--turntable", where, {}, {}});
        turned = true;
    }
    if (!turned) throw UsageError("--turntable: expected a model that is shown (see --model)");
}

}  // namespace

Scene ReadSceneOf(const CommandLine& line) {
    const auto change = [&](Composition& composition) { ApplyOverrides(line, composition); };
    if (line.mScene == "-") {
        const std::string text{std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
        const std::string name = "standard input";
        return ParseScene(ParseJson(text, name), name, std::filesystem::current_path(), change);
    }
    if (!line.mScene.empty()) return ReadScene(TextPath(line.mScene), change);
    Scene scene;
    change(scene.mComposition);
    return scene;
}

void ApplySettings(Host& host, const CommandLine& line, const Scene& scene) {
    PathMap map;
    for (const std::string& text : line.mMapPaths) map.Add(text);
    // Later ones win: the scene, then --model, then --set in the order given.
    for (const Setting& setting : scene.mSettings) ApplySceneSetting(host, setting, map);
    for (const std::string& model : line.mModels) ApplyModel(host, model);
    for (const std::string& set : line.mSets) ApplySet(host, set);
    // A turn alone does not say where a model stands.
    const auto isPlaced = [](const auto& parameter) {
        const std::string& id = parameter->mId;
        const bool places = id.find("_align_") != std::string::npos || id.find("_transform_") != std::string::npos;
        return parameter->mIsSet && places && !id.ends_with("Rotation");
    };
    const auto& parameters = host.GetParameters().GetAll();
    const bool placed = std::any_of(parameters.begin(), parameters.end(), isPlaced);
    if (line.mFit || (line.mScene.empty() && !placed)) FitModels(host, line.mTurntable.has_value());
    if (line.mTurntable) TurnModels(host, *line.mTurntable);
}

}  // namespace nimbrel::host
