#pragma once

#include "NimbrelHost/Commands/Host.h"

namespace nimbrel::host {

/// Enters all function tables that this host serves, for the constructor of Host. Slots that it doesn't serve answer an
/// error and report which they are.
void AddSuites(SuiteRegistry& suites, const HostOptions& options);

}  // namespace nimbrel::host
