#pragma once

#include <cstdint>
#include <map>
#include <set>

namespace zeb {

/// Best-fit allocator of integer ranges in a space of fixed size. Neighbouring free blocks are merged
/// at once, so a long run of takes and releases does not fragment the space. Not locked.
class RangesManager {
public:
    explicit RangesManager(std::int32_t capacity);

    /// Offset of a free run of `size`. Throws zeb::Exception when no run is left.
    std::int32_t GetRange(std::int32_t size);
    /// Gives a run back. Throws zeb::Exception when some of it is free already.
    void ReleaseRange(std::int32_t offset, std::int32_t size);

private:
    void RegisterSize(std::int32_t offset, std::int32_t size);
    void UnregisterSize(std::int32_t offset, std::int32_t size);

    std::int32_t mCapacity;
    std::int32_t mTop = 0;  ///< offset of the first slot never used
    std::map<std::int32_t, std::int32_t> mFreeByOffset;
    std::map<std::int32_t, std::set<std::int32_t>> mFreeBySize;
};

}  // namespace zeb
