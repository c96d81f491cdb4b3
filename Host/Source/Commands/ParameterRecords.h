#pragma once

#include <vector>

#include "NimbrelHost/Commands/Command.h"

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

    /// Runs a command with the records of a time. `adopts`: takes over the values that the effect marked as changed and
    /// answers whose they are: an animated one gets a keyframe at the time. Throws EffectError; in strict mode what a
    /// failed command marked is taken over as well, as a host may do.
    std::vector<Parameter*> Run(Command& command, void* extra, double seconds, bool adopts);

private:
    std::vector<Parameter*> Adopt(double seconds);
    Parameter& Get(std::size_t i) const { return *mHost.GetParameters().Get(static_cast<int>(i)); }

    Host& mHost;
    int mDownsample;
    std::vector<PF_ParamDef> mRecords;
    std::vector<PF_ParamDef*> mPointers;
};

}  // namespace nimbrel::host
