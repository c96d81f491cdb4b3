#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

namespace zeb::render::cpu {

/// Calls `body(begin, end)` for parts of [0, count) that together make up all of it, on the kept pool of threads, the
/// calling one included. Parts are at least `grain` long but for the last.
template <class Body>
void ParallelFor(std::uint32_t count, std::uint32_t grain, const Body& body) {
    if (count == 0) return;
    // Orders what is written before, in and behind the parts also for tools that do not see into oneTBB.
    std::atomic<std::uint32_t> handedOver{0};
    handedOver.store(1, std::memory_order_release);
    oneapi::tbb::parallel_for(oneapi::tbb::blocked_range<std::uint32_t>(0, count, grain == 0 ? 1 : grain),
                              [&](const oneapi::tbb::blocked_range<std::uint32_t>& range) {
                                  handedOver.fetch_add(1, std::memory_order_acq_rel);
                                  body(range.begin(), range.end());
                                  handedOver.fetch_add(1, std::memory_order_acq_rel);
                              });
    static_cast<void>(handedOver.load(std::memory_order_acquire));
}

/// Calls `body`, whose loops stay on the calling thread: no worker is started, for who starts some has to end them
/// before its library is unloaded.
template <class Body>
void RunAlone(const Body& body) {
    oneapi::tbb::task_arena(1).execute(body);
}

/// Threads that a parallel loop of the calling thread may use, unless the pool is held to fewer.
inline std::uint32_t GetConcurrency() {
    const int threads = oneapi::tbb::info::default_concurrency();
    return threads > 1 ? static_cast<std::uint32_t>(threads) : 1;
}

/// Calls `body(i)` for every i of [0, count), several at a time.
template <class Body>
void ParallelForEach(std::size_t count, const Body& body) {
    ParallelFor(static_cast<std::uint32_t>(count), 1, [&](std::uint32_t begin, std::uint32_t end) {
        for (std::uint32_t i = begin; i < end; ++i) body(std::size_t{i});
    });
}

}  // namespace zeb::render::cpu
