#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

namespace zeb::render::cpu {

/// Working memory of one kind of elements, kept from one use to the next. It grows on demand, and shrinks when several
/// uses in a row need far less than it has: a huge frame's memory goes back soon after the last such frame, while
/// frames that take turns keep it. Thread: one at a time.
template <class T>
class ScratchArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    /// Room for `count` elements, with undefined contents, until the next call.
    T* Reserve(std::size_t count) {
        const bool wasteful = mCount * sizeof(T) > kNeverTooLarge && count < mCount / kFarLess;
        mWasteful = wasteful ? mWasteful + 1 : 0;
        if (count > mCount || mWasteful == kPatience) {
            mElements.reset();
            mCount = 0;
            mElements.reset(new T[count]);
            mCount = count;
            mWasteful = 0;
        }
        return mElements.get();
    }

    T* Get() { return mElements.get(); }
    const T* Get() const { return mElements.get(); }
    /// Elements there is room for.
    std::size_t GetCount() const { return mCount; }

private:
    static constexpr std::size_t kNeverTooLarge = std::size_t{1} << 20;  ///< bytes
    static constexpr std::size_t kFarLess = 4;
    static constexpr int kPatience = 8;

    std::unique_ptr<T[]> mElements;
    std::size_t mCount = 0;
    int mWasteful = 0;  ///< uses in a row that needed far less
};

}  // namespace zeb::render::cpu
