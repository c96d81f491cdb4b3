#include "NimbrelHost/Commands/ComputeCache.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

namespace nimbrel::host {

ComputeCache::ComputeCache(Diagnostics& diagnostics, std::uint64_t limit) : mDiagnostics(diagnostics), mLimit(limit) {}

ComputeCache::~ComputeCache() = default;

// All four callbacks are required: the cache could neither compare, make, weigh nor free values without them.
A_Err ComputeCache::Register(const char* className, const AEGP_ComputeCacheCallbacks* callbacks) {
    if (className == nullptr || callbacks == nullptr || callbacks->generate_key == nullptr ||
        callbacks->compute == nullptr || callbacks->approx_size_value == nullptr ||
        callbacks->delete_compute_value == nullptr) {
        return A_Err_PARAMETER;
    }
    const std::scoped_lock lock(mMutex);
    auto& type = mClasses[className];
    if (type) {
        mDiagnostics.Report(fmt::format("compute cache: class \"{}\" is registered already", className));
        return A_Err_PARAMETER;
    }
    type = std::make_shared<Class>();
    type->mCallbacks = *callbacks;
    return A_Err_NONE;
}

A_Err ComputeCache::Unregister(const char* className) {
    std::vector<Doomed> doomed;
    {
        std::unique_lock lock(mMutex);
        const std::shared_ptr<Class> type = FindClass(className);
        if (!type) return A_Err_PARAMETER;
        // From here on no thread finds the class, but some may be computing for it: they are waited for, since the
        // effect may be unloaded once this returns.
        type->mUnregistered = true;
        mClasses.erase(className);
        mChanged.wait(lock, [&] {
            return std::all_of(type->mEntries.begin(), type->mEntries.end(),
                               [](const auto& entry) { return entry.second->mReady; });
        });
        const auto held = std::erase_if(mReceipts, [&](const auto& receipt) { return receipt.second->mClass == type; });
        if (held > 0) {
            mDiagnostics.Report(
                fmt::format("compute cache: class \"{}\" unregistered with {} values checked out", className, held));
        }
        for (const auto& [key, entry] : type->mEntries) {
            mSize -= entry->mSize;
            doomed.push_back({type, entry->mValue});
        }
        type->mEntries.clear();
    }
    Delete(doomed);
    return A_Err_NONE;
}

A_Err ComputeCache::ComputeIfNeededAndCheckout(const char* className, void* options, bool wait, void** receipt) {
    if (receipt == nullptr) return A_Err_PARAMETER;
    *receipt = nullptr;
    std::unique_lock lock(mMutex);
    const std::shared_ptr<Class> type = FindClass(className);
    if (!type) return A_Err_PARAMETER;
    Key key{};
    lock.unlock();
    if (const A_Err error = MakeKey(*type, options, key)) return error;
    lock.lock();
    // Each round looks afresh: while this thread slept the value may have been made, purged again or given up.
    for (;;) {
        if (type->mUnregistered) return A_Err_PARAMETER;
        const auto found = type->mEntries.find(key);
        if (found == type->mEntries.end()) {
            // The entry without a value is what makes others wait.
            const auto entry = std::make_shared<Entry>();
            type->mEntries.emplace(key, entry);
            return Compute(type, key, entry, options, lock, receipt);
        }
        const std::shared_ptr<Entry> entry = found->second;
        if (entry->mReady) {
            *receipt = MakeReceipt(type, entry);
            return A_Err_NONE;
        }
        if (entry->mComputing == std::this_thread::get_id()) {
            mDiagnostics.Report(fmt::format("compute cache: a value of \"{}\" needs itself", className));
            return A_Err_STRUCT;
        }
        if (!wait) return A_Err_NOT_IN_CACHE_OR_COMPUTE_PENDING;
        // Another thread's failure takes the entry away; then this thread tries for itself.
        mChanged.wait(lock);
    }
}

A_Err ComputeCache::Compute(const std::shared_ptr<Class>& type, const Key& key, const std::shared_ptr<Entry>& entry,
                            void* options, std::unique_lock<std::mutex>& lock, void** receipt) {
    using Clock = std::chrono::steady_clock;
    // Making a value takes seconds; the lock is let go so that other keys are served meanwhile.
    entry->mComputing = std::this_thread::get_id();
    lock.unlock();
    void* value = nullptr;
    const Clock::time_point start = Clock::now();
    const A_Err error = type->mCallbacks.compute(options, &value);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const std::uint64_t size = error == A_Err_NONE ? type->mCallbacks.approx_size_value(value) : 0;
    lock.lock();
    mComputeSeconds += seconds;
    std::vector<Doomed> doomed;
    if (error == A_Err_NONE) {
        entry->mReady = true;
        entry->mValue = value;
        entry->mSize = size;
        mSize += size;
        *receipt = MakeReceipt(type, entry);
        // The receipt just made keeps the new value from being purged by its own arrival.
        if (mLimit != 0) doomed = TakePurgeable(mLimit);
    } else {
        type->mEntries.erase(key);
    }
    mChanged.notify_all();
    lock.unlock();
    Delete(doomed);
    return error;
}

A_Err ComputeCache::CheckoutCached(const char* className, void* options, void** receipt) {
    if (receipt == nullptr) return A_Err_PARAMETER;
    *receipt = nullptr;
    std::unique_lock lock(mMutex);
    const std::shared_ptr<Class> type = FindClass(className);
    if (!type) return A_Err_PARAMETER;
    lock.unlock();
    Key key{};
    if (const A_Err error = MakeKey(*type, options, key)) return error;
    lock.lock();
    // A value in the making counts as absent: this call never waits.
    const auto found = type->mEntries.find(key);
    if (found == type->mEntries.end() || !found->second->mReady) return A_Err_NOT_IN_CACHE_OR_COMPUTE_PENDING;
    *receipt = MakeReceipt(type, found->second);
    return A_Err_NONE;
}

A_Err ComputeCache::GetValue(void* receipt, void** value) const {
    const std::scoped_lock lock(mMutex);
    const auto found = mReceipts.find(receipt);
    if (found == mReceipts.end() || value == nullptr) {
        mDiagnostics.Report("compute cache: value asked for without a receipt");
        return A_Err_STRUCT;
    }
    *value = found->second->mEntry->mValue;
    return A_Err_NONE;
}

A_Err ComputeCache::Checkin(void* receipt) {
    std::vector<Doomed> doomed;
    {
        const std::scoped_lock lock(mMutex);
        const auto found = mReceipts.find(receipt);
        if (found == mReceipts.end()) {
            mDiagnostics.Report("compute cache: checked in without a receipt");
            return A_Err_STRUCT;
        }
        // The last check-in may make room that was wanted while the value was held.
        --found->second->mEntry->mCheckouts;
        mReceipts.erase(found);
        if (mLimit != 0) doomed = TakePurgeable(mLimit);
    }
    Delete(doomed);
    return A_Err_NONE;
}

void ComputeCache::Purge(std::uint64_t limit) {
    std::vector<Doomed> doomed;
    {
        const std::scoped_lock lock(mMutex);
        doomed = TakePurgeable(limit);
    }
    Delete(doomed);
}

std::size_t ComputeCache::CountValues() const {
    const std::scoped_lock lock(mMutex);
    std::size_t count = 0;
    for (const auto& [name, type] : mClasses) count += type->mEntries.size();
    return count;
}

std::size_t ComputeCache::CountClasses() const {
    const std::scoped_lock lock(mMutex);
    return mClasses.size();
}

std::uint64_t ComputeCache::GetSize() const {
    const std::scoped_lock lock(mMutex);
    return mSize;
}

std::size_t ComputeCache::CountReceiptsOfThisThread() const {
    const std::scoped_lock lock(mMutex);
    return static_cast<std::size_t>(std::count_if(mReceipts.begin(), mReceipts.end(), [](const auto& receipt) {
        return receipt.second->mThread == std::this_thread::get_id();
    }));
}

double ComputeCache::GetComputeSeconds() const {
    const std::scoped_lock lock(mMutex);
    return mComputeSeconds;
}

// Called under the lock. The class is shared, so that it outlives being unregistered while a callback runs.
std::shared_ptr<ComputeCache::Class> ComputeCache::FindClass(const char* className) const {
    const auto found = className == nullptr ? mClasses.end() : mClasses.find(className);
    if (found != mClasses.end()) return found->second;
    mDiagnostics.Report(
        fmt::format("compute cache: class \"{}\" is not registered", className == nullptr ? "" : className));
    return nullptr;
}

A_Err ComputeCache::MakeKey(const Class& type, void* options, Key& key) const {
    AEGP_GUID guid{};
    const A_Err error = type.mCallbacks.generate_key(options, &guid);
    std::copy(std::begin(guid.bytes), std::end(guid.bytes), key.begin());
    return error;
}

// Called under the lock. Receipts are objects of their own, so that a wrong or stale one is told apart safely.
void* ComputeCache::MakeReceipt(const std::shared_ptr<Class>& type, const std::shared_ptr<Entry>& entry) {
    ++entry->mCheckouts;
    entry->mLastUse = ++mClock;
    auto receipt = std::make_unique<Receipt>(Receipt{type, entry, std::this_thread::get_id()});
    void* const pointer = receipt.get();
    mReceipts.emplace(pointer, std::move(receipt));
    return pointer;
}

// Called under the lock; the values are deleted after it. Values are few and large, so a search of all of them each
// time costs nothing next to making one.
std::vector<ComputeCache::Doomed> ComputeCache::TakePurgeable(std::uint64_t limit) {
    std::vector<Doomed> doomed;
    while (mSize > limit) {
        std::shared_ptr<Class> oldestClass;
        std::map<Key, std::shared_ptr<Entry>>::iterator oldest;
        for (const auto& [name, type] : mClasses) {
            for (auto entry = type->mEntries.begin(); entry != type->mEntries.end(); ++entry) {
                if (!entry->second->mReady || entry->second->mCheckouts > 0) continue;
                if (oldestClass && oldest->second->mLastUse < entry->second->mLastUse) continue;
                oldestClass = type;
                oldest = entry;
            }
        }
        // All that is left is in use: the limit yields, values in use never go.
        if (!oldestClass) break;
        mSize -= oldest->second->mSize;
        doomed.push_back({oldestClass, oldest->second->mValue});
        oldestClass->mEntries.erase(oldest);
    }
    return doomed;
}

void ComputeCache::Delete(const std::vector<Doomed>& doomed) {
    for (const auto& [type, value] : doomed) type->mCallbacks.delete_compute_value(value);
}

}  // namespace nimbrel::host
