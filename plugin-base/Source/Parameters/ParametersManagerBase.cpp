// Questions to the table once it has been read. Nothing here writes, so any thread may ask.
#include "PluginBase/Parameters/ParametersManagerBase.h"

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/ParameterPacker.h"

namespace zeb {

ParametersManagerBase::~ParametersManagerBase() = default;

void ParametersManagerBase::DefineParameters(ParameterDefiner& definer) const {
    for (const ParameterDescription& d : mTable) {
        if (d.mParameterIndex == -1) continue;
        switch (d.mControl) {
            case ControlType::SourceClip: definer.DefineSourceClip(d); break;
            case ControlType::Clip: definer.DefineClip(d); break;
            case ControlType::GroupBegin: definer.DefineGroupBegin(d); break;
            case ControlType::GroupEnd: definer.DefineGroupEnd(d); break;
            case ControlType::Button:
                definer.DefineButton(d, d.GetSettings<ParameterButtonCheckboxSettings>().label);
                break;
            case ControlType::IntSlider: {
                const auto& s = d.GetSettings<ParameterIntSliderSettings>();
                definer.DefineIntSlider(d, s.validMin, s.validMax, s.displayMin, s.displayMax);
                break;
            }
            case ControlType::FloatSlider: {
                const auto& s = d.GetSettings<ParameterFloatSliderSettings>();
                definer.DefineFloatSlider(d, s.validMin, s.validMax, s.displayMin, s.displayMax, s.precision);
                break;
            }
            case ControlType::Angle: {
                const auto& s = d.GetSettings<ParameterAngleSettings>();
                definer.DefineAngle(d, s.validMin, s.validMax);
                break;
            }
            case ControlType::Color: definer.DefineColor(d); break;
            case ControlType::Point3: definer.DefinePoint3(d); break;
            case ControlType::Checkbox:
                definer.DefineCheckbox(d, d.GetSettings<ParameterButtonCheckboxSettings>().label);
                break;
            case ControlType::FilePath: definer.DefineFilePath(d); break;
            case ControlType::Popup: definer.DefinePopup(d, d.GetSettings<ParameterPopupSettings>().choices); break;
            case ControlType::Custom: definer.DefineCustom(d, d.GetSettings<ParameterCustomSettings>()); break;
        }
    }
}

void ParametersManagerBase::UpdateUI(const ParameterCurrentValueGetter& getter, ParameterProperties& properties) const {
    for (const UpdateUIHandler& handler : mUpdateUIHandlers) handler(getter, properties);
}

void ParametersManagerBase::OnParameterChanged(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                               std::int32_t index) {
    const auto found = mChangeHandlers.find(index);
    if (found != mChangeHandlers.end()) found->second(getter, setter, index);
}

const ParameterDescription& ParametersManagerBase::GetDescriptionByNumId(std::uint32_t numId) const {
    const auto found = mIndexByUniqueId.find(numId);
    if (found == mIndexByUniqueId.end())
        ZEB_THROW(kInternalError,
                  fmt::format("Failed to find a parameter description by a parameter numeric id {}", numId));
    const std::int32_t index = found->second;
    if (index < 0 || static_cast<std::size_t>(index) >= mTable.size())
        ZEB_THROW(kInternalError, fmt::format("Unexpected parameter index {}", index));
    return mTable[static_cast<std::size_t>(index)];
}

std::int32_t ParametersManagerBase::FindIndexByNumId(std::uint32_t numId) const {
    const auto found = mIndexByUniqueId.find(numId);
    return found == mIndexByUniqueId.end() ? -1 : found->second;
}

std::int32_t ParametersManagerBase::FindIndexByParameterIndex(std::int32_t parameterIndex) const {
    const auto found = mIndexByParameterIndex.find(parameterIndex);
    return found == mIndexByParameterIndex.end() ? -1 : found->second;
}

UniquePtr<ParameterInitialProperties> ParametersManagerBase::MakeInitialProperties() const {
    auto properties = MakeUnique<ParameterInitialProperties>(*this);
    // The rules that set names and states at run time apply before the host is told the names.
    UpdateUI(*mDefaultValueGetter, *properties);
    return properties;
}

// The parts of access to values that look into the table.

const ParameterDescription& ParameterDescriptionGetter::GetDescription(std::int32_t index) const {
    // A negative index becomes a huge one, so one check serves both ends.
    return mManager.GetTable().at(static_cast<std::size_t>(index));
}

ParameterInitialProperties::ParameterInitialProperties(const ParametersManagerBase& manager)
    : ParameterProperties(manager) {
    mRows.reserve(manager.GetTable().size());
    for (const ParameterDescription& description : manager.GetTable()) {
        mRows.push_back({.mVisible = true, .mEnabled = true, .mName = description.mFullName});
    }
}

}  // namespace zeb
