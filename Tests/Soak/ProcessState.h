#pragma once

#include <cstddef>

namespace nimbrel::soak {

/// What a process holds of the system.
struct ProcessState {
    std::size_t mThreads = 0;
    std::size_t mFiles = 0;     ///< open descriptors
    std::size_t mBytes = 0;     ///< allocated and not given back
    std::size_t mResident = 0;  ///< bytes
};

ProcessState GetProcessState();

}  // namespace nimbrel::soak
