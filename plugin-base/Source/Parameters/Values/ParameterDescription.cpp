#include "PluginBase/Parameters/Values/ParameterDescription.h"

#include <algorithm>

#include <fmt/format.h>

#include "PluginBase/Exception.h"

namespace zeb {

bool ParameterDescription::HasFlag(ParameterFlag flag) const {
    return std::find(mFlags.begin(), mFlags.end(), flag) != mFlags.end();
}

void ParameterDescription::ThrowWrongSettings() const {
    ZEB_THROW(kInternalError,
              fmt::format("Parameter {} (\"{}\") has no settings of the wanted class.", mIndex, mFullName));
}

}  // namespace zeb
