#include "PluginBase/Parameters/Values/ParameterAccess.h"

#include "PluginBase/Exception.h"

namespace zeb {

const ParameterCurrentValueGetter& ParameterBase::GetCurrentValueGetter() const {
    if (mGetter == nullptr) ZEB_THROW(kInternalError, "Failed to get the current value getter.");
    return *mGetter;
}

const ParameterInitialProperties::Row& ParameterInitialProperties::GetRow(const ParameterDescription& d) const {
    return mRows.at(static_cast<std::size_t>(d.mIndex));
}

ParameterInitialProperties::Row& ParameterInitialProperties::GetRow(const ParameterDescription& d) {
    return mRows.at(static_cast<std::size_t>(d.mIndex));
}

bool ParameterInitialProperties::IsVisible(const ParameterDescription& d) const { return GetRow(d).mVisible; }
void ParameterInitialProperties::SetVisible(const ParameterDescription& d, bool visible) {
    GetRow(d).mVisible = visible;
}
bool ParameterInitialProperties::IsEnabled(const ParameterDescription& d) const { return GetRow(d).mEnabled; }
void ParameterInitialProperties::DoEnable(const ParameterDescription& d, bool enabled) { GetRow(d).mEnabled = enabled; }
std::string ParameterInitialProperties::GetName(const ParameterDescription& d) const { return GetRow(d).mName; }
void ParameterInitialProperties::SetName(const ParameterDescription& d, const std::string& name) {
    GetRow(d).mName = name;
}

}  // namespace zeb
