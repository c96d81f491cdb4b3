#pragma once

#include <filesystem>
#include <vector>

#include "CommandLine.h"
#include "NimbrelHost/Commands/Host.h"

namespace nimbrel::host {

/// The catalogue that was named, or the one beside the program or the effect; without one parameters go by their names
/// and numbers. Throws UsageError.
Catalogue ReadCatalogue(const CommandLine& line);

/// What the command line says of the host, with the libraries that were named or those beside the program.
HostOptions MakeHostOptions(const CommandLine& line);

}  // namespace nimbrel::host
