#include "Commands/ParameterRecords.h"

#include <exception>
#include <utility>

#include "NimbrelHost/Commands/CustomData.h"
#include "NimbrelHost/Support/Errors.h"

namespace nimbrel::host {

ParameterRecords::ParameterRecords(Host& host)
    : mHost(host),
      mDownsample(host.GetProject().GetComposition().mDownsample),
      mRecords(host.GetParameters().Count() + 1) {
    for (PF_ParamDef& record : mRecords) mPointers.push_back(&record);
}

ParameterRecords::~ParameterRecords() {
    for (std::size_t i = 1; i < mRecords.size(); ++i) {
        if (mRecords[i].param_type != PF_Param_ARBITRARY_DATA || mRecords[i].u.arb_d.value == nullptr) continue;
        try {
            DisposeCustom(mHost, Get(i), mRecords[i].u.arb_d.value);
        } catch (const std::exception& exception) {
            mHost.GetDiagnostics().Report(exception.what());
        }
    }
}

PF_ParamDef** ParameterRecords::Fill(double seconds) {
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

std::vector<Parameter*> ParameterRecords::Run(Command& command, void* extra, double seconds, bool adopts) {
    PF_ParamDef** const records = Fill(seconds);
    try {
        command.Run(records, extra);
    } catch (const EffectError&) {
        if (adopts && mHost.GetOptions().mStrict) Adopt(seconds);
        throw;
    }
    return adopts ? Adopt(seconds) : std::vector<Parameter*>();
}

std::vector<Parameter*> ParameterRecords::Adopt(double seconds) {
    std::vector<Parameter*> changedParameters;
    for (std::size_t i = 1; i < mRecords.size(); ++i) {
        Parameter& parameter = Get(i);
        PF_ParamDef& record = mRecords[i];
        // Layers are chosen through their streams only.
        const bool changed = (record.uu.change_flags & PF_ChangeFlag_CHANGED_VALUE) != 0;
        if (!changed || !parameter.HasValue() || parameter.GetType() == PF_Param_LAYER) continue;
        mHost.GetUndo().Keep(parameter);
        const std::size_t keys = parameter.mValue.mKeys.size();
        ParameterValue& value = parameter.mValue.GetOrAddKey(seconds);
        if (parameter.GetType() == PF_Param_ARBITRARY_DATA) {
            // The record's copy becomes the value; what was the key's own value goes, unless the undo history has it.
            const PF_Handle old = keys == parameter.mValue.mKeys.size() ? value.mCustom : nullptr;
            value.mCustom = std::exchange(record.u.arb_d.value, nullptr);
            mHost.GetUndo().Release(parameter, old);
        } else {
            value.mNumbers = ReadRecord(record, mDownsample);
        }
        parameter.mIsSet = true;
        changedParameters.push_back(&parameter);
    }
    return changedParameters;
}

}  // namespace nimbrel::host
