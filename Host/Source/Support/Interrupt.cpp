#include "NimbrelHost/Support/Interrupt.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <utility>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>
#endif

namespace nimbrel::host {
namespace {

constexpr int kPatienceMs = 500;
constexpr int kDefaultCode = 130;

std::atomic<bool> gInterrupted{false};
std::atomic<int> gCode{kDefaultCode};
std::atomic<const char*> gLastWords{""};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free &&
                  std::atomic<const char*>::is_always_lock_free,
              "a signal handler uses them");

// A handler allocates nothing and waits for nobody, so names lie in places of fixed size.
enum State : int { kFree, kTaken, kNamed };

struct Place {
    std::atomic<int> mState{kFree};
    std::array<std::filesystem::path::value_type, 4096> mName{};
};

std::array<Place, 64> gPlaces;

void RemoveUnfinished() noexcept {
    for (const Place& place : gPlaces) {
        if (place.mState != kNamed) continue;
#ifdef _WIN32
        DeleteFileW(place.mName.data());
#else
        unlink(place.mName.data());
#endif
    }
}

#ifdef _WIN32

void EndNow() noexcept {
    RemoveUnfinished();
    DWORD written = 0;
    const char* const words = gLastWords;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), words, static_cast<DWORD>(std::strlen(words)), &written, nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(gCode.load()));
}

// On a thread of the system's, which ends with the process.
BOOL WINAPI HandleConsole(DWORD) {
    if (!gInterrupted.exchange(true)) Sleep(kPatienceMs);
    EndNow();
    return TRUE;
}

#else

[[noreturn]] void EndNow() noexcept {
    RemoveUnfinished();
    const char* const words = gLastWords;
    // Whoever reads them may have gone too.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, words, std::strlen(words));
    _exit(gCode);
}

void HandleSignal(int number) {
    if (number == SIGALRM) EndNow();
    gCode = 128 + number;
    if (gInterrupted.exchange(true)) EndNow();
    itimerval timer{};
    timer.it_value.tv_usec = kPatienceMs * 1000;
    setitimer(ITIMER_REAL, &timer, nullptr);
}

#endif

}  // namespace

void RequestInterrupt() noexcept { gInterrupted = true; }
void ClearInterrupt() noexcept { gInterrupted = false; }
bool IsInterrupted() noexcept { return gInterrupted; }
int GetInterruptCode() noexcept { return gCode; }

void CatchInterrupts(const char* lastWords) noexcept {
    gLastWords = lastWords;
#ifdef _WIN32
    SetConsoleCtrlHandler(HandleConsole, TRUE);
#else
    struct sigaction action {};
    action.sa_handler = HandleSignal;
    // Reads and writes go on; what cannot is ended by the timer.
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGINT, SIGTERM, SIGALRM}) sigaction(number, &action, nullptr);
#endif
}

UnfinishedFile::UnfinishedFile(const std::filesystem::path& file) noexcept {
    const auto& name = file.native();
    for (std::size_t i = 0; i < gPlaces.size() && name.size() < gPlaces[i].mName.size(); ++i) {
        int expected = kFree;
        if (!gPlaces[i].mState.compare_exchange_strong(expected, kTaken)) continue;
        std::memcpy(gPlaces[i].mName.data(), name.c_str(), (name.size() + 1) * sizeof(name[0]));
        gPlaces[i].mState = kNamed;
        mPlace = i;
        return;
    }
}

void UnfinishedFile::Release() noexcept {
    const std::size_t place = std::exchange(mPlace, kNone);
    if (place != kNone) gPlaces[place].mState = kFree;
}

}  // namespace nimbrel::host
