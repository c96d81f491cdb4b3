#include "PluginBase/Misc/UserFolders.h"

#include <cstdlib>

namespace zeb {
namespace {

std::filesystem::path GetVariable(const char* name) {
#if defined(_WIN32)
    const wchar_t* const value = _wgetenv(std::filesystem::path(name).c_str());
#else
    const char* const value = std::getenv(name);
#endif
    if (value == nullptr) return {};
    // A relative path is no answer.
    std::filesystem::path path(value);
    return path.is_absolute() ? path : std::filesystem::path();
}

}  // namespace

std::filesystem::path GetUserCacheFolder() {
#if defined(_WIN32)
    return GetVariable("LOCALAPPDATA");
#else
    if (auto folder = GetVariable("XDG_CACHE_HOME"); !folder.empty()) return folder;
    const std::filesystem::path home = GetVariable("HOME");
    return home.empty() ? home : home / ".cache";
#endif
}

}  // namespace zeb
