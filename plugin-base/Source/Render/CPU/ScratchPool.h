#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace zeb::render::cpu {

/// Working memory that a program keeps from one run to the next: as many objects as runs were under way at once not
/// long ago. They go with the pool. Thread: any.
template <class T>
class ScratchPool {
public:
    /// An object until the end of its scope, as the last user left it.
    class Lease {
    public:
        Lease(ScratchPool& pool, std::unique_ptr<T> object) : mPool(pool), mObject(std::move(object)) {}
        ~Lease() { mPool.Return(std::move(mObject)); }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        T& operator*() const { return *mObject; }

    private:
        ScratchPool& mPool;
        std::unique_ptr<T> mObject;
    };

    Lease Take() {
        std::unique_ptr<T> object;
        {
            const std::lock_guard lock(mMutex);
            // Room for its return, which must not fail.
            mFree.reserve(++mTaken + mFree.size());
            if (!mFree.empty()) {
                object = std::move(mFree.back().mObject);
                mFree.pop_back();
            }
        }
        if (object == nullptr) object = std::make_unique<T>();
        return Lease(*this, std::move(object));
    }

private:
    struct Free {
        std::unique_ptr<T> mObject;
        std::size_t mReturn;  ///< which one of all returns
    };

    void Return(std::unique_ptr<T> object) {
        std::unique_ptr<T> idle;
        const std::lock_guard lock(mMutex);
        --mTaken;
        mFree.push_back({std::move(object), ++mReturns});
        // The last one back is the next one taken, so that the first is idle the longest.
        if (mReturns - mFree.front().mReturn <= kPatience) return;
        idle = std::move(mFree.front().mObject);
        mFree.erase(mFree.begin());
    }

    static constexpr std::size_t kPatience = 64;  ///< returns that an object may lie idle for

    std::mutex mMutex;
    std::vector<Free> mFree;
    std::size_t mTaken = 0;
    std::size_t mReturns = 0;
};

}  // namespace zeb::render::cpu
