#include <fmt/format.h>

#include <cmath>
#include <limits>

#include "NimbrelConvert/ModelCache.h"
#include "NimbrelHost/Commands/CustomData.h"
#include "NimbrelHost/Scene/AnimationJson.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/User/Settings.h"

// Parameters and scenes as JSON, for people and programs to read.

namespace nimbrel::host {
namespace {

// Text that isn't JSON is shown as it is; the list is for reading.
Json WriteCustom(Host& host, const Parameter& parameter, PF_Handle handle) {
    const std::string text = PrintCustom(host, parameter, handle);
    Json value = Json::parse(text, nullptr, false);
    return value.is_discarded() ? Json(text) : value;
}

/// `folder`: what paths are relative to; empty for whole paths.
Json WriteValue(Host& host, const Parameter& parameter, const ParameterValue& value,
                const std::filesystem::path& folder) {
    const glm::dvec3& numbers = value.mNumbers;
    switch (parameter.GetType()) {
        case PF_Param_SLIDER:
        case PF_Param_POPUP: return static_cast<int>(numbers.x);
        case PF_Param_CHECKBOX: return numbers.x != 0;
        case PF_Param_COLOR:
        case PF_Param_POINT_3D: return Json::array({numbers.x, numbers.y, numbers.z});
        case PF_Param_ARBITRARY_DATA: return WriteCustom(host, parameter, value.mCustom);
        // Relative where possible, so that a scene can move with its models.
        case PF_Param_LAYER: {
            const std::filesystem::path path =
                host.GetModels().GetOriginal(host.GetProject().GetLayerPath(static_cast<int>(numbers.x)));
            if (path.empty()) return nullptr;
            return PathText(folder.empty() ? path : std::filesystem::absolute(path).lexically_proximate(folder));
        }
        default: return numbers.x;
    }
}

void AddLimits(const PF_ParamDef& definition, Json& json) {
    const auto add = [&](const char* key, double limit, double none) {
        if (std::isfinite(limit) && std::abs(limit) < none) json[key] = limit;
    };
    if (definition.param_type == PF_Param_FLOAT_SLIDER) {
        const PF_FloatSliderDef& slider = definition.u.fs_d;
        const double none = static_cast<double>(std::numeric_limits<float>::max());
        add("validMin", static_cast<double>(slider.valid_min), none);
        add("validMax", static_cast<double>(slider.valid_max), none);
        add("displayMin", static_cast<double>(slider.slider_min), none);
        add("displayMax", static_cast<double>(slider.slider_max), none);
        json["precision"] = slider.precision;
        json["percent"] = (slider.display_flags & PF_ValueDisplayFlag_PERCENT) != 0;
    } else if (definition.param_type == PF_Param_SLIDER) {
        const PF_SliderDef& slider = definition.u.sd;
        // The ends of the number's range are no limits.
        const auto addInteger = [&](const char* key, A_long limit) {
            const bool limits =
                limit != std::numeric_limits<A_long>::min() && limit != std::numeric_limits<A_long>::max();
            if (limits) json[key] = limit;
        };
        addInteger("validMin", slider.valid_min);
        addInteger("validMax", slider.valid_max);
        addInteger("displayMin", slider.slider_min);
        addInteger("displayMax", slider.slider_max);
    }
}

Json ListParameter(Host& host, const Parameter& parameter) {
    Json json = {{"hostIndex", parameter.mIndex}, {"uniqueId", parameter.mUniqueId}};
    json["id"] = parameter.mId.empty() ? Json(nullptr) : Json(parameter.mId);
    json["name"] = parameter.mName;
    json["type"] = GetTypeName(parameter.GetType());
    json["flags"] = parameter.mDefinition.flags;
    AddLimits(parameter.mDefinition, json);
    if (parameter.GetType() == PF_Param_POPUP) json["choices"] = parameter.mChoices;
    if (!parameter.mLabel.empty()) json["label"] = parameter.mLabel;
    if (parameter.HasValue()) {
        const auto write = [&](const ParameterValue& value) { return WriteValue(host, parameter, value, {}); };
        json["default"] = write(parameter.mDefault);
        json["value"] = WriteAnimation(parameter.mValue, write);
    }
    return json;
}

}  // namespace

Json ListParameters(Host& host) {
    Json list = Json::array();
    for (const auto& parameter : host.GetParameters().GetAll()) list.push_back(ListParameter(host, *parameter));
    return list;
}

Json WriteScene(Host& host, const std::filesystem::path& folder) {
    Json scene = {{"composition", WriteComposition(host.GetProject().GetComposition())}};
    Json placement = WriteLayer(host.GetProject().GetComposition().mLayer);
    if (!placement.is_null()) scene["layer"] = std::move(placement);
    const Layer* const camera = host.GetProject().GetCameraLayer();
    if (camera != nullptr) scene["camera"] = WriteCamera(*camera->mCamera);
    Json nulls = Json::array();
    for (const auto& layer : host.GetProject().GetLayers()) {
        if (!layer->mNull) continue;
        const std::string parent = layer->mParent == nullptr ? "" : layer->mParent->mName;
        nulls.push_back(WriteNull({layer->mName, *layer->mNull, parent, {}}));
    }
    if (!nulls.empty()) scene["nulls"] = std::move(nulls);
    Json parameters = Json::object();
    for (const auto& parameter : host.GetParameters().GetAll()) {
        // Defaults are left out: they may get better in a later version.
        const Expression& expression = parameter->mExpression;
        const bool runs = expression.mEnabled && !expression.mText.empty();
        if (!parameter->mIsSet && !runs) continue;
        Json value = WriteAnimation(parameter->mValue, [&](const ParameterValue& key) {
            return WriteValue(host, *parameter, key, std::filesystem::absolute(folder));
        });
        if (runs) {
            if (!value.is_object()) value = {{"value", std::move(value)}};
            value["expression"] = expression.mText;
        }
        parameters[parameter->GetKey()] = std::move(value);
    }
    scene["parameters"] = std::move(parameters);
    return scene;
}

}  // namespace nimbrel::host
