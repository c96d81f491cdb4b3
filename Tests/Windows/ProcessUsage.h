#pragma once

#include <windows.h>

#include <array>
#include <cstddef>

namespace nimbrel::test {

/// What this process holds of the system.
struct ProcessUsage {
    DWORD mHandles = 0;
    std::size_t mHeapBytes = 0;  ///< in use on all heaps; not what a driver has outside of them
};

inline ProcessUsage MeasureProcess() {
    ProcessUsage usage;
    GetProcessHandleCount(GetCurrentProcess(), &usage.mHandles);
    std::array<HANDLE, 64> heaps = {};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    for (DWORD i = 0; i < count && i < heaps.size(); ++i) {
        HeapLock(heaps[i]);
        PROCESS_HEAP_ENTRY entry = {};
        while (HeapWalk(heaps[i], &entry) != FALSE)
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) usage.mHeapBytes += entry.cbData;
        HeapUnlock(heaps[i]);
    }
    return usage;
}

}  // namespace nimbrel::test
