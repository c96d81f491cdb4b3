#include "Render/CPU/ThreadPool.h"

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <vector>

#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>

#include "PluginBase/Misc/LoadedLibrary.h"
#include "Render/CPU/Parallel.h"

namespace zeb::render::cpu {
namespace {

/// Whether a worker could not be started, after which the pool is never ended.
std::atomic<bool> sIsBroken = false;

/// Holds who comes until it is opened. Atomic objects could, but where the system has no such wait, as on Windows, the
/// GNU library's may miss the word that it is over.
class Gate {
public:
    void Wait() {
        std::unique_lock lock(mMutex);
        mOpened.wait(lock, [this] { return mIsOpen; });
    }
    void Open() {
        const std::lock_guard lock(mMutex);
        mIsOpen = true;
        mOpened.notify_all();
    }

private:
    std::mutex mMutex;
    std::condition_variable mOpened;
    bool mIsOpen = false;
};

/// Asks for one worker and holds it until told to let it go.
class HeldWorker {
public:
    /// Throws when the worker cannot be started.
    void Hold(Gate& gate) {
        mArena.execute([&] { mGroup.run([&gate] { gate.Wait(); }); });
    }
    /// The gate is open by now.
    void LetGo() noexcept {
        try {
            mArena.execute([this] { mGroup.wait(); });
        } catch (const std::exception&) {  // where not even the arena could be made
        }
    }

private:
    oneapi::tbb::task_arena mArena{2, 1};
    oneapi::tbb::task_group mGroup;
};

/// Starts up to `count` workers; how many there are.
std::uint32_t StartWorkers(std::uint32_t count) {
    std::vector<HeldWorker> workers(count);
    Gate gate;
    std::uint32_t started = 0;
    try {
        // While all others are held, each further one is started by this thread: a failure is met here and nowhere
        // else.
        for (; started < count; ++started) workers[started].Hold(gate);
    } catch (const std::exception&) {  // of the library: no thread or no memory
    }
    gate.Open();
    // The one that failed left its task behind.
    for (std::uint32_t i = 0; i <= started && i < count; ++i) workers[i].LetGo();
    return started;
}

}  // namespace

ThreadPool::ThreadPool(std::uint32_t limit) : mHandle(oneapi::tbb::attach{}), mThreadCount(GetConcurrency()) {
    const auto hold = [this](std::uint32_t threads) {
        mThreadCount = threads;
        mLimit = std::make_unique<oneapi::tbb::global_control>(oneapi::tbb::global_control::max_allowed_parallelism,
                                                               threads);
    };
    if (limit > 0 && limit < mThreadCount) hold(limit);
    const std::uint32_t wanted = mThreadCount - 1;
    const std::uint32_t started = StartWorkers(wanted);
    if (started == wanted) return;
    sIsBroken = true;
    hold(started + 1);
}

ThreadPool::~ThreadPool() {
    if (!sIsBroken) {
        oneapi::tbb::finalize(mHandle, std::nothrow);
        return;
    }
    // Its threads may run the library's code at any time from now on.
    KeepLibraryLoaded(reinterpret_cast<const void*>(&oneapi::tbb::detail::r1::max_concurrency));
    mHandle.release();
}

}  // namespace zeb::render::cpu
