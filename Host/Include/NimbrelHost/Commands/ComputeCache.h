#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "HostInterface/HostInterface.h"
#include "NimbrelHost/Support/Diagnostics.h"

namespace nimbrel::host {

/// The host's compute cache: values of the effect kept under keys of the effect, shared by threads. A value is computed
/// by one thread while others wait; it may be purged, least recently used first, while nobody has it checked out.
/// The functions answer the host interface's codes. Any thread; no callback of the effect runs under the lock.
class ComputeCache {
public:
    /// `limit` in bytes of what the effect's values say they take; 0 for none.
    explicit ComputeCache(Diagnostics& diagnostics, std::uint64_t limit = 0);
    ~ComputeCache();

    A_Err Register(const char* className, const AEGP_ComputeCacheCallbacks* callbacks);
    /// Deletes all values of the class; waits for those being computed.
    A_Err Unregister(const char* className);
    /// 22 without `wait` while another thread computes this value.
    A_Err ComputeIfNeededAndCheckout(const char* className, void* options, bool wait, void** receipt);
    /// 22 if the value is not there.
    A_Err CheckoutCached(const char* className, void* options, void** receipt);
    A_Err GetValue(void* receipt, void** value) const;
    A_Err Checkin(void* receipt);

    /// Deletes what is not checked out until the values take at most `limit` bytes.
    void Purge(std::uint64_t limit);

    std::size_t CountValues() const;
    std::size_t CountClasses() const;
    std::uint64_t GetSize() const;
    /// Receipts that this thread checked out and did not check in.
    std::size_t CountReceiptsOfThisThread() const;
    /// Wall time that computing values took so far, all threads together.
    double GetComputeSeconds() const;

private:
    using Key = std::array<std::int32_t, 4>;

    struct Entry {
        bool mReady = false;
        void* mValue = nullptr;
        std::uint64_t mSize = 0;
        int mCheckouts = 0;
        std::uint64_t mLastUse = 0;
        std::thread::id mComputing;
    };

    struct Class {
        AEGP_ComputeCacheCallbacks mCallbacks{};
        std::map<Key, std::shared_ptr<Entry>> mEntries;
        bool mUnregistered = false;
    };

    struct Receipt {
        std::shared_ptr<Class> mClass;
        std::shared_ptr<Entry> mEntry;
        std::thread::id mThread;
    };

    struct Doomed {
        std::shared_ptr<Class> mClass;
        void* mValue;
    };

    std::shared_ptr<Class> FindClass(const char* className) const;
    A_Err MakeKey(const Class& type, void* options, Key& key) const;
    void* MakeReceipt(const std::shared_ptr<Class>& type, const std::shared_ptr<Entry>& entry);
    A_Err Compute(const std::shared_ptr<Class>& type, const Key& key, const std::shared_ptr<Entry>& entry,
                  void* options, std::unique_lock<std::mutex>& lock, void** receipt);
    std::vector<Doomed> TakePurgeable(std::uint64_t limit);
    static void Delete(const std::vector<Doomed>& doomed);

    Diagnostics& mDiagnostics;
    std::uint64_t mLimit;
    mutable std::mutex mMutex;
    std::condition_variable mChanged;
    std::map<std::string, std::shared_ptr<Class>> mClasses;
    std::unordered_map<void*, std::unique_ptr<Receipt>> mReceipts;
    std::uint64_t mSize = 0;
    std::uint64_t mClock = 0;
    double mComputeSeconds = 0;
};

}  // namespace nimbrel::host
