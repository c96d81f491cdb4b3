#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Scene/Scene.h"

namespace nimbrel::host {

/// Gives a parameter the value that the user wrote, in host units. Model files are imported into the project.
/// Throws UsageError that names file, key and what was expected. Main thread.
void ApplySetting(Host& host, const Setting& setting);

/// The same as a user does it: the effect hears of a change that it asked to hear of, and may answer with a message or
/// take the value back. Throws UsageError, EffectError.
void ChooseSetting(Host& host, const Setting& setting);

/// Presses a button named by id, shown name or "#uniqueID". Throws UsageError for what is no button; EffectError.
void PressButton(Host& host, std::string_view id, const std::string& where);

/// Number of model slots that the effect has.
inline constexpr int kModelSlots = 5;

/// A parameter of a slot (1 to 5) by the rest of its catalogue id, such as "model" or "align_scale"; null if the effect
/// doesn't have it.
Parameter* FindSlotParameter(Host& host, int slot, std::string_view name);

/// The slot's model file; empty for none, and for a model that is not shown when `onlyShown`.
std::filesystem::path GetModelFile(Host& host, int slot, bool onlyShown);

/// Frames the shown models as they are turned at the beginning, or for a whole turn about the upright axis: align
/// anchor and scale of each from the splats of its file. Models that cannot be read stay as they are; the effect says
/// why when it draws them.
void FitModels(Host& host, bool isTurning = false);

/// All parameters as the host sees them, in host order, as a JSON array.
Json ListParameters(Host& host);

/// The scene as it stands, in the form of a scene file. Model paths are relative to `folder` where they can be.
Json WriteScene(Host& host, const std::filesystem::path& folder);

}  // namespace nimbrel::host
