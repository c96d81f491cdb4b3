#pragma once

#include <vector>

#include "NimbrelHost/Commands/Host.h"

namespace nimbrel::host {

/// All parameters as they are at one time, in the effect's records, for commands that carry all values at once; the
/// custom values are copies. Main thread.
class ParameterRecords {
public:
    explicit ParameterRecords(Host& host);
    /// Disposes of the copies. A failure to do so is reported, and what comes of it is found in the count of handles.
    ~ParameterRecords();
    ParameterRecords(const ParameterRecords&) = delete;
    ParameterRecords& operator=(const ParameterRecords&) = delete;

    PF_ParamDef** Fill(double seconds);

    /// Takes over the values that the effect marked as changed and answers whose they are: an animated one gets a
    /// keyframe at the time.
    std::vector<Parameter*> Adopt(double seconds);

private:
    Parameter& Get(std::size_t i) const { return *mHost.GetParameters().Get(static_cast<int>(i)); }

    Host& mHost;
    int mDownsample;
    std::vector<PF_ParamDef> mRecords;
    std::vector<PF_ParamDef*> mPointers;
};

}  // namespace nimbrel::host
