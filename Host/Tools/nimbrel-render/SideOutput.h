#pragma once

#include "CommandLine.h"
#include "NimbrelHost/Commands/Host.h"

namespace nimbrel::host {

/// A table of the devices that there are, a line each.
std::string DescribeDevices(const DeviceReport& devices);

/// --list-gpus. Gives the exit code.
int ListGpus(const CommandLine& line, RunLog& log);

/// What is asked for besides frames: buttons are pressed, then pictures and texts written. `frame` is the one that the
/// panel shows. Throws UsageError, OutputError, EffectError.
void MakeSideOutput(Host& host, const CommandLine& line, int frame);

}  // namespace nimbrel::host
