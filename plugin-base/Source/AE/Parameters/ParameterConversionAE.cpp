#include "ParameterConversionAE.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/ImageInfoUtilAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace zeb {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegreesPerRadian = 57.29577951308232;
constexpr double kFixedOne = 65536.0;

[[noreturn]] void ThrowUnsupportedControl(const ParameterDescription& description) {
    ZEB_THROW(kInternalError,
              fmt::format("Unsupported control type {}", static_cast<std::int32_t>(description.mControl)));
}

bool IsAbsolute(const ParameterDescription& description) {
    const auto* settings = dynamic_cast<const ParameterPointSettings*>(description.mSettings.get());
    return settings != nullptr && settings->absolutePosition;
}

glm::dvec3 GetColor(const PF_ParamDef& def) {
    const auto& pixel = def.u.cd.value;
    return glm::dvec3(static_cast<double>(pixel.red), static_cast<double>(pixel.green),
                      static_cast<double>(pixel.blue)) /
           255.0;
}

/// Factors from the render's positions to full resolution.
glm::dvec3 GetToFull() {
    const DownsampleAE downsample = GetDownsample(*InData());
    const double x = 1.0 / downsample.GetX();
    return {x, 1.0 / downsample.GetY(), x};
}

glm::dvec3 GetLayerSize(DepthUnit depthUnit) {
    const PF_InData& inData = *InData();
    const double width = inData.width;
    const double height = inData.height;
    return {width, height, depthUnit == DepthUnit::LayerHeight ? height : width};
}

void SetPoint(const glm::dvec3& value, PF_ParamDef& def) {
    const glm::dvec3 scaled = value / GetToFull();
    def.u.point3d_d.x_value = scaled.x;
    def.u.point3d_d.y_value = scaled.y;
    def.u.point3d_d.z_value = scaled.z;
}

void SetColor(const glm::vec3& value, PF_ParamDef& def) {
    const A_u_char alpha = def.u.cd.value.alpha;
    def.u.cd.value = ToPixel(value);
    def.u.cd.value.alpha = alpha;
}

}  // namespace

double GetDoubleFromDef(const ParameterDescription& description, const PF_ParamDef& def) {
    switch (description.mControl) {
        case ControlType::FloatSlider:
            return description.HasFlag(ParameterFlag::DisplayPercent) ? def.u.fs_d.value * 0.01 : def.u.fs_d.value;
        case ControlType::Angle: return def.u.ad.value / kFixedOne * (kPi / 180.0);
        default: ThrowUnsupportedControl(description);
    }
}

glm::vec3 GetVec3FromDef(const ParameterDescription& description, const PF_ParamDef& def) {
    switch (description.mControl) {
        case ControlType::Color: return glm::vec3(GetColor(def));
        case ControlType::Point3: {
            const PF_Point3DDef& point = def.u.point3d_d;
            return glm::vec3(glm::dvec3(point.x_value, point.y_value, point.z_value) * GetToFull());
        }
        default: ThrowUnsupportedControl(description);
    }
}

glm::vec3 GetRawVec3FromDef(const ParameterDescription& description, const PF_ParamDef& def, DepthUnit depthUnit) {
    if (description.mControl != ControlType::Point3 || IsAbsolute(description)) return GetVec3FromDef(description, def);
    const PF_Point3DDef& point = def.u.point3d_d;
    const glm::dvec3 pixels = glm::dvec3(point.x_value, point.y_value, point.z_value) * GetToFull();
    return glm::vec3(pixels / GetLayerSize(depthUnit));
}

std::string GetCustomFromDef(const ParameterDescription& description, const PF_ParamDef& def) {
    const auto& settings = description.GetSettings<ParameterCustomSettings>();
    return GetArbHandler(settings.valueType).LockObject(def.u.arb_d.value)->ToJSON();
}

void SetDoubleInDef(const ParameterDescription& description, double value, PF_ParamDef& def) {
    switch (description.mControl) {
        case ControlType::FloatSlider:
            def.u.fs_d.value = description.HasFlag(ParameterFlag::DisplayPercent) ? value * 100.0 : value;
            return;
        case ControlType::Angle: def.u.ad.value = ToFixed(value * kDegreesPerRadian); return;
        default: ThrowUnsupportedControl(description);
    }
}

void SetVec3InDef(const ParameterDescription& description, const glm::vec3& value, PF_ParamDef& def) {
    switch (description.mControl) {
        case ControlType::Color: SetColor(value, def); return;
        case ControlType::Point3: SetPoint(glm::dvec3(value), def); return;
        default: ThrowUnsupportedControl(description);
    }
}

void SetRawVec3InDef(const ParameterDescription& description, const glm::vec3& value, PF_ParamDef& def) {
    if (description.mControl != ControlType::Point3 || IsAbsolute(description)) {
        SetVec3InDef(description, value, def);
        return;
    }
    SetPoint(glm::dvec3(value) * GetLayerSize(DepthUnit::LayerHeight), def);
}

PF_Fixed ToFixed(double degrees) {
    const double fixed = degrees * kFixedOne;
    const double rounded = fixed < 0.0 ? fixed - 0.5 : fixed + 0.5;
    if (std::isnan(rounded)) return 0;
    return static_cast<PF_Fixed>(std::clamp(rounded, static_cast<double>(std::numeric_limits<PF_Fixed>::min()),
                                            static_cast<double>(std::numeric_limits<PF_Fixed>::max())));
}

PF_Pixel ToPixel(const glm::vec3& color) {
    // A comparison that fails for NaN gives 0.
    const auto toByte = [](float component) {
        const float scaled = component * 255.0F;
        return static_cast<A_u_char>(scaled > 0.0F ? std::min(scaled, 255.0F) : 0.0F);
    };
    PF_Pixel pixel{};
    pixel.alpha = 255;
    pixel.red = toByte(color.r);
    pixel.green = toByte(color.g);
    pixel.blue = toByte(color.b);
    return pixel;
}

PF_ParamDef& GetParamDef(PF_ParamDef** params, const ParameterDescription& description) {
    const std::int32_t index = description.mParameterIndex;
    const A_long count = InData()->num_params;
    // Some commands leave the count at 0.
    if (params == nullptr || index < 0 || (count > 0 && index >= count) || params[index] == nullptr)
        ZEB_THROW(kInternalError, fmt::format("The parameter \"{}\" is not among those of the command, host index {}",
                                              description.mFullName, index));
    return *params[index];
}

}  // namespace zeb
