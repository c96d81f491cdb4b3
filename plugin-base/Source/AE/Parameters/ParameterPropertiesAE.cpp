#include "../CheckAE.h"
#include "ParameterConversionAE.h"
#include "PluginBase/AE/AEGPObjects.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/TextAE.h"
#include "PluginBase/AE/ThreadContextAE.h"

namespace zeb {
namespace {

AEGP::Stream GetStream(const ParameterDescription& description) {
    return AEGP::Suites().GetEffect().GetNewEffectStreamByIndex(description.mParameterIndex);
}

bool IsStreamVisible(const AEGP::Stream& stream) {
    return (stream.GetDynamicStreamFlags() & AEGP_DynStreamFlag_HIDDEN) == 0;
}

}  // namespace

bool ParameterPropertiesAE::IsVisible(const ParameterDescription& description) const {
    return IsStreamVisible(GetStream(description));
}

void ParameterPropertiesAE::SetVisible(const ParameterDescription& description, bool visible) {
    const AEGP::Stream stream = GetStream(description);
    if (IsStreamVisible(stream) == visible) return;
    constexpr bool kUndoable = false;
    stream.SetDynamicStreamFlag(AEGP_DynStreamFlag_HIDDEN, kUndoable, !visible);
    mChanged = true;
}

bool ParameterPropertiesAE::IsEnabled(const ParameterDescription& description) const {
    return (GetParamDef(mParams, description).ui_flags & PF_PUI_DISABLED) == 0;
}

void ParameterPropertiesAE::DoEnable(const ParameterDescription& description, bool enabled) {
    if (IsEnabled(description) == enabled) return;
    // The host wants a copy: the record itself stays as it came.
    PF_ParamDef def = GetParamDef(mParams, description);
    def.flags |= PF_ParamFlag_COLLAPSE_TWIRLY;
    if (enabled)
        def.ui_flags &= ~PF_PUI_DISABLED;
    else
        def.ui_flags |= PF_PUI_DISABLED;
    const PF_ParamIndex parameterIndex = description.mParameterIndex;
    ZEB_CHECK_TEXT(AEGPSuites().ParamUtilsSuite3()->PF_UpdateParamUI(InData()->effect_ref, parameterIndex, &def),
                   "Failed to call AEGPSuites().ParamUtilsSuite3()->PF_UpdateParamUI( InData()->effect_ref, "
                   "parameterIndex, &def)");
    mChanged = true;
}

std::string ParameterPropertiesAE::GetName(const ParameterDescription& description) const {
    return ToUtf8(GetStream(description).GetStreamName());
}

void ParameterPropertiesAE::SetName(const ParameterDescription& description, const std::string& name) {
    const AEGP::Stream stream = GetStream(description);
    if (ToUtf8(stream.GetStreamName()) == name) return;
    stream.SetStreamName(ToUtf16(name));
    mChanged = true;
}

}  // namespace zeb
