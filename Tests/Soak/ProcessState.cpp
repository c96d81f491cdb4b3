#include "ProcessState.h"

#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Of the sanitizers' allocator; g++ ships no header for it.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace nimbrel::soak {
namespace {

std::size_t CountEntries(const char* folder) {
    const std::filesystem::directory_iterator begin(folder);
    return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

std::size_t CountBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return __sanitizer_get_current_allocated_bytes();
#else
    malloc_trim(0);
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

}  // namespace

ProcessState GetProcessState() {
    ProcessState state;
    state.mThreads = CountEntries("/proc/self/task");
    state.mFiles = CountEntries("/proc/self/fd");
    state.mBytes = CountBytes();
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    state.mResident = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return state;
}

}  // namespace nimbrel::soak
