// Saving, loading and resetting the values of a group. Saved values are keyed by numeric id, so that they
// survive a catalogue in which places have shifted.
#include <functional>
#include <numbers>
#include <utility>

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "PluginBase/Misc/Utf8.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"
#include "Values/JsonRead.h"

namespace zeb {
namespace {

using json::Json;

/// Calls `visit` for every parameter of the group at `groupIndex` (of the table with -1) that has a value
/// and that the host knows.
template <class Visit>
void ForEachValue(const std::vector<ParameterDescription>& table, std::int32_t groupIndex, Visit visit) {
    // Groups nest; the walk ends where the depth comes back to that of its start.
    std::int32_t depth = 0;
    for (std::size_t i = groupIndex == -1 ? 0 : static_cast<std::size_t>(groupIndex); i < table.size(); ++i) {
        const ParameterDescription& description = table[i];
        if (description.mControl == ControlType::GroupBegin) ++depth;
        if (description.mControl == ControlType::GroupEnd) --depth;
        const bool hasValue = description.mValueKind != ValueKind::None && description.mValueKind != ValueKind::Clip;
        if (hasValue && description.mParameterIndex != -1) visit(description);
        if (groupIndex != -1 && depth <= 0) break;
    }
}

Json ReadValue(const ParameterCurrentValueGetter& getter, const ParameterDescription& description) {
    const std::int32_t index = description.mIndex;
    switch (description.mValueKind) {
        case ValueKind::Int: return getter.GetInt(index);
        case ValueKind::Double: return getter.GetDouble(index);
        case ValueKind::Vec3: {
            const glm::vec3 value = getter.GetVec3(index);
            return Json::array({value.x, value.y, value.z});
        }
        case ValueKind::Bool: return getter.GetBool(index);
        case ValueKind::String: return ToUtf8(getter.GetString(index));
        case ValueKind::Popup: return getter.GetPopup(index);
        case ValueKind::Custom: return json::Parse(getter.GetCustom(index));
        case ValueKind::None:
        case ValueKind::Clip: break;
    }
    return nullptr;
}

/// A choice that the pop-up has: the host would show any other as an empty control.
std::int32_t ReadPopup(const ParameterDescription& description, const Json& value) {
    const std::int32_t choice = json::ReadInt32(value);
    const std::size_t count = description.GetSettings<ParameterPopupSettings>().choices.size();
    if (choice < 0 || static_cast<std::size_t>(choice) >= count)
        ZEB_THROW(kInternalError, fmt::format("Parameter \"{}\" has {} choices, but the value is {}",
                                              description.mFullName, count, choice));
    return choice;
}

void WriteValue(ParameterValueSetter& setter, const ParameterDescription& description, const Json& value) {
    const std::int32_t index = description.mIndex;
    switch (description.mValueKind) {
        case ValueKind::Int: setter.SetInt(index, json::ReadInt32(value)); break;
        case ValueKind::Double: setter.SetDouble(index, json::ReadDouble(value)); break;
        case ValueKind::Vec3: {
            const Json& array = json::Array(value, 3);
            setter.SetVec3(index, {json::ReadFloat(array[0]), json::ReadFloat(array[1]), json::ReadFloat(array[2])});
            break;
        }
        case ValueKind::Bool: setter.SetBool(index, json::ReadBool(value)); break;
        case ValueKind::String: setter.SetString(index, ToUtf16(json::ReadString(value))); break;
        case ValueKind::Popup: setter.SetPopup(index, ReadPopup(description, value)); break;
        case ValueKind::Custom:
            // Dumping recurses, and the text may come from anywhere.
            json::CheckDepth(value);
            setter.SetCustom(index, description.GetSettings<ParameterCustomSettings>().valueType, value.dump());
            break;
        case ValueKind::None:
        case ValueKind::Clip: break;
    }
}

/// Sets nothing, so that what is wrong with values shows before the first of them is set.
class ValueChecker final : public ParameterValueSetter {
public:
    using CheckCustom = std::function<void(const std::string& valueType, const std::string& text)>;
    ValueChecker(const ParametersManagerBase& manager, CheckCustom checkCustom)
        : ParameterValueSetter(manager), mCheckCustom(std::move(checkCustom)) {}

protected:
    void DoSetInt(const ParameterDescription&, std::int32_t) override {}
    void DoSetDouble(const ParameterDescription&, double) override {}
    void DoSetVec3(const ParameterDescription&, const glm::vec3&) override {}
    void DoSetRawVec3(const ParameterDescription&, const glm::vec3&) override {}
    void DoSetBool(const ParameterDescription&, bool) override {}
    void DoSetString(const ParameterDescription&, const std::u16string&) override {}
    void DoClearString(const ParameterDescription&) override {}
    void DoSetPopup(const ParameterDescription&, std::int32_t) override {}
    void DoSetCustom(const ParameterDescription&, const std::string& valueType, const std::string& text) override {
        mCheckCustom(valueType, text);
    }

private:
    CheckCustom mCheckCustom;
};

/// By control type rather than value kind: an angle and a slider are both numbers, in different units.
void ResetValue(ParameterValueSetter& setter, const ParameterDefaultValueGetter& defaults,
                const ParameterDescription& description) {
    const std::int32_t index = description.mIndex;
    switch (description.mControl) {
        case ControlType::IntSlider: setter.SetInt(index, defaults.GetInt(index)); break;
        case ControlType::FloatSlider: setter.SetDouble(index, defaults.GetDouble(index)); break;
        case ControlType::Angle:
            // The catalogue's default is in degrees, values are in radians.
            setter.SetDouble(index, defaults.GetDouble(index) * (std::numbers::pi / 180.0));
            break;
        case ControlType::Color: setter.SetVec3(index, defaults.GetVec3(index)); break;
        // Defaults of points are fractions of the layer.
        case ControlType::Point3: setter.SetRawVec3(index, defaults.GetRawVec3(index)); break;
        case ControlType::Checkbox: setter.SetBool(index, defaults.GetBool(index)); break;
        case ControlType::FilePath: setter.ClearString(index); break;
        case ControlType::Popup: setter.SetPopup(index, defaults.GetPopup(index)); break;
        case ControlType::Custom:
            setter.SetCustom(index, description.GetSettings<ParameterCustomSettings>().valueType,
                             defaults.GetCustom(index));
            break;
        case ControlType::SourceClip:
        case ControlType::Clip:
        case ControlType::GroupBegin:
        case ControlType::GroupEnd:
        case ControlType::Button: break;
    }
}

}  // namespace

Json ParametersManagerBase::SaveValues(const ParameterCurrentValueGetter& getter, std::int32_t groupIndex) const {
    Json values = Json::array();
    ForEachValue(mTable, groupIndex, [&](const ParameterDescription& description) {
        values.push_back({{"id", description.mUniqueId}, {"value", ReadValue(getter, description)}});
    });
    return values;
}

void ParametersManagerBase::WriteValues(ParameterValueSetter& setter, const Json& values) const {
    for (const Json& element : json::Array(values)) {
        const double id = json::ReadDouble(element.at("id"));
        // A number that no id can be is unknown like any other; saved settings may come from elsewhere.
        if (!(id >= 0.0 && id <= 4294967295.0)) continue;
        const std::int32_t index = FindIndexByNumId(static_cast<std::uint32_t>(id));
        if (index < 0) continue;
        const ParameterDescription& description = mTable[static_cast<std::size_t>(index)];
        if (description.mParameterIndex != -1) WriteValue(setter, description, json::Field(element, "value"));
    }
}

void ParametersManagerBase::LoadValues(ParameterValueSetter& setter, const Json& values) const {
    ValueChecker checker(*this, [&](const std::string& valueType, const std::string& text) {
        mCustomTypes.at(valueType).mCheckText(text);
    });
    WriteValues(checker, values);
    WriteValues(setter, values);
}

void ParametersManagerBase::ResetValues(ParameterValueSetter& setter, std::int32_t groupIndex) const {
    ForEachValue(mTable, groupIndex, [&](const ParameterDescription& description) {
        ResetValue(setter, *mDefaultValueGetter, description);
    });
}

}  // namespace zeb
