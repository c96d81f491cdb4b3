#include "PluginBase/Parameters/ParameterAccess.h"

#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"

namespace zeb {

const ParameterDescription& ParameterDescriptionGetter::GetDescription(std::int32_t index) const {
    // A negative index becomes a huge one, so one check serves both ends.
    return mManager.GetTable().at(static_cast<std::size_t>(index));
}

const ParameterCurrentValueGetter& ParameterBase::GetCurrentValueGetter() const {
    if (mGetter == nullptr) ZEB_THROW(kInternalError, "Failed to get the current value getter.");
    return *mGetter;
}

ParameterInitialProperties::ParameterInitialProperties(const ParametersManagerBase& manager)
    : ParameterProperties(manager) {
    mRows.reserve(manager.GetTable().size());
    for (const ParameterDescription& description : manager.GetTable()) {
        mRows.push_back({.mVisible = true, .mEnabled = true, .mName = description.mFullName});
    }
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
