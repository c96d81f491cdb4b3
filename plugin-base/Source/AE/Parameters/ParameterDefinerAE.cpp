#include <algorithm>
#include <cstring>
#include <limits>

#include <fmt/format.h>

#include "../CheckAE.h"
#include "ParameterConversionAE.h"
#include "PluginBase/AE/AllocatorAE.h"
#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/TextAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"

namespace zeb {
namespace {

/// The field holds 31 characters and its end.
void SetDefName(PF_ParamDef& def, const std::string& name) {
    const std::string cut(CutUtf8(name, sizeof(def.name) - 1));
    InData()->utils->ansi.strcpy(def.name, cut.c_str());
}

void AddParam(PF_ParamDef& def) {
    PF_InData* inData = InData();
    ZEB_CHECK_TEXT(inData->inter.add_param(inData->effect_ref, -1, &def),
                   "Failed to call PF_ADD_PARAM(zeb::InData(), -1, &def)");
}

bool IsDefined(const ParameterDescription& description) { return description.mParameterIndex >= 0; }

}  // namespace

ParameterDefinerAE::ParameterDefinerAE(const ParametersManagerBase& manager,
                                       const ParameterInitialProperties& properties, std::deque<std::string>& texts)
    : mManager(manager), mProperties(properties), mTexts(texts) {
    const auto& table = manager.GetTable();
    const auto count = std::count_if(table.begin(), table.end(), [](const ParameterDescription& description) {
        return IsDefined(description) && description.mControl != ControlType::SourceClip;
    });
    // The input layer counts as well.
    OutData()->num_params = static_cast<A_long>(count + 1);
}

ParameterDefinerAE::~ParameterDefinerAE() {
    if (mCustomEventFlags == 0) return;
    try {
        PF_CustomUIInfo info{};
        info.events = mCustomEventFlags;
        PF_InData* inData = InData();
        ZEB_CHECK_TEXT(inData->inter.register_ui(inData->effect_ref, &info),
                       "Failed to call PF_REGISTER_UI(zeb::InData(), &info)");
    } catch (const std::exception& exception) {
        ReportCleanupFailure(exception.what());
    } catch (...) {
        ReportCleanupFailure("Unexpected exception");
    }
}

PF_ParamDef ParameterDefinerAE::MakeDef(const ParameterDescription& description, PF_ParamType type) const {
    PF_ParamDef def{};
    def.param_type = type;
    SetDefName(def, mProperties.GetName(description));
    def.uu.id = static_cast<A_long>(description.mUniqueId);
    if (description.HasFlag(ParameterFlag::ReceiveOnChangeEvent)) def.flags |= PF_ParamFlag_SUPERVISE;
    if (description.HasFlag(ParameterFlag::NotAnimatable)) def.flags |= PF_ParamFlag_CANNOT_TIME_VARY;
    if (!description.HasFlag(ParameterFlag::ExpandedAtStart)) def.flags |= PF_ParamFlag_COLLAPSE_TWIRLY;
    return def;
}

const ParameterDefaultValueGetter& ParameterDefinerAE::GetDefaults() const { return mManager.GetDefaultValueGetter(); }

const char* ParameterDefinerAE::Keep(std::string text) { return mTexts.emplace_back(std::move(text)).c_str(); }

void ParameterDefinerAE::DefineSourceClip(const ParameterDescription&) {}

void ParameterDefinerAE::DefineClip(const ParameterDescription& description) {
    if (!IsDefined(description)) return;
    PF_ParamDef def = MakeDef(description, PF_Param_LAYER);
    AddParam(def);
}

void ParameterDefinerAE::DefineFilePath(const ParameterDescription& description) { DefineClip(description); }

void ParameterDefinerAE::DefineGroupBegin(const ParameterDescription& description) {
    if (!IsDefined(description)) return;
    PF_ParamDef def = MakeDef(description, PF_Param_GROUP_START);
    AddParam(def);
}

void ParameterDefinerAE::DefineGroupEnd(const ParameterDescription& description) {
    if (!IsDefined(description)) return;
    PF_ParamDef def{};
    def.param_type = PF_Param_GROUP_END;
    def.uu.id = static_cast<A_long>(description.mUniqueId);
    AddParam(def);
}

void ParameterDefinerAE::DefineIntSlider(const ParameterDescription& description, std::int32_t validMin,
                                         std::int32_t validMax, std::int32_t displayMin, std::int32_t displayMax) {
    if (!IsDefined(description)) return;
    PF_ParamDef def = MakeDef(description, PF_Param_SLIDER);
    def.u.sd.valid_min = validMin;
    def.u.sd.valid_max = validMax;
    def.u.sd.slider_min = displayMin;
    def.u.sd.slider_max = displayMax;
    def.u.sd.value = def.u.sd.dephault = GetDefaults().GetInt(description.mIndex);
    AddParam(def);
}

void ParameterDefinerAE::DefineFloatSlider(const ParameterDescription& description, double validMin, double validMax,
                                           double displayMin, double displayMax, std::int32_t precision) {
    if (!IsDefined(description)) return;
    PF_ParamDef def = MakeDef(description, PF_Param_FLOAT_SLIDER);
    const bool percent = description.HasFlag(ParameterFlag::DisplayPercent);
    // A limit beyond the type's range means none.
    const auto toFloat = [](double value) {
        constexpr double kMax = std::numeric_limits<PF_FpShort>::max();
        return static_cast<PF_FpShort>(std::clamp(value, -kMax, kMax));
    };
    PF_FloatSliderDef& slider = def.u.fs_d;
    slider.valid_min = toFloat(validMin);
    slider.valid_max = toFloat(validMax);
    slider.slider_min = toFloat(displayMin);
    slider.slider_max = toFloat(displayMax);
    slider.value = GetDefaults().GetDouble(description.mIndex) * (percent ? 100.0 : 1.0);
    slider.dephault = toFloat(slider.value);
    slider.precision = static_cast<A_short>(precision);
    slider.display_flags = percent ? PF_ValueDisplayFlag_PERCENT : PF_ValueDisplayFlag_NONE;
    slider.curve_tolerance = 0.05F;
    AddParam(def);
}

void ParameterDefinerAE::DefineAngle(const ParameterDescription& description, double, double) {
    if (!IsDefined(description)) return;
    PF_ParamDef def = MakeDef(description, PF_Param_ANGLE);
    def.u.ad.value = ToFixed(GetDefaults().GetDouble(description.mIndex));
    // Projects depend on this shift of what is 16.16 already; it is harmless for a default of 0.
    def.u.ad.dephault = static_cast<PF_ParamValue>(static_cast<std::uint32_t>(def.u.ad.value) << 16);
    AddParam(def);
}

void ParameterDefinerAE::DefineColor(const ParameterDescription& description) {
    if (!IsDefined(description)) return;
    PF_ParamDef def = MakeDef(description, PF_Param_COLOR);
    def.u.cd.value = def.u.cd.dephault = ToPixel(GetDefaults().GetVec3(description.mIndex));
    AddParam(def);
}

void ParameterDefinerAE::DefinePoint3(const ParameterDescription& description) {
    if (!IsDefined(description)) return;
    PF_ParamDef def = MakeDef(description, PF_Param_POINT_3D);
    const glm::dvec3 value(GetDefaults().GetVec3(description.mIndex));
    PF_Point3DDef& point = def.u.point3d_d;
    point.x_value = value.x;
    point.y_value = value.y;
    point.z_value = value.z;
    point.x_dephault = value.x * 100.0;
    point.y_dephault = value.y * 100.0;
    point.z_dephault = value.z * 100.0;
    AddParam(def);
}

void ParameterDefinerAE::DefineButton(const ParameterDescription& description, const std::string& label) {
    if (!IsDefined(description)) return;
    PF_ParamDef def{};
    def.param_type = PF_Param_BUTTON;
    SetDefName(def, label);
    def.uu.id = static_cast<A_long>(description.mUniqueId);
    def.flags = PF_ParamFlag_SUPERVISE;
    def.u.button_d.u.namesptr = Keep(description.mFullName);
    AddParam(def);
}

void ParameterDefinerAE::DefineCheckbox(const ParameterDescription& description, const std::string& label) {
    if (!IsDefined(description)) return;
    PF_ParamDef def = MakeDef(description, PF_Param_CHECKBOX);
    const bool value = GetDefaults().GetBool(description.mIndex);
    def.u.bd.value = value;
    def.u.bd.dephault = value;
    def.u.bd.u.nameptr = Keep(label);
    AddParam(def);
}

void ParameterDefinerAE::DefinePopup(const ParameterDescription& description, const std::vector<std::string>& choices) {
    if (!IsDefined(description)) return;
    PF_ParamDef def = MakeDef(description, PF_Param_POPUP);
    const std::int32_t value = GetDefaults().GetPopup(description.mIndex) + 1;
    def.u.pd.num_choices = static_cast<A_short>(choices.size());
    def.u.pd.value = value;
    def.u.pd.dephault = static_cast<A_short>(value);
    def.u.pd.u.namesptr = Keep(fmt::format("{}", fmt::join(choices, "|")));
    AddParam(def);
}

void ParameterDefinerAE::DefineCustom(const ParameterDescription& description,
                                      const ParameterCustomSettings& settings) {
    if (!IsDefined(description)) return;
    if (!description.mInteractInfo)
        ZEB_THROW(kInternalError, "Failed to define a custom parameter without the interact info.");
    ArbHandlerBase& handler = GetArbHandler(settings.valueType);
    PF_ParamDef def = MakeDef(description, PF_Param_ARBITRARY_DATA);
    def.ui_width = static_cast<A_short>(description.mInteractInfo->mWidth);
    def.ui_height = static_cast<A_short>(description.mInteractInfo->mHeight);
    def.ui_flags = PF_PUI_CONTROL | PF_PUI_DONT_ERASE_CONTROL;
    PF_Handle handle = settings.makeDefaultHandle != nullptr ? settings.makeDefaultHandle() : handler.New();
    try {
        handler.LockObject(handle)->FromJSON(GetDefaults().GetCustom(description.mIndex));
        def.u.arb_d.dephault = handle;
        def.u.arb_d.refconPV = &handler;
        AddParam(def);
    } catch (...) {
        handler.Dispose(handle);
        throw;
    }
    mCustomEventFlags |= PF_CustomEFlag_EFFECT;
}

}  // namespace zeb
