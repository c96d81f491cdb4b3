#include "PluginBase/Misc/ThreadNumber.h"

#if defined(_WIN32)
#include <windows.h>
#elif defined(__linux__)
#include <sys/syscall.h>
#include <unistd.h>
#else
#include <functional>
#include <thread>
#endif

namespace zeb {

std::uint32_t GetCurrentThreadNumber() {
#if defined(_WIN32)
    return GetCurrentThreadId();
#elif defined(__linux__)
    return static_cast<std::uint32_t>(syscall(SYS_gettid));
#else
    return static_cast<std::uint32_t>(std::hash<std::thread::id>()(std::this_thread::get_id()));
#endif
}

}  // namespace zeb
