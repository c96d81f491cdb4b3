#include "../CheckAE.h"
#include "FilePathAE.h"
#include "ParameterConversionAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/ThreadContextAE.h"

namespace zeb {

// ---- Current values ----

std::int32_t ParameterCurrentValueGetterAE::DoGetInt(const ParameterDescription& description) const {
    return GetParamDef(mParams, description).u.sd.value;
}

double ParameterCurrentValueGetterAE::DoGetDouble(const ParameterDescription& description) const {
    return GetDoubleFromDef(description, GetParamDef(mParams, description));
}

glm::vec3 ParameterCurrentValueGetterAE::DoGetVec3(const ParameterDescription& description) const {
    return GetVec3FromDef(description, GetParamDef(mParams, description));
}

glm::vec3 ParameterCurrentValueGetterAE::DoGetRawVec3(const ParameterDescription& description) const {
    return GetRawVec3FromDef(description, GetParamDef(mParams, description), DepthUnit::LayerHeight);
}

bool ParameterCurrentValueGetterAE::DoGetBool(const ParameterDescription& description) const {
    return GetParamDef(mParams, description).u.bd.value != 0;
}

std::u16string ParameterCurrentValueGetterAE::DoGetString(const ParameterDescription& description) const {
    return GetFilePath(description);
}

std::int32_t ParameterCurrentValueGetterAE::DoGetPopup(const ParameterDescription& description) const {
    return GetParamDef(mParams, description).u.pd.value - 1;
}

std::string ParameterCurrentValueGetterAE::DoGetCustom(const ParameterDescription& description) const {
    return GetCustomFromDef(description, GetParamDef(mParams, description));
}

// ---- Values at a time ----

namespace {

/// A parameter while it is checked out.
class DefLock {
public:
    DefLock(std::int32_t index, const TimeValue& time) {
        PF_InData* inData = InData();
        ZEB_CHECK_TEXT(inData->inter.checkout_param(inData->effect_ref, index, time.mTime, time.mTimeStep,
                                                    static_cast<A_u_long>(time.mTimeScale), &mDef),
                       "Failed to call PF_CHECKOUT_PARAM(zeb::InData(), index, time.mTime, time.mTimeStep, "
                       "time.mTimeScale, &mDef)");
    }
    ~DefLock() {
        try {
            PF_InData* inData = InData();
            ZEB_CHECK_TEXT(inData->inter.checkin_param(inData->effect_ref, &mDef),
                           "Failed to call PF_CHECKIN_PARAM(zeb::InData(), &mDef)");
        } catch (const std::exception& exception) {
            ReportCleanupFailure(exception.what());
        } catch (...) {
            ReportCleanupFailure("Unexpected exception");
        }
    }
    DefLock(const DefLock&) = delete;
    DefLock& operator=(const DefLock&) = delete;

    const PF_ParamDef& Get() const { return mDef; }

private:
    PF_ParamDef mDef{};
};

}  // namespace

std::int32_t ParameterTemporalValueGetterAE::DoGetInt(const ParameterDescription& description,
                                                      const TimeValue& time) const {
    return DefLock(description.mParameterIndex, time).Get().u.sd.value;
}

double ParameterTemporalValueGetterAE::DoGetDouble(const ParameterDescription& description,
                                                   const TimeValue& time) const {
    return GetDoubleFromDef(description, DefLock(description.mParameterIndex, time).Get());
}

glm::vec3 ParameterTemporalValueGetterAE::DoGetVec3(const ParameterDescription& description,
                                                    const TimeValue& time) const {
    return GetVec3FromDef(description, DefLock(description.mParameterIndex, time).Get());
}

glm::vec3 ParameterTemporalValueGetterAE::DoGetRawVec3(const ParameterDescription& description,
                                                       const TimeValue& time) const {
    return GetRawVec3FromDef(description, DefLock(description.mParameterIndex, time).Get(), DepthUnit::LayerWidth);
}

bool ParameterTemporalValueGetterAE::DoGetBool(const ParameterDescription& description, const TimeValue& time) const {
    return DefLock(description.mParameterIndex, time).Get().u.bd.value != 0;
}

std::u16string ParameterTemporalValueGetterAE::DoGetString(const ParameterDescription& description,
                                                           const TimeValue&) const {
    return GetFilePath(description);
}

std::int32_t ParameterTemporalValueGetterAE::DoGetPopup(const ParameterDescription& description,
                                                        const TimeValue& time) const {
    return DefLock(description.mParameterIndex, time).Get().u.pd.value - 1;
}

std::string ParameterTemporalValueGetterAE::DoGetCustom(const ParameterDescription& description,
                                                        const TimeValue& time) const {
    return GetCustomFromDef(description, DefLock(description.mParameterIndex, time).Get());
}

TimeValue GetCurrentTime(const PF_InData& inData) {
    return {inData.current_time, inData.time_step, static_cast<std::int32_t>(inData.time_scale)};
}

}  // namespace zeb
