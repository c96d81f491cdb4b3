#include "PluginBase/Misc/RangesManager.h"

#include <iterator>

#include <fmt/format.h>

#include "PluginBase/Exception.h"

namespace zeb {

RangesManager::RangesManager(std::int32_t capacity) : mCapacity(capacity) {}

std::int32_t RangesManager::GetRange(std::int32_t size) {
    const auto found = mFreeBySize.lower_bound(size);
    if (found == mFreeBySize.end()) {
        // Compared this way round so that a huge request cannot overflow.
        if (size > mCapacity - mTop) ZEB_THROW(kInternalError, fmt::format("Failed to get range of size {}", size));
        const std::int32_t offset = mTop;
        mTop += size;
        return offset;
    }
    const std::int32_t blockSize = found->first;
    const std::int32_t offset = *found->second.begin();
    UnregisterSize(offset, blockSize);
    if (blockSize == size) {
        mFreeByOffset.erase(offset);
        return offset;
    }
    // Cut from the end, so that the block keeps its offset.
    const std::int32_t rest = blockSize - size;
    mFreeByOffset[offset] = rest;
    RegisterSize(offset, rest);
    return offset + rest;
}

void RangesManager::ReleaseRange(std::int32_t offset, std::int32_t size) {
    const auto next = mFreeByOffset.lower_bound(offset);
    auto block = mFreeByOffset.end();
    if (next != mFreeByOffset.begin()) {
        const auto previous = std::prev(next);
        const std::int32_t previousEnd = previous->first + previous->second;
        if (previousEnd > offset) ZEB_THROW(kInternalError, "Failed to release already free space of a range");
        if (previousEnd == offset) block = previous;
    }
    if (next != mFreeByOffset.end()) {
        if (block == mFreeByOffset.end() && next->first == offset)
            ZEB_THROW(kInternalError, "Trying to release an already free range");
        if (offset + size > next->first) ZEB_THROW(kInternalError, "Failed to release already free space of a range");
    }
    if (offset + size > mTop) ZEB_THROW(kInternalError, "Failed to release already free space of a range");

    // All checks have passed: nothing below fails, so a refused release changes nothing.
    if (block != mFreeByOffset.end()) {
        UnregisterSize(block->first, block->second);
        block->second += size;
    } else {
        block = mFreeByOffset.emplace(offset, size).first;
    }
    if (next != mFreeByOffset.end() && block->first + block->second == next->first) {
        UnregisterSize(next->first, next->second);
        block->second += next->second;
        mFreeByOffset.erase(next);
    }
    if (block->first + block->second == mTop) {
        mTop -= block->second;
        mFreeByOffset.erase(block);
    } else {
        RegisterSize(block->first, block->second);
    }
}

void RangesManager::RegisterSize(std::int32_t offset, std::int32_t size) {
    if (!mFreeBySize[size].insert(offset).second) {
        ZEB_THROW(kInternalError,
                  fmt::format("Register a size of a range with index of {} for size of {} twice", offset, size));
    }
}

void RangesManager::UnregisterSize(std::int32_t offset, std::int32_t size) {
    const auto found = mFreeBySize.find(size);
    if (found == mFreeBySize.end() || found->second.erase(offset) == 0) {
        ZEB_THROW(
            kInternalError,
            fmt::format("Failed to unregister a size for a range with index of {} with size of {}", offset, size));
    }
    if (found->second.empty()) mFreeBySize.erase(found);
}

}  // namespace zeb
