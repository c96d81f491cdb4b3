#pragma once

#include <cstdint>

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/parallel_for.h>

namespace zeb::render::cpu {

/// Calls `body(begin, end)` for parts of [0, count) that together make up all of it, on the kept pool of threads, the
/// calling one included. Parts are at least `grain` long but for the last.
template <class Body>
void ParallelFor(std::uint32_t count, std::uint32_t grain, const Body& body) {
    if (count == 0) return;
    oneapi::tbb::parallel_for(
        oneapi::tbb::blocked_range<std::uint32_t>(0, count, grain == 0 ? 1 : grain),
        [&](const oneapi::tbb::blocked_range<std::uint32_t>& range) { body(range.begin(), range.end()); });
}

/// Threads that a parallel loop of the calling thread may use.
inline std::uint32_t GetConcurrency() {
    const int threads = oneapi::tbb::info::default_concurrency();
    return threads > 1 ? static_cast<std::uint32_t>(threads) : 1;
}

}  // namespace zeb::render::cpu
