#pragma once

#include <glm/vec3.hpp>
#include <string>

#include "NimbrelHost/Commands/Host.h"

namespace nimbrel::host::panel {

/// A number as a panel shows it, with its digits and unit: "12.5 %", "1x +45.0°", "3".
std::string FormatNumber(const Parameter& parameter, double number);

/// What a pop-up or the choice of a layer shows.
std::string FormatChoice(Host& host, const Parameter& parameter, double number);

/// "#7fc0ff".
std::string FormatColor(const glm::dvec3& color);

/// Where a slider's knob is, 0 to 1; negative for a slider without a range.
double GetSliderPlace(const Parameter& parameter, double number);

}  // namespace nimbrel::host::panel
