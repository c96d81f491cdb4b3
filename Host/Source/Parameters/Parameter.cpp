#include "NimbrelHost/Parameters/Parameter.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <glm/common.hpp>
#include <limits>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Similar.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

constexpr double kFixedOne = 65536;  // 16.16

struct TypeRow {
    int mType;
    std::string_view mName;
    bool mHasValue;
};

constexpr TypeRow kTypes[] = {
    {PF_Param_LAYER, "Layer", true},
    {PF_Param_SLIDER, "Slider", true},
    {PF_Param_ANGLE, "Angle", true},
    {PF_Param_CHECKBOX, "Checkbox", true},
    {PF_Param_COLOR, "Color", true},
    {PF_Param_POPUP, "Popup", true},
    {PF_Param_FLOAT_SLIDER, "FloatSlider", true},
    {PF_Param_ARBITRARY_DATA, "Custom", true},
    {PF_Param_GROUP_START, "GroupStart", false},
    {PF_Param_GROUP_END, "GroupEnd", false},
    {PF_Param_BUTTON, "Button", false},
    {PF_Param_POINT_3D, "Point3", true},
};

const TypeRow* FindType(int type) {
    const auto found =
        std::find_if(std::begin(kTypes), std::end(kTypes), [&](const TypeRow& row) { return row.mType == type; });
    return found == std::end(kTypes) ? nullptr : &*found;
}

// An effect joins a pop-up's choices with bars.
std::vector<std::string> SplitChoices(const char* joined) {
    std::vector<std::string> choices;
    std::string_view rest = joined == nullptr ? "" : joined;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('|'), rest.size());
        choices.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return choices;
}

// Defaults in host units. The records keep some as they are stored: fixed point, counted from 1, or percentages.
glm::dvec3 ReadDefault(const PF_ParamDef& definition, const Composition& composition) {
    const PF_ParamDefUnion& u = definition.u;
    switch (definition.param_type) {
        case PF_Param_SLIDER: return glm::dvec3(u.sd.dephault, 0, 0);
        case PF_Param_FLOAT_SLIDER: return glm::dvec3(static_cast<double>(u.fs_d.dephault), 0, 0);
        case PF_Param_ANGLE: return glm::dvec3(u.ad.dephault / kFixedOne, 0, 0);
        case PF_Param_CHECKBOX: return glm::dvec3(u.bd.dephault != 0 ? 1 : 0, 0, 0);
        case PF_Param_POPUP: return glm::dvec3(u.pd.dephault - 1, 0, 0);
        case PF_Param_COLOR: return glm::dvec3(u.cd.dephault.red, u.cd.dephault.green, u.cd.dephault.blue) / 255.0;
        case PF_Param_POINT_3D:
            return glm::dvec3(u.point3d_d.x_dephault * composition.LayerWidth(),
                              u.point3d_d.y_dephault * composition.LayerHeight(),
                              u.point3d_d.z_dephault * composition.LayerHeight()) /
                   100.0;
        default: return glm::dvec3(0);
    }
}

A_u_char ToByte(double channel) {
    return static_cast<A_u_char>(std::clamp(std::floor(channel * 255 + 0.5), 0.0, 255.0));
}

}  // namespace

std::string_view GetTypeName(int type) {
    const TypeRow* const row = FindType(type);
    return row == nullptr ? "Unknown" : row->mName;
}

bool Parameter::HasValue() const {
    const TypeRow* const row = FindType(GetType());
    return row != nullptr && row->mHasValue;
}

std::string Parameter::GetKey() const {
    if (!mId.empty()) return mId;
    return mName.empty() ? fmt::format("#{}", mUniqueId) : mName;
}

Parameter& ParameterTable::Add(const PF_ParamDef& definition, const Catalogue& catalogue,
                               const Composition& composition) {
    if (FindType(definition.param_type) == nullptr) {
        throw EffectError(fmt::format("the effect defined a parameter of type {}, which this host doesn't serve",
                                      definition.param_type));
    }
    auto parameter = std::make_unique<Parameter>();
    parameter->mIndex = static_cast<int>(mParameters.size()) + 1;
    parameter->mDefinition = definition;
    parameter->mUniqueId = definition.uu.id;
    parameter->mId = catalogue.GetId(definition.uu.id);
    parameter->mValueType = catalogue.GetValueType(definition.uu.id);
    parameter->mName.assign(definition.name, strnlen(definition.name, sizeof(definition.name)));
    // The effect's texts end with the call; the host shows its own copies.
    const char* label = nullptr;
    if (definition.param_type == PF_Param_POPUP) {
        parameter->mChoices = SplitChoices(std::exchange(parameter->mDefinition.u.pd.u.namesptr, nullptr));
    } else if (definition.param_type == PF_Param_CHECKBOX) {
        label = std::exchange(parameter->mDefinition.u.bd.u.nameptr, nullptr);
        // Of check boxes this always holds, said or not.
        parameter->mDefinition.flags |= PF_ParamFlag_CANNOT_INTERP;
    } else if (definition.param_type == PF_Param_BUTTON) {
        label = std::exchange(parameter->mDefinition.u.button_d.u.namesptr, nullptr);
    }
    parameter->mLabel = label == nullptr ? "" : label;
    parameter->mDefault.mNumbers = ReadDefault(definition, composition);
    parameter->mValue = Animation<ParameterValue>::Constant({parameter->mDefault.mNumbers, nullptr});
    mParameters.push_back(std::move(parameter));
    return *mParameters.back();
}

Parameter* ParameterTable::Get(int index) {
    if (index < 1 || index > static_cast<int>(mParameters.size())) return nullptr;
    return mParameters[static_cast<std::size_t>(index) - 1].get();
}

Parameter* ParameterTable::FindById(std::string_view id) {
    for (const auto& parameter : mParameters) {
        if (!id.empty() && parameter->mId == id) return parameter.get();
    }
    return nullptr;
}

Parameter& ParameterTable::Find(std::string_view id, const std::string& where) {
    if (Parameter* const parameter = FindById(id)) return *parameter;
    int number = 0;
    const bool isNumber = id.size() > 1 && id[0] == '#' &&
                          std::from_chars(id.data() + 1, id.data() + id.size(), number).ptr == id.data() + id.size();
    Parameter* found = nullptr;
    bool isButton = false;
    // Shown names serve where they are unique. Buttons of all slots share theirs, so these go by id or number only.
    std::vector<std::string> names;
    for (const auto& parameter : mParameters) {
        if (isNumber ? parameter->mUniqueId == number : parameter->mName == id && parameter->HasValue()) {
            if (found != nullptr) {
                throw UsageError(fmt::format("{}: several parameters are called {}, expected an id or #uniqueID",
                                             Unquoted(where), Quote(id)));
            }
            found = parameter.get();
        }
        isButton = isButton || parameter->mName == id;
        names.push_back(parameter->GetKey());
    }
    if (found != nullptr) return *found;
    if (isButton)
        throw UsageError(fmt::format("{}: {} has no value, expected an id or #uniqueID", Unquoted(where), Quote(id)));
    throw UsageError(fmt::format("{}: unknown parameter {}, expected an id of --list-parameters{}", Unquoted(where),
                                 Quote(id), SuggestSimilar(id, names)));
}

glm::dvec3 EvaluateNumbers(const Parameter& parameter, double seconds) {
    const KeySpan span = parameter.mValue.Find(seconds);
    const glm::dvec3 left = parameter.mValue.mKeys[span.mLeft].mValue.mNumbers;
    const int type = parameter.GetType();
    // There is nothing between on and off, between two choices or two layers.
    const bool held = type == PF_Param_CHECKBOX || type == PF_Param_POPUP || type == PF_Param_LAYER;
    if (held || span.mLeft == span.mRight) return left;
    const glm::dvec3 right = parameter.mValue.mKeys[span.mRight].mValue.mNumbers;
    const glm::dvec3 mixed = left + (right - left) * span.mFraction;
    return type == PF_Param_SLIDER ? glm::dvec3(std::round(mixed.x), 0, 0) : mixed;
}

glm::dvec3 ClampNumbers(const Parameter& parameter, const glm::dvec3& numbers) {
    constexpr double kMaxDegrees = 32767;  // of a 16.16 number
    const PF_ParamDefUnion& u = parameter.mDefinition.u;
    const auto within = [&](double low, double high) {
        return low < high ? glm::dvec3(std::clamp(numbers.x, low, high), 0, 0) : numbers;
    };
    switch (parameter.GetType()) {
        case PF_Param_SLIDER:
            return u.sd.valid_min < u.sd.valid_max
                       ? within(u.sd.valid_min, u.sd.valid_max)
                       : within(std::numeric_limits<A_long>::min(), std::numeric_limits<A_long>::max());
        case PF_Param_FLOAT_SLIDER:
            return within(static_cast<double>(u.fs_d.valid_min), static_cast<double>(u.fs_d.valid_max));
        case PF_Param_ANGLE: return within(-kMaxDegrees, kMaxDegrees);
        case PF_Param_POPUP: return within(0, static_cast<double>(parameter.mChoices.size()) - 1);
        case PF_Param_COLOR: return glm::clamp(numbers, 0.0, 1.0);
        default: return numbers;
    }
}

bool TakesExpression(const Parameter& parameter) {
    const int type = parameter.GetType();
    return parameter.HasValue() && type != PF_Param_LAYER && type != PF_Param_ARBITRARY_DATA;
}

glm::dvec3 ReadRecord(const PF_ParamDef& record, int downsample) {
    const PF_ParamDefUnion& u = record.u;
    switch (record.param_type) {
        case PF_Param_SLIDER: return {u.sd.value, 0, 0};
        case PF_Param_FLOAT_SLIDER: return {u.fs_d.value, 0, 0};
        case PF_Param_ANGLE: return {u.ad.value / kFixedOne, 0, 0};
        case PF_Param_CHECKBOX: return {u.bd.value != 0 ? 1 : 0, 0, 0};
        case PF_Param_POPUP: return {u.pd.value - 1, 0, 0};
        case PF_Param_COLOR: return glm::dvec3(u.cd.value.red, u.cd.value.green, u.cd.value.blue) / 255.0;
        case PF_Param_POINT_3D:
            return glm::dvec3(u.point3d_d.x_value, u.point3d_d.y_value, u.point3d_d.z_value) *
                   static_cast<double>(downsample);
        default: return glm::dvec3(0);
    }
}

void FillRecord(const Parameter& parameter, const glm::dvec3& numbers, int downsample, PF_ParamDef& record) {
    record = parameter.mDefinition;
    PF_ParamDefUnion& u = record.u;
    switch (parameter.GetType()) {
        case PF_Param_SLIDER: u.sd.value = static_cast<A_long>(numbers.x); break;
        case PF_Param_FLOAT_SLIDER: u.fs_d.value = numbers.x; break;
        case PF_Param_ANGLE: u.ad.value = static_cast<A_long>(std::lround(numbers.x * kFixedOne)); break;
        case PF_Param_CHECKBOX: u.bd.value = numbers.x != 0 ? 1 : 0; break;
        case PF_Param_POPUP: u.pd.value = static_cast<A_long>(numbers.x) + 1; break;
        case PF_Param_COLOR: u.cd.value = {255, ToByte(numbers.x), ToByte(numbers.y), ToByte(numbers.z)}; break;
        case PF_Param_POINT_3D:
            // In pixels of the picture being rendered, z along with x and y.
            u.point3d_d.x_value = numbers.x / downsample;
            u.point3d_d.y_value = numbers.y / downsample;
            u.point3d_d.z_value = numbers.z / downsample;
            break;
        case PF_Param_LAYER: u.ld = PF_LayerDef{}; break;  // the layer's picture is not rendered for it
        case PF_Param_ARBITRARY_DATA: u.arb_d.value = nullptr; break;
        default: break;
    }
}

}  // namespace nimbrel::host
