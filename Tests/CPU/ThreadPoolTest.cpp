// oneTBB's pool when the system gives no thread: in a program of its own, whose pthread_create comes before the
// system's.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>

#include "Render/CPU/Parallel.h"
#include "Render/CPU/ThreadPool.h"

namespace {

std::atomic<bool> gRefuses{false};
std::atomic<int> gRefused{0};

}  // namespace

extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                                     const pthread_attr_t* attributes,
                                                                     void* (*start)(void*), void* argument) {
    using Function = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_create"));
    if (!gRefuses) return real(thread, attributes, start, argument);
    ++gRefused;
    return EAGAIN;
}

namespace zeb::render::cpu {
namespace {

void ExpectLoopsRun() {
    for (int i = 0; i < 20; ++i) {
        std::atomic<std::uint64_t> sum = 0;
        ParallelFor(10000, 1, [&](std::uint32_t begin, std::uint32_t end) {
            for (std::uint32_t k = begin; k < end; ++k) sum += k;
        });
        EXPECT_EQ(sum, 10000ULL * 9999 / 2);
    }
}

// An end that does not come fails by the test's own limit of time.
TEST(ThreadPool, LoopsRunAndThePoolEndsWhateverThreadsCannotBeStarted) {
    if (GetConcurrency() < 2) GTEST_SKIP() << "one core starts no thread";
    {
        const ThreadPool pool;
        EXPECT_EQ(pool.GetThreadCount(), GetConcurrency());
        ExpectLoopsRun();
    }
    for (const std::uint32_t limit : {1U, 1000U}) {
        const ThreadPool pool(limit);
        EXPECT_EQ(pool.GetThreadCount(), std::min(limit, GetConcurrency()));
        ExpectLoopsRun();
    }
    gRefuses = true;
    {
        const ThreadPool pool;
        EXPECT_GT(gRefused, 0);
        EXPECT_EQ(pool.GetThreadCount(), 1U);
        const int refused = gRefused;
        ExpectLoopsRun();
        EXPECT_EQ(gRefused, refused) << "nobody else may meet the failure";
    }
    gRefuses = false;
    const ThreadPool again;
    ExpectLoopsRun();
}

}  // namespace
}  // namespace zeb::render::cpu
