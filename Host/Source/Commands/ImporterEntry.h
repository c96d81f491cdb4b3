#pragma once

#include <filesystem>

#include "HostInterface/HostInterface.h"

namespace nimbrel::host {

/// The function that a general plug-in's file names for its start.
using ImporterEntry = A_Err (*)(SPBasicSuite*, A_long major, A_long minor, AEGP_PluginID, AEGP_GlobalRefcon*);

/// Loads the file and finds the function: on Windows the one that its resource names, elsewhere, where files have no
/// such resource, "EntryPointFunc". Throws UsageError.
ImporterEntry FindImporterEntry(const std::filesystem::path& file);

}  // namespace nimbrel::host
