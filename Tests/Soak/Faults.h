#pragma once

/// Failures of the process's own: an allocation of 4 KB or more or a start of a thread that fails, by number, on any
/// thread. The
/// program's allocation functions and its pthread_create come before the system's.
namespace nimbrel::soak {

struct Fault {
    long mAllocation = 0;     ///< the allocation that fails, counted from 1; 0: none
    bool mIsForGood = false;  ///< all later ones fail too
    bool mThreads = false;    ///< no thread can be started
};

/// What fails as long as this object lives. One at a time.
class FaultScope {
public:
    explicit FaultScope(const Fault& fault);
    ~FaultScope();
    FaultScope(const FaultScope&) = delete;
    FaultScope& operator=(const FaultScope&) = delete;
};

/// The thread's allocations do not fail as long as this object lives.
class Exempt {
public:
    Exempt();
    ~Exempt();
    Exempt(const Exempt&) = delete;
    Exempt& operator=(const Exempt&) = delete;
};

/// Failures that there have been.
long CountFailedAllocations();
long CountRefusedThreads();

}  // namespace nimbrel::soak
