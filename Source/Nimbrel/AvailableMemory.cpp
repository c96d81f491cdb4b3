#include "AvailableMemory.h"

#include <algorithm>
#include <limits>
#include <new>

#ifdef _WIN32
#include <windows.h>
#else
#include <fstream>
#include <string>
#endif

namespace {

constexpr std::uint64_t kUnknown = std::numeric_limits<std::uint64_t>::max();

// Below this a question to the system costs more than the block.
constexpr std::uint64_t kNotWorthAsking = std::uint64_t{64} << 20;

#ifndef _WIN32

// MemAvailable and SwapFree of the kernel's summary, which counts in KiB.
std::uint64_t GetMachineMemory() {
    std::ifstream file("/proc/meminfo");
    std::uint64_t sum = 0;
    bool found = false;
    for (std::string key; file >> key;) {
        std::uint64_t kibibytes = 0;
        if (key == "MemAvailable:" || key == "SwapFree:") {
            file >> kibibytes;
            sum += kibibytes << 10;
            found = true;
        }
        file.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return found ? sum : kUnknown;
}

// Version 2 holds the word "max" where there is no limit, version 1 a very large number.
std::uint64_t GetGroupLimit() {
    for (const char* path : {"/sys/fs/cgroup/memory.max", "/sys/fs/cgroup/memory/memory.limit_in_bytes"}) {
        std::ifstream file(path);
        std::uint64_t limit = 0;
        if (file >> limit) return limit;
    }
    return kUnknown;
}

#endif

}  // namespace

std::uint64_t GetAvailableMemory() {
#ifdef _WIN32
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof(status);
    return GlobalMemoryStatusEx(&status) ? status.ullAvailPageFile : kUnknown;
#else
    return std::min(GetMachineMemory(), GetGroupLimit());
#endif
}

void RequireMemory(std::uint64_t bytes) {
    if (bytes > kNotWorthAsking && bytes > GetAvailableMemory()) throw std::bad_alloc();
}
