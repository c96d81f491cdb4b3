#pragma once

#include <string_view>

#include "NimbrelHost/Support/JsonView.h"

namespace nimbrel::host {

/// Checks the JSON form of a custom value of a type that the catalogue names, "Ramp" or "Gradient", so that a complaint
/// names the key at fault; the effect would only refuse the whole. Values of other types are left to the effect. Throws
/// UsageError.
void CheckCustomForm(std::string_view valueType, const JsonView& view);

}  // namespace nimbrel::host
