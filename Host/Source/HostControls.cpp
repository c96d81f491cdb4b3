#include <fmt/format.h>

#include <utility>
#include <vector>

#include "NimbrelHost/Command.h"
#include "NimbrelHost/CustomData.h"
#include "NimbrelHost/Expression.h"
#include "NimbrelHost/Host.h"
#include "NimbrelHost/ScriptEngine.h"

// What the user does with the effect's controls: the commands that carry all values at once.

namespace nimbrel::host {
namespace {

/// All parameters as they are at one time, in the effect's records; the custom values are copies.
class ParameterRecords {
public:
    explicit ParameterRecords(Host& host)
        : mHost(host),
          mDownsample(host.GetProject().GetComposition().mDownsample),
          mRecords(host.GetParameters().Count() + 1) {
        for (PF_ParamDef& record : mRecords) mPointers.push_back(&record);
    }

    // A failure to dispose is the effect's, and what comes of it is found in the count of handles.
    ~ParameterRecords() {
        for (std::size_t i = 1; i < mRecords.size(); ++i) {
            if (mRecords[i].param_type != PF_Param_ARBITRARY_DATA || mRecords[i].u.arb_d.value == nullptr) continue;
            try {
                DisposeCustom(mHost, Get(i), mRecords[i].u.arb_d.value);
            } catch (const std::exception& exception) {
                mHost.GetDiagnostics().Report(exception.what());
            }
        }
    }
    ParameterRecords(const ParameterRecords&) = delete;
    ParameterRecords& operator=(const ParameterRecords&) = delete;

    PF_ParamDef** Fill(double seconds) {
        for (std::size_t i = 1; i < mRecords.size(); ++i) {
            const Parameter& parameter = Get(i);
            FillRecord(parameter, mHost.EvaluateParameter(parameter, seconds), mDownsample, mRecords[i]);
            if (parameter.GetType() == PF_Param_ARBITRARY_DATA)
                mRecords[i].u.arb_d.value = EvaluateCustom(mHost, parameter, seconds);
            // In values given to an effect the number's place holds what the effect did to them.
            mRecords[i].uu.change_flags = PF_ChangeFlag_NONE;
        }
        return mPointers.data();
    }

    /// Takes over the values that the effect marked as changed: an animated one gets a keyframe at the time.
    void Adopt(double seconds) {
        for (std::size_t i = 1; i < mRecords.size(); ++i) {
            Parameter& parameter = Get(i);
            PF_ParamDef& record = mRecords[i];
            // Layers are chosen through their streams only.
            const bool changed = (record.uu.change_flags & PF_ChangeFlag_CHANGED_VALUE) != 0;
            if (!changed || !parameter.HasValue() || parameter.GetType() == PF_Param_LAYER) continue;
            const std::size_t keys = parameter.mValue.mKeys.size();
            ParameterValue& value = parameter.mValue.GetOrAddKey(seconds);
            if (parameter.GetType() == PF_Param_ARBITRARY_DATA) {
                // The record's copy becomes the value, and what was the key's own value goes with the records.
                const PF_Handle old = keys == parameter.mValue.mKeys.size() ? value.mCustom : nullptr;
                value.mCustom = std::exchange(record.u.arb_d.value, old);
            } else {
                value.mNumbers = ReadRecord(record, mDownsample);
            }
            parameter.mIsSet = true;
        }
    }

private:
    Parameter& Get(std::size_t i) const { return *mHost.GetParameters().Get(static_cast<int>(i)); }

    Host& mHost;
    int mDownsample;
    std::vector<PF_ParamDef> mRecords;
    std::vector<PF_ParamDef*> mPointers;
};

}  // namespace

void Host::UpdateParameterControls() {
    Command command(*this, PF_Cmd_UPDATE_PARAMS_UI);
    ParameterRecords records(*this);
    command.Run(records.Fill(0));
}

void Host::ChangeParameter(const Parameter& parameter, int frame) {
    {
        Command command(*this, PF_Cmd_USER_CHANGED_PARAM, frame * mTimeBase.mStep);
        ParameterRecords records(*this);
        PF_UserChangedParamExtra extra{};
        extra.param_index = parameter.mIndex;
        command.Run(records.Fill(mTimeBase.Seconds(frame)), &extra);
        records.Adopt(mTimeBase.Seconds(frame));
    }
    UpdateParameterControls();
}

glm::dvec3 Host::EvaluateParameter(const Parameter& parameter, double seconds) {
    const glm::dvec3 numbers = EvaluateNumbers(parameter, seconds);
    const Expression& expression = parameter.mExpression;
    if (!expression.mEnabled || expression.mText.empty() || !TakesExpression(parameter)) return numbers;
    const bool isVector = parameter.GetType() == PF_Param_POINT_3D || parameter.GetType() == PF_Param_COLOR;
    try {
        return RunExpression(expression.mText, mProject, {numbers, isVector, seconds});
    } catch (const ScriptError& error) {
        const std::string text = fmt::format("the expression of \"{}\" failed: {}", parameter.mName, error.what());
        const std::scoped_lock lock(mExpressionMutex);
        // Once, not for every frame.
        if (mFailedExpressions.insert(text).second) mDiagnostics.Report(text);
        return numbers;
    }
}

}  // namespace nimbrel::host
