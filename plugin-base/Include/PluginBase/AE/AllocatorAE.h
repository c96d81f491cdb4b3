#pragma once

#include <cstddef>
#include <new>
#include <utility>

#include "HostInterface/HostInterface.h"
#include "PluginBase/Misc/MakeUnique.h"

/// Host memory that outlives a command, through the context's "PF Handle Suite". Thread: one with a
/// context.
namespace zeb {

/// A handle of `size` bytes and 8 of slack. Throws when the host gives none.
PF_Handle AllocateHandle(std::size_t size);
/// The handle's memory; null for null. Throws when the host cannot lock it.
void* LockHandle(PF_Handle handle);
void UnlockHandle(PF_Handle handle);
void FreeHandle(PF_Handle handle);

/// A handle of exactly `size` bytes, for data whose size the host keeps; null when the host gives none.
PF_Handle TryAllocateExactHandle(std::size_t size);

/// A block of `size` bytes in a locked handle, which is stored in the 8 bytes before it.
void* Allocate(std::size_t size);
/// Unlocks and frees the handle of a block that Allocate gave; nothing for null.
void Free(void* block);

namespace handle {

inline void* Lock(PF_Handle handle) { return LockHandle(handle); }

/// The object in a locked handle. The owner's deleter only unlocks. Throws for a null handle.
void* LockOrThrow(PF_Handle handle);

template <class T>
UniquePtr<T> LockUnique(PF_Handle handle) {
    T* object = static_cast<T*>(LockOrThrow(handle));
    return UniquePtr<T>(object, StoredDeleter<T>([](void* p) { UnlockHandle(static_cast<PF_Handle>(p)); }, handle));
}

/// A handle that holds a new T, built in place.
template <class T, class... Args>
PF_Handle New(Args&&... args) {
    PF_Handle handle = AllocateHandle(sizeof(T));
    try {
        ::new (LockOrThrow(handle)) T(std::forward<Args>(args)...);
    } catch (...) {
        FreeHandle(handle);
        throw;
    }
    UnlockHandle(handle);
    return handle;
}

/// The memory of a handle that is going, locked if the host can: what it holds must go with it either way.
class LastLock {
public:
    explicit LastLock(PF_Handle handle);
    ~LastLock();
    LastLock(const LastLock&) = delete;
    LastLock& operator=(const LastLock&) = delete;

    void* Get() const { return mMemory; }

private:
    PF_Handle mHandle;
    void* mMemory;
    bool mLocked;
};

/// Destroys the T in the handle and frees the handle; nothing for null.
template <class T>
void Delete(PF_Handle handle) {
    if (handle == nullptr) return;
    if (const LastLock lock(handle); lock.Get() != nullptr) static_cast<T*>(lock.Get())->~T();
    FreeHandle(handle);
}

}  // namespace handle
}  // namespace zeb
