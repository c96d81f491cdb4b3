#pragma once

#include <cstdint>

#include <nlohmann/json_fwd.hpp>

#include "Clipboard.h"
#include "PluginBase/PluginBaseCommon.h"

/// The settings of a model slot as text on the clipboard, in the numbering of slot 1, so that they may go to
/// any slot, effect and project. Slots count from 0. On the interface thread, inside a command of the host.
namespace model_settings {

/// A clipboard that fails leaves the settings uncopied, without a word.
void Copy(zeb::PluginBaseCommon& plugin, Clipboard& clipboard, std::int32_t slot);

/// One undo step. Throws the JSON library's exception when the clipboard holds no settings.
void Paste(zeb::PluginBaseCommon& plugin, Clipboard& clipboard, std::int32_t slot);

/// Sets the slot to its defaults, its file included, as one undo step.
void Reset(zeb::PluginBaseCommon& plugin, std::int32_t slot);

/// Writes the ids of the parameters `offset` catalogue entries away into the saved values. Ids that the
/// catalogue lacks, there or here, stay. Throws the JSON library's type_error for what is no saved value.
void ShiftIds(nlohmann::json& values, const zeb::ParametersManagerBase& manager, std::int32_t offset);

}  // namespace model_settings
