#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "NimbrelHost/Support/Diagnostics.h"

namespace nimbrel::host {

/// The memory that effects hold by handle: a handle is a pointer to the block's pointer. Every live handle is known,
/// so that a stale one is reported instead of followed, and leaks can be counted. Any thread.
class HandleStore {
public:
    HandleStore(std::string kind, Diagnostics& diagnostics);
    ~HandleStore();
    HandleStore(const HandleStore&) = delete;
    HandleStore& operator=(const HandleStore&) = delete;

    /// Zeroed memory, aligned for any type; null when there is none.
    void** New(std::uint64_t size);
    /// The data, or null for an unknown handle.
    void* Lock(void** handle);
    bool Unlock(void** handle);
    bool Dispose(void** handle);
    /// Bytes; 0 for an unknown handle.
    std::uint64_t GetSize(void** handle) const;
    /// Keeps the handle and the contents up to the smaller size.
    bool Resize(void** handle, std::uint64_t size);
    bool IsLive(void** handle) const;

    std::size_t CountLive() const;
    std::size_t CountLocked() const;

private:
    struct Block {
        void* mData = nullptr;  // first: the handle points here
        std::uint64_t mSize = 0;
        int mLocks = 0;
    };

    Block* Find(void** handle, const char* operation) const;

    std::string mKind;
    Diagnostics& mDiagnostics;
    mutable std::mutex mMutex;
    std::unordered_map<void**, std::unique_ptr<Block>> mBlocks;
};

}  // namespace nimbrel::host
