#pragma once

#include <string>

#include "NimbrelHost/Commands/Host.h"

namespace nimbrel::host {

/// Renders built-in scenes on the device of `options` and on the processor's cores and compares them: prints a table,
/// and writes it with the versions of driver and system to `report` unless that is empty. Gives the exit code:
/// kExitFailed when a scene differs. Throws EffectError, OutputError, Interrupted.
int RunSelfTest(HostOptions options, const Catalogue& catalogue, const std::string& report);

}  // namespace nimbrel::host
