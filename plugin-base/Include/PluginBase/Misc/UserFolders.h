#pragma once

#include <filesystem>

namespace zeb {

/// Where the user's programs keep what they can make anew: XDG_CACHE_HOME or .cache at home (XDG Base Directory
/// Specification), LOCALAPPDATA on Windows. Empty where the system names no such folder; it need not exist.
std::filesystem::path GetUserCacheFolder();

}  // namespace zeb
