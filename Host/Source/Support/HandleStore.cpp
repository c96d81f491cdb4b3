#include "NimbrelHost/Support/HandleStore.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

namespace nimbrel::host {

HandleStore::HandleStore(std::string kind, Diagnostics& diagnostics)
    : mKind(std::move(kind)), mDiagnostics(diagnostics) {}

HandleStore::~HandleStore() {
    for (auto& [handle, block] : mBlocks) std::free(block->mData);
}

// calloc: what an effect finds in a new handle is the same in every run, so that frames don't depend on chance.
void** HandleStore::New(std::uint64_t size) {
    if (size > SIZE_MAX / 2) return nullptr;
    // An empty handle is still a handle: it gets a byte, and its size stays 0.
    auto block = std::make_unique<Block>();
    block->mData = std::calloc(1, std::max<std::size_t>(1, static_cast<std::size_t>(size)));
    if (block->mData == nullptr) return nullptr;
    block->mSize = size;
    void** const handle = &block->mData;
    const std::scoped_lock lock(mMutex);
    mBlocks.emplace(handle, std::move(block));
    return handle;
}

// Called under the lock. The text names the operation, since a stale handle says nothing of itself.
HandleStore::Block* HandleStore::Find(void** handle, const char* operation) const {
    const auto found = mBlocks.find(handle);
    if (found != mBlocks.end()) return found->second.get();
    mDiagnostics.Report(fmt::format("{}: {} that is not, or no longer, in use", operation, mKind));
    return nullptr;
}

void* HandleStore::Lock(void** handle) {
    const std::scoped_lock lock(mMutex);
    Block* const block = Find(handle, "lock");
    if (block == nullptr) return nullptr;
    ++block->mLocks;
    return block->mData;
}

bool HandleStore::Unlock(void** handle) {
    const std::scoped_lock lock(mMutex);
    Block* const block = Find(handle, "unlock");
    if (block == nullptr) return false;
    if (block->mLocks == 0) {
        mDiagnostics.Report(fmt::format("unlock: {} that is not locked", mKind));
        return false;
    }
    --block->mLocks;
    return true;
}

bool HandleStore::Dispose(void** handle) {
    const std::scoped_lock lock(mMutex);
    Block* const block = Find(handle, "dispose");
    if (block == nullptr) return false;
    std::free(block->mData);
    mBlocks.erase(handle);
    return true;
}

std::uint64_t HandleStore::GetSize(void** handle) const {
    const std::scoped_lock lock(mMutex);
    const Block* const block = Find(handle, "size");
    return block == nullptr ? 0 : block->mSize;
}

bool HandleStore::Resize(void** handle, std::uint64_t size) {
    const std::scoped_lock lock(mMutex);
    Block* const block = Find(handle, "resize");
    if (block == nullptr || size > SIZE_MAX / 2) return false;
    // The block moves, the handle stays: effects hold the pointer to the pointer.
    void* const data = std::realloc(block->mData, std::max<std::size_t>(1, static_cast<std::size_t>(size)));
    if (data == nullptr) return false;
    block->mData = data;
    block->mSize = size;
    return true;
}

bool HandleStore::IsLive(void** handle) const {
    const std::scoped_lock lock(mMutex);
    return mBlocks.contains(handle);
}

std::size_t HandleStore::CountLive() const {
    const std::scoped_lock lock(mMutex);
    return mBlocks.size();
}

// Locks don't pin anything here; the count finds effects that would starve a host whose memory moves.
std::size_t HandleStore::CountLocked() const {
    const std::scoped_lock lock(mMutex);
    return static_cast<std::size_t>(
        std::count_if(mBlocks.begin(), mBlocks.end(), [](const auto& entry) { return entry.second->mLocks > 0; }));
}

}  // namespace nimbrel::host
