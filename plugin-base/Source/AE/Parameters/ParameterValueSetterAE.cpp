#include <algorithm>
#include <exception>

#include "FilePathAE.h"
#include "ParameterConversionAE.h"
#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/PluginBaseAE.h"
#include "PluginBase/AE/ThreadContextAE.h"

namespace zeb {

ParameterValueSetterAE::ParameterValueSetterAE(const ParametersManagerBase& manager, PF_ParamDef** params,
                                               const PluginBaseAE& plugin)
    : ParameterValueSetter(manager), mParams(params), mPlugin(plugin), mFailures(std::uncaught_exceptions()) {}

ParameterValueSetterAE::~ParameterValueSetterAE() {
    if (std::uncaught_exceptions() <= mFailures) return;
    for (const Before& before : mBefore) Restore(before);
}

void ParameterValueSetterAE::Restore(const Before& before) noexcept {
    *before.mDef = before.mRecord;
    if (before.mDescription->mValueKind != ValueKind::Custom) return;
    try {
        const auto& settings = before.mDescription->GetSettings<ParameterCustomSettings>();
        GetArbHandler(settings.valueType).LockObject(before.mDef->u.arb_d.value)->FromJSON(before.mCustom);
    } catch (const std::exception& exception) {
        ReportCleanupFailure(exception.what());
    }
}

PF_ParamDef& ParameterValueSetterAE::GetChanged(const ParameterDescription& description) {
    PF_ParamDef& def = GetParamDef(mParams, description);
    const auto isSame = [&](const Before& before) { return before.mDef == &def; };
    if (std::none_of(mBefore.begin(), mBefore.end(), isSame)) {
        const bool isCustom = description.mValueKind == ValueKind::Custom;
        mBefore.push_back({&def, def, &description, isCustom ? GetCustomFromDef(description, def) : std::string()});
    }
    def.uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
    return def;
}

void ParameterValueSetterAE::DoSetInt(const ParameterDescription& description, std::int32_t value) {
    GetChanged(description).u.sd.value = value;
}

void ParameterValueSetterAE::DoSetDouble(const ParameterDescription& description, double value) {
    SetDoubleInDef(description, value, GetChanged(description));
}

void ParameterValueSetterAE::DoSetVec3(const ParameterDescription& description, const glm::vec3& value) {
    SetVec3InDef(description, value, GetChanged(description));
}

void ParameterValueSetterAE::DoSetRawVec3(const ParameterDescription& description, const glm::vec3& value) {
    SetRawVec3InDef(description, value, GetChanged(description));
}

void ParameterValueSetterAE::DoSetBool(const ParameterDescription& description, bool value) {
    GetChanged(description).u.bd.value = value;
}

void ParameterValueSetterAE::DoSetString(const ParameterDescription& description, const std::u16string& value) {
    SetFilePath(description, value, [this](const std::u16string& path) { return mPlugin.GetImportFolderName(path); });
}

void ParameterValueSetterAE::DoClearString(const ParameterDescription& description) { ClearFilePath(description); }

void ParameterValueSetterAE::DoSetPopup(const ParameterDescription& description, std::int32_t value) {
    GetChanged(description).u.pd.value = value + 1;
}

void ParameterValueSetterAE::DoSetCustom(const ParameterDescription& description, const std::string& valueType,
                                         const std::string& json) {
    GetArbHandler(valueType).LockObject(GetChanged(description).u.arb_d.value)->FromJSON(json);
}

}  // namespace zeb
