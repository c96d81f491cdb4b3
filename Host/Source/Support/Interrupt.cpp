#include "NimbrelHost/Support/Interrupt.h"

#include <atomic>
#include <csignal>

#ifdef _WIN32
#include <windows.h>
#endif

namespace nimbrel::host {
namespace {

std::atomic<bool> gInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

#ifdef _WIN32
// On a thread of the system's. What is not handled here ends the process.
BOOL WINAPI HandleConsole(DWORD) { return gInterrupted.exchange(true) ? FALSE : TRUE; }
#else
void HandleSignal(int number) {
    RequestInterrupt();
    std::signal(number, SIG_DFL);
}
#endif

}  // namespace

void RequestInterrupt() noexcept { gInterrupted = true; }
void ClearInterrupt() noexcept { gInterrupted = false; }
bool IsInterrupted() noexcept { return gInterrupted; }

void CatchInterrupts() noexcept {
#ifdef _WIN32
    SetConsoleCtrlHandler(HandleConsole, TRUE);
#else
    std::signal(SIGINT, HandleSignal);
    std::signal(SIGTERM, HandleSignal);
#endif
}

}  // namespace nimbrel::host
