#include "PluginBase/AE/AllocatorAE.h"

#include <cstring>

#include <fmt/format.h>

#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace zeb {
namespace {

constexpr std::size_t kHandleSlack = 8;
// A block begins behind its handle; 16 bytes keep the size of the slack as well.
constexpr std::size_t kBlockSlack = 16;

PF_Handle NewHandle(std::size_t size, std::size_t slack) {
    PF_Handle handle = AEGPSuites().HandleSuite1()->host_new_handle(size + slack);
    if (handle == nullptr) ZEB_THROW(kInternalError, fmt::format("Failed to allocate the handle of size {}", size));
    return handle;
}

}  // namespace

PF_Handle AllocateHandle(std::size_t size) { return NewHandle(size, kHandleSlack); }

void* LockHandle(PF_Handle handle) {
    if (handle == nullptr) return nullptr;
    void* memory = AEGPSuites().HandleSuite1()->host_lock_handle(handle);
    if (memory == nullptr) ZEB_THROW(kInternalError, "Failed to lock the handle");
    return memory;
}

void UnlockHandle(PF_Handle handle) {
    if (handle != nullptr) AEGPSuites().HandleSuite1()->host_unlock_handle(handle);
}

void FreeHandle(PF_Handle handle) {
    if (handle != nullptr) AEGPSuites().HandleSuite1()->host_dispose_handle(handle);
}

PF_Handle TryAllocateExactHandle(std::size_t size) { return AEGPSuites().HandleSuite1()->host_new_handle(size); }

void* Allocate(std::size_t size) {
    PF_Handle handle = NewHandle(size, kBlockSlack);
    std::byte* memory = nullptr;
    try {
        memory = static_cast<std::byte*>(LockHandle(handle));
    } catch (...) {
        FreeHandle(handle);
        throw;
    }
    std::memcpy(memory, &handle, sizeof(handle));
    return memory + sizeof(handle);
}

void Free(void* block) {
    if (block == nullptr) return;
    PF_Handle handle = nullptr;
    std::memcpy(&handle, static_cast<std::byte*>(block) - sizeof(handle), sizeof(handle));
    UnlockHandle(handle);
    FreeHandle(handle);
}

handle::LastLock::LastLock(PF_Handle handle)
    : mHandle(handle), mMemory(AEGPSuites().HandleSuite1()->host_lock_handle(handle)), mLocked(mMemory != nullptr) {
    // A handle is the address of its memory's address.
    if (!mLocked) mMemory = *handle;
}

handle::LastLock::~LastLock() {
    if (mLocked) UnlockHandle(mHandle);
}

void* handle::LockOrThrow(PF_Handle handle) {
    void* memory = LockHandle(handle);
    if (memory == nullptr) ZEB_THROW(kInternalError, "Failed to lock the handle");
    return memory;
}

}  // namespace zeb
