#pragma once

#include "CommandLine.h"

namespace nimbrel::host {

/// Does what the command line asks for. Gives the exit code; throws UsageError, EffectError, OutputError, Interrupted.
int RunSession(const CommandLine& line, RunLog& log);

}  // namespace nimbrel::host
