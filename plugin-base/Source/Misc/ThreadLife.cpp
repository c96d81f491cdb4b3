#include "PluginBase/Misc/ThreadLife.h"

#if defined(_WIN32)
#include <windows.h>
#elif defined(__linux__)
#include <cerrno>

#include <sys/syscall.h>
#include <unistd.h>
#endif

#include "PluginBase/Misc/ThreadNumber.h"

namespace zeb {

#if defined(_WIN32)

ThreadLife::ThreadLife() : mNumber(GetCurrentThreadNumber()) {
    HANDLE handle = nullptr;
    if (DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &handle, SYNCHRONIZE, FALSE, 0))
        mHandle = handle;
}

ThreadLife::~ThreadLife() {
    if (mHandle != nullptr) CloseHandle(mHandle);
}

bool ThreadLife::HasEnded() const { return mHandle != nullptr && WaitForSingleObject(mHandle, 0) == WAIT_OBJECT_0; }

#else

ThreadLife::ThreadLife() : mNumber(GetCurrentThreadNumber()) {}
ThreadLife::~ThreadLife() = default;

bool ThreadLife::HasEnded() const {
#if defined(__linux__)
    // Signal 0 is sent to nobody. A number that another thread has by now counts as alive.
    return syscall(SYS_tgkill, getpid(), static_cast<pid_t>(mNumber), 0) != 0 && errno == ESRCH;
#else
    return false;
#endif
}

#endif

}  // namespace zeb
