#pragma once

#include <cstdint>
#include <memory>

#include <oneapi/tbb/global_control.h>

namespace zeb::render::cpu {

/// The hold of a device on oneTBB's pool, which all users in the process have in common. A worker that cannot be
/// started in the middle of a parallel loop leaves the pool in disorder for good, so all are started here, one by one;
/// when one cannot be had, loops make do with those that are there.
class ThreadPool {
public:
    /// Loops have at most `limit` threads; 0: as many as there are processors.
    explicit ThreadPool(std::uint32_t limit = 0);
    /// Ends the pool's threads, as far as no one else uses it. A pool that had a failure is left to the process's end:
    /// ending it might not come to an end itself.
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    /// Threads that loops have, the calling one included.
    std::uint32_t GetThreadCount() const { return mThreadCount; }

private:
    oneapi::tbb::task_scheduler_handle mHandle;
    std::uint32_t mThreadCount;
    std::unique_ptr<oneapi::tbb::global_control> mLimit;  ///< null when there is a thread for each processor
};

}  // namespace zeb::render::cpu
