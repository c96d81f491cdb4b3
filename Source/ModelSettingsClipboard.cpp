#include "ModelSettingsClipboard.h"

#include <string>

#include <nlohmann/json.hpp>

#include "Plugin.h"
#include "PluginBase/AE/TextAE.h"
#include "PluginBase/AE/UndoGroup.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"

namespace model_settings {
namespace {

constexpr std::int32_t kWarning = 1;

std::int32_t GetBase(std::int32_t slot) { return slot * Plugin::kSlotEntries; }

}  // namespace

void ShiftIds(nlohmann::json& values, const zeb::ParametersManagerBase& manager, std::int32_t offset) {
    const auto count = static_cast<std::int32_t>(manager.GetTable().size());
    for (nlohmann::json& element : values) {
        const double id = element.at("id").get<double>();
        // A number that no id can be is unknown like any other.
        if (!(id >= 0.0 && id <= 4294967295.0)) continue;
        const std::int32_t index = manager.FindIndexByNumId(static_cast<std::uint32_t>(id));
        const std::int32_t shifted = index + offset;
        if (index < 0 || shifted < 0 || shifted >= count) continue;
        element["id"] = manager.GetTable()[static_cast<std::size_t>(shifted)].mUniqueId;
    }
}

void Copy(zeb::PluginBaseCommon& plugin, Clipboard& clipboard, std::int32_t slot) {
    const std::int32_t base = GetBase(slot);
    nlohmann::json values = plugin.GetParameterValues(base);
    if (base != 0) ShiftIds(values, plugin.GetParametersManager(), -base);
    clipboard.SetText(zeb::ToUtf16(values.dump(-1, ' ')));
}

void Paste(zeb::PluginBaseCommon& plugin, Clipboard& clipboard, std::int32_t slot) {
    const std::int32_t base = GetBase(slot);
    const std::string text = zeb::ToUtf8(clipboard.GetText());
    if (text.empty()) plugin.ShowMessage("Failed to get a text from the clipboard", kWarning);
    nlohmann::json values = nlohmann::json::parse(text);
    if (base != 0) ShiftIds(values, plugin.GetParametersManager(), base);
    zeb::UndoGroup group(plugin, "Load Values");
    plugin.LoadValues(values);
    group.End();
}

void Reset(zeb::PluginBaseCommon& plugin, std::int32_t slot) {
    zeb::UndoGroup group(plugin, "Reset Values");
    plugin.ResetValues(GetBase(slot));
    group.End();
}

}  // namespace model_settings
