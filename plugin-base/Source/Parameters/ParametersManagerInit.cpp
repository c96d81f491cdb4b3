// Reading the catalogue: from JSON text to the table of descriptions.
#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/ParameterPacker.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"
#include "Values/JsonRead.h"

namespace zeb {
namespace {

using json::Array;
using json::Field;
using json::Json;

/// Words of `skipAPI` and `skipConfigs` that mean this host and this build.
constexpr std::string_view kHostApi = "AE";
#ifdef NIMBREL_RELEASE
constexpr std::string_view kConfig = "Release";
#else
constexpr std::string_view kConfig = "Debug";
#endif

/// A word of the catalogue's `control` key and what it stands for.
struct ControlWord {
    std::string_view mWord;
    ControlType mControl;
    ValueKind mKind;
};

constexpr std::array kControls = {
    ControlWord{"SourceClip", ControlType::SourceClip, ValueKind::Clip},
    ControlWord{"Clip", ControlType::Clip, ValueKind::Clip},
    ControlWord{"GroupBegin", ControlType::GroupBegin, ValueKind::None},
    ControlWord{"GroupEnd", ControlType::GroupEnd, ValueKind::None},
    ControlWord{"Button", ControlType::Button, ValueKind::None},
    ControlWord{"IntSlider", ControlType::IntSlider, ValueKind::Int},
    ControlWord{"FloatSlider", ControlType::FloatSlider, ValueKind::Double},
    ControlWord{"Angle", ControlType::Angle, ValueKind::Double},
    ControlWord{"Color", ControlType::Color, ValueKind::Vec3},
    ControlWord{"Point3", ControlType::Point3, ValueKind::Vec3},
    ControlWord{"Checkbox", ControlType::Checkbox, ValueKind::Bool},
    ControlWord{"FilePath", ControlType::FilePath, ValueKind::String},
    ControlWord{"Popup", ControlType::Popup, ValueKind::Popup},
    ControlWord{"Custom", ControlType::Custom, ValueKind::Custom},
};

/// A word of the catalogue's `flags` key.
struct FlagWord {
    std::string_view mWord;
    ParameterFlag mFlag;
};

constexpr std::array kFlags = {
    FlagWord{"Default", ParameterFlag::Default},
    FlagWord{"ReceiveOnChangeEvent", ParameterFlag::ReceiveOnChangeEvent},
    FlagWord{"ExpandedAtStart", ParameterFlag::ExpandedAtStart},
    FlagWord{"DisplayPercent", ParameterFlag::DisplayPercent},
    FlagWord{"NotAnimatable", ParameterFlag::NotAnimatable},
    FlagWord{"Skip", ParameterFlag::Skip},
};

/// The row whose word is `word`, or null.
template <class Table>
const typename Table::value_type* FindWord(const Table& table, std::string_view word) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const auto& row) { return row.mWord == word; });
    return found == table.end() ? nullptr : &*found;
}

/// The value of a boxed key ({"key": {"value": ...}}); null if the key or the value is missing.
const Json& Boxed(const Json& entry, const char* key) {
    const Json& box = Field(entry, key);
    return box.is_null() ? box : Field(box, "value");
}

double BoxedDouble(const Json& entry, const char* key, double absent) {
    const Json& value = Boxed(entry, key);
    return value.is_null() ? absent : json::ReadDouble(value);
}

std::int32_t BoxedInt(const Json& entry, const char* key, std::int32_t absent) {
    const Json& value = Boxed(entry, key);
    return value.is_null() ? absent : json::ReadInt32(value);
}

bool BoxedBool(const Json& entry, const char* key) {
    const Json& value = Boxed(entry, key);
    return !value.is_null() && json::ReadBool(value);
}

glm::vec3 BoxedVec3(const Json& entry, const std::array<const char*, 3>& keys) {
    glm::vec3 vector(0.0F);
    for (int i = 0; i < 3; ++i) {
        const Json& value = Boxed(entry, keys[static_cast<std::size_t>(i)]);
        if (!value.is_null()) vector[i] = json::ReadFloat(value);
    }
    return vector;
}

/// The entry's flags in their order, and Skip for a parameter that this host or build must not show.
void ReadFlags(const Json& entry, std::vector<ParameterFlag>& flags) {
    if (entry.contains("flags")) {
        for (const Json& element : Array(entry["flags"])) {
            const std::string word = json::ReadString(element);
            const FlagWord* row = FindWord(kFlags, word);
            if (row == nullptr)
                ZEB_THROW(kInternalError, fmt::format("Failed to get a parameter flag from string {}", word));
            flags.push_back(row->mFlag);
        }
    }
    for (const auto& [key, word] : {std::pair("skipAPI", kHostApi), std::pair("skipConfigs", kConfig)}) {
        if (!entry.contains(key)) continue;
        for (const Json& element : Array(entry[key])) {
            if (json::ReadString(element) != word) continue;
            if (std::find(flags.begin(), flags.end(), ParameterFlag::Skip) == flags.end())
                flags.push_back(ParameterFlag::Skip);
            break;
        }
    }
}

// The settings of each control type. Limits that the entry lacks stay as the class has them: no limit.

UniquePtr<ParameterSettings> ReadIntSlider(const Json& entry) {
    auto settings = MakeUnique<ParameterIntSliderSettings>();
    settings->validMin = BoxedInt(entry, "validMin", settings->validMin);
    settings->validMax = BoxedInt(entry, "validMax", settings->validMax);
    settings->displayMin = json::ReadInt32(Boxed(entry, "displayMin"));
    settings->displayMax = json::ReadInt32(Boxed(entry, "displayMax"));
    return settings;
}

UniquePtr<ParameterSettings> ReadFloatSlider(const Json& entry) {
    auto settings = MakeUnique<ParameterFloatSliderSettings>();
    settings->validMin = BoxedDouble(entry, "validMin", settings->validMin);
    settings->validMax = BoxedDouble(entry, "validMax", settings->validMax);
    settings->displayMin = json::ReadDouble(Boxed(entry, "displayMin"));
    settings->displayMax = json::ReadDouble(Boxed(entry, "displayMax"));
    settings->precision = BoxedInt(entry, "precision", settings->precision);
    return settings;
}

UniquePtr<ParameterSettings> ReadAngle(const Json& entry) {
    auto settings = MakeUnique<ParameterAngleSettings>();
    settings->validMin = BoxedDouble(entry, "validMin", settings->validMin);
    settings->validMax = BoxedDouble(entry, "validMax", settings->validMax);
    return settings;
}

UniquePtr<ParameterSettings> ReadLabel(const Json& entry) {
    auto settings = MakeUnique<ParameterButtonCheckboxSettings>();
    const Json& label = Boxed(entry, "label");
    if (!label.is_null()) settings->label = json::ReadString(label);
    return settings;
}

UniquePtr<ParameterSettings> ReadPopup(const Json& entry) {
    auto settings = MakeUnique<ParameterPopupSettings>();
    for (const Json& choice : Array(Boxed(entry, "enum"))) settings->choices.push_back(json::ReadString(choice));
    return settings;
}

UniquePtr<ParameterSettings> ReadPoint(const Json& entry) {
    auto settings = MakeUnique<ParameterPointSettings>();
    settings->absolutePosition = BoxedBool(entry, "absolutePosition");
    return settings;
}

}  // namespace

void ParametersManagerBase::Init() {
    const Json catalogue = json::Parse(GetDescriptionText());
    mDefaultValueGetter = MakeUnique<ParameterDefaultValueGetter>(*this);
    const Json& entries = Array(Field(catalogue, "parameters"));
    mTable.reserve(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) ReadEntry(entries[i], static_cast<std::int32_t>(i));
    AssignParameterIndices();
    // Last, since packs refer to parameters by index. The parsed catalogue is not kept.
    mPacker = MakeUnique<ParameterPacker>(*this, catalogue);
}

void ParametersManagerBase::ReadEntry(const Json& entry, std::int32_t index) {
    const std::string word = json::ReadString(Field(entry, "control"));
    const ControlWord* control = FindWord(kControls, word);
    if (control == nullptr) ZEB_THROW(kInternalError, fmt::format("Failed to get a control type from string {}", word));

    ParameterDescription description;
    description.mIndex = index;
    description.mControl = control->mControl;
    description.mValueKind = control->mKind;
    description.mUniqueId = json::ReadUint32(Field(entry, "uniqueID"));
    description.mUniqueIdText = std::to_string(description.mUniqueId);
    description.mFullName = json::ReadString(Field(entry, "fullName"));
    description.mHint = json::ReadString(Field(entry, "hint"));
    description.mScriptName = json::ReadString(Field(entry, "scriptName"));
    ReadFlags(entry, description.mFlags);
    ReadSettings(entry, description);
    mTable.push_back(std::move(description));
}

void ParametersManagerBase::ReadSettings(const Json& entry, ParameterDescription& description) {
    ParameterDefaultValueGetter& defaults = *mDefaultValueGetter;
    const std::int32_t index = description.mIndex;
    switch (description.mControl) {
        case ControlType::SourceClip:
        case ControlType::Clip:
        case ControlType::GroupBegin:
        case ControlType::GroupEnd:
        case ControlType::FilePath: break;
        case ControlType::Button: description.mSettings = ReadLabel(entry); break;
        case ControlType::IntSlider:
            description.mSettings = ReadIntSlider(entry);
            defaults.StoreInt(index, BoxedInt(entry, "default", 0));
            break;
        case ControlType::FloatSlider:
            description.mSettings = ReadFloatSlider(entry);
            defaults.StoreDouble(index, BoxedDouble(entry, "default", 0.0));
            break;
        case ControlType::Angle:
            description.mSettings = ReadAngle(entry);
            defaults.StoreDouble(index, BoxedDouble(entry, "default", 0.0));
            break;
        case ControlType::Color:
            defaults.StoreVec3(index, BoxedVec3(entry, {"defaultRed", "defaultGreen", "defaultBlue"}));
            break;
        case ControlType::Point3:
            description.mSettings = ReadPoint(entry);
            defaults.StoreVec3(index, BoxedVec3(entry, {"defaultX", "defaultY", "defaultZ"}));
            break;
        case ControlType::Checkbox:
            description.mSettings = ReadLabel(entry);
            defaults.StoreBool(index, BoxedBool(entry, "default"));
            break;
        case ControlType::Popup:
            description.mSettings = ReadPopup(entry);
            defaults.StorePopup(index, BoxedInt(entry, "default", 0));
            break;
        case ControlType::Custom: ReadCustom(entry, description); break;
    }
}

void ParametersManagerBase::AssignParameterIndices() {
    // Host index 0 is the effect's input layer, which the host adds by itself.
    std::int32_t next = !mTable.empty() && mTable.front().mControl != ControlType::SourceClip ? 1 : 0;
    for (ParameterDescription& description : mTable) {
        mIndexByUniqueId[description.mUniqueId] = description.mIndex;
        mIndexByUniqueIdText[description.mUniqueIdText] = description.mIndex;
        // A skipped parameter keeps its place in the table, so that indices elsewhere stay valid.
        if (description.HasFlag(ParameterFlag::Skip)) continue;
        description.mParameterIndex = next;
        mIndexByParameterIndex[next++] = description.mIndex;
    }
}

}  // namespace zeb
