#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "NimbrelHost/Scene/Camera.h"
#include "NimbrelHost/Scene/Composition.h"
#include "NimbrelHost/Support/JsonView.h"

namespace nimbrel::host {

/// One value for one parameter, as the user wrote it. What it means is known only when the effect has defined its
/// parameters.
struct Setting {
    std::string mId;  ///< catalogue id, shown name or #uniqueID
    Json mValue;
    std::string mFile;              ///< for messages: the scene file or the option
    std::string mKey;               ///< for messages
    std::filesystem::path mFolder;  ///< what relative paths are relative to
    std::string mBareText;          ///< of --set: the text before it was taken for JSON
};

struct Scene {
    Composition mComposition;
    std::optional<Camera> mCamera;
    std::vector<NullSetting> mNulls;  ///< topmost first
    std::vector<Setting> mSettings;   ///< in order; later ones win
};

/// What is to be changed of a scene's composition, before anything takes its defaults from it; empty: nothing.
using CompositionChange = std::function<void(Composition&)>;

/// Reads a scene file. Throws UsageError with file, key and what was expected.
Scene ReadScene(const std::filesystem::path& file, const CompositionChange& change = {});

/// The same from a parsed document; `file` names it in messages, relative paths count from `folder`.
Scene ParseScene(const Json& document, const std::string& file, const std::filesystem::path& folder,
                 const CompositionChange& change = {});

/// What fits a composition, checked alike for scenes and for options.
int ReadDimension(const JsonView& view);
double ReadFrameRate(const JsonView& view);
int ReadBitsPerChannel(const JsonView& view);
int ReadDownsample(const JsonView& view);

Json WriteComposition(const Composition& composition);
/// What differs from a layer that begins and ends with the composition and is as large; null where nothing does.
Json WriteLayer(const LayerPlacement& layer);
Json WriteCamera(const Camera& camera);
Json WriteNull(const NullSetting& null);

}  // namespace nimbrel::host
