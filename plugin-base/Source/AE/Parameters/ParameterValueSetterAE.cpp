#include "FilePathAE.h"
#include "ParameterConversionAE.h"
#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/PluginBaseAE.h"

namespace zeb {

PF_ParamDef& ParameterValueSetterAE::GetChanged(const ParameterDescription& description) const {
    PF_ParamDef& def = GetParamDef(mParams, description);
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
    PF_ParamDef& def = GetParamDef(mParams, description);
    GetArbHandler(valueType).LockObject(def.u.arb_d.value)->FromJSON(json);
    def.uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
}

}  // namespace zeb
