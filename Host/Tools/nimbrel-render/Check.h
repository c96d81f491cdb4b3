#pragma once

#include "FrameRun.h"

namespace nimbrel::host {

/// --check: looks at models, expressions and the output's place, forecasts memory, prints what it found, and writes it
/// to the stats file. Whether nothing was found that would fail a frame. Throws OutputError, Interrupted.
bool CheckRun(Host& host, const CommandLine& line, const FrameRun& run, RunLog& log);

}  // namespace nimbrel::host
