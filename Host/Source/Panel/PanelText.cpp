#include "Panel/PanelText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host::panel {
namespace {

constexpr int kDigits = 1;  // of what has no precision of its own

/// Without a minus before zeros.
std::string Fixed(double number, int digits) {
    const double scale = std::pow(10.0, digits);
    const double rounded = std::round(number * scale) / scale;
    return fmt::format("{:.{}f}", rounded == 0 ? 0 : rounded, digits);
}

}  // namespace

std::string FormatNumber(const Parameter& parameter, double number) {
    const PF_ParamDefUnion& u = parameter.mDefinition.u;
    switch (parameter.GetType()) {
        case PF_Param_SLIDER: return fmt::format("{}", static_cast<int>(number));
        case PF_Param_FLOAT_SLIDER: {
            const bool isPercent = (u.fs_d.display_flags & PF_ValueDisplayFlag_PERCENT) != 0;
            return Fixed(number, std::clamp<int>(u.fs_d.precision, 0, 9)) + (isPercent ? " %" : "");
        }
        case PF_Param_ANGLE: {
            // Whole turns, and what is left of one.
            const double turns = std::trunc(number / 360);
            const double rest = number - turns * 360;
            return fmt::format("{}x {}{}\xc2\xb0", static_cast<int>(turns), rest < 0 ? "" : "+", Fixed(rest, kDigits));
        }
        default: return Fixed(number, kDigits);
    }
}

std::string FormatChoice(Host& host, const Parameter& parameter, double number) {
    const auto index = static_cast<std::size_t>(std::max(0.0, number));
    if (parameter.GetType() == PF_Param_POPUP) {
        return index < parameter.mChoices.size() ? parameter.mChoices[index] : std::string();
    }
    const std::filesystem::path file = host.GetProject().GetLayerPath(static_cast<int>(number));
    if (!file.empty()) return PathText(file.filename());
    return "None";
}

std::string FormatColor(const glm::dvec3& color) {
    const auto channel = [](double c) { return static_cast<int>(std::clamp(std::round(c * 255), 0.0, 255.0)); };
    return fmt::format("#{:02x}{:02x}{:02x}", channel(color.x), channel(color.y), channel(color.z));
}

double GetSliderPlace(const Parameter& parameter, double number) {
    const PF_ParamDefUnion& u = parameter.mDefinition.u;
    const bool isFloat = parameter.GetType() == PF_Param_FLOAT_SLIDER;
    const double low = isFloat ? static_cast<double>(u.fs_d.slider_min) : u.sd.slider_min;
    const double high = isFloat ? static_cast<double>(u.fs_d.slider_max) : u.sd.slider_max;
    return low < high ? std::clamp((number - low) / (high - low), 0.0, 1.0) : -1;
}

}  // namespace nimbrel::host::panel
