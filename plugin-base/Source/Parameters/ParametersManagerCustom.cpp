// The custom types: the catalogue's entries of ramps and gradients, with their editors and what follows from an edit.
#include <iterator>

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"
#include "PluginBase/Parameters/ParameterPacker.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"
#include "PluginBase/UI/GradientInteract.h"
#include "PluginBase/UI/RampInteract.h"
#include "Values/JsonRead.h"

namespace zeb {
namespace {

using json::Field;
using json::Json;

/// The host's side adds what it needs to hold a value of the type.
UniquePtr<ParameterSettings> MakeCustomSettings(const std::string& valueType, const ParametersManagerOptions& options) {
    auto settings = MakeUnique<ParameterCustomSettings>();
    settings->valueType = valueType;
    if (options.mCompleteCustomSettings) options.mCompleteCustomSettings(*settings);
    return settings;
}

Gradient ReadGradient(const ParameterCurrentValueGetter& getter, std::int32_t index) {
    Gradient gradient;
    gradient.FromJSON(getter.GetCustom(index));
    return gradient;
}

}  // namespace

ParametersManagerBase::ParametersManagerBase(ParametersManagerOptions options) : mOptions(std::move(options)) {
    // The registry of custom types: a further type is a further entry here.
    // Sizes are those of the controls' editors in the effect's panel, in pixels.
    CustomType ramp;
    ramp.mMakeInteractInfo = [](const ParameterDescription&, const Json& entry) {
        const std::int32_t showControlIndex = json::ReadInt32(Field(entry, "showControlIndex"));
        ParameterInteractInfo info{.mShowControlIndex = showControlIndex, .mWidth = 150, .mHeight = 140};
        info.mMakeInteract = [showControlIndex](std::int32_t index) -> UniquePtr<InteractBase> {
            return MakeUnique<RampInteract>(index, showControlIndex);
        };
        return info;
    };
    ramp.mMakeSettings = [this](const ParameterDescription&, const Json&) {
        return MakeCustomSettings("Ramp", mOptions);
    };
    ramp.mCheckText = [](std::string_view text) { Ramp().FromJSON(text); };
    mCustomTypes.emplace("Ramp", std::move(ramp));

    CustomType gradient;
    gradient.mMakeInteractInfo = [this](const ParameterDescription&, const Json& entry) {
        ParameterInteractInfo info{.mShowControlIndex = json::ReadInt32(Field(entry, "showControlIndex")),
                                   .mColorIndex = json::ReadInt32(Field(entry, "colorIndex")),
                                   .mWidth = 150,
                                   .mHeight = 50};
        GradientInteract::Options interact{.mColorIndex = info.mColorIndex,
                                           .mShowControlIndex = info.mShowControlIndex,
                                           .mUsesInteractColorPicker = mOptions.mUsesInteractColorPicker,
                                           .mColorPicker = mOptions.mColorPickerDialog};
        info.mMakeInteract = [interact](std::int32_t index) -> UniquePtr<InteractBase> {
            GradientInteract::Options own = interact;
            own.mIndex = index;
            return MakeUnique<GradientInteract>(std::move(own));
        };
        return info;
    };
    gradient.mMakeSettings = [this](const ParameterDescription&, const Json&) {
        return MakeCustomSettings("Gradient", mOptions);
    };
    gradient.mAfterLoad = [this](const ParameterDescription& description, const Json& entry) {
        RegisterParameterChangedHandler(description, entry);
    };
    gradient.mCheckText = [](std::string_view text) { Gradient().FromJSON(text); };
    mCustomTypes.emplace("Gradient", std::move(gradient));
}

void ParametersManagerBase::ReadCustom(const Json& entry, ParameterDescription& description) {
    const std::string valueType = json::ReadString(Field(entry, "valueType"));
    const auto type = mCustomTypes.find(valueType);
    if (type == mCustomTypes.end())
        ZEB_THROW(kInternalError, fmt::format("Failed to find custom parameter of type \"{}\"", valueType));
    if (type->second.mMakeInteractInfo) description.mInteractInfo = type->second.mMakeInteractInfo(description, entry);
    if (type->second.mMakeSettings) description.mSettings = type->second.mMakeSettings(description, entry);
    const Json& value = Field(entry, "default");
    if (!value.is_object()) (void)value.get<Json::object_t>();  // throws "type must be object, but is ..."
    mDefaultValueGetter->StoreCustom(description.mIndex, value.dump());
    if (type->second.mAfterLoad) type->second.mAfterLoad(description, entry);
}

void ParametersManagerBase::RegisterParameterChangedHandler(const ParameterDescription& description,
                                                            const Json& entry) {
    const std::int32_t gradientIndex = description.mIndex;
    const std::int32_t colorIndex = json::ReadInt32(Field(entry, "colorIndex"));
    const std::int32_t showControlIndex = json::ReadInt32(Field(entry, "showControlIndex"));
    // With the host's picker the colour is chosen in the editor, and the Color parameter is not shown.
    if (mOptions.mUsesInteractColorPicker) return;

    const auto storeColor = [gradientIndex](const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                            std::int32_t index) {
        Gradient gradient = ReadGradient(getter, gradientIndex);
        const std::int32_t selected = gradient.GetSelectedKey();
        if (selected < 0 || static_cast<std::size_t>(selected) >= gradient.keys.size()) return;
        std::next(gradient.keys.begin(), selected)->second.color = getter.GetVec3(index);
        setter.SetCustom(gradientIndex, gradient.GetTypeName(), gradient.ToJSON());
    };
    // The text speaks of the other kind of handler; users and tests know it in this form.
    if (!mChangeHandlers.emplace(colorIndex, storeColor).second)
        ZEB_THROW(kInternalError, fmt::format("UpdateUI handler for parameter {} already registered", colorIndex));
    mUpdateUIHandlers.emplace_back([=](const ParameterCurrentValueGetter& getter, ParameterProperties& properties) {
        const ParameterDescription& color = properties.GetDescription(colorIndex);
        const bool visible = getter.GetBool(showControlIndex);
        properties.SetVisible(color, visible);
        if (visible) properties.DoEnable(color, ReadGradient(getter, gradientIndex).GetSelectedKey() != -1);
    });
}

}  // namespace zeb
