#pragma once

#include <cstdint>

namespace zeb {

/// When what is kept from one use to the next, and grows on demand, gives room back: after several uses in a row that
/// needed far less than there is. A huge frame's memory goes soon after the last such frame, while frames of several
/// sizes that take turns keep it.
class RoomRule {
public:
    static constexpr std::uint64_t kNeverTooLarge = std::uint64_t{1} << 20;  ///< bytes
    static constexpr std::uint64_t kFarLess = 4;
    static constexpr int kPatience = 8;

    /// A use that needs `needed` of the `kept` bytes; whether they are to be given back before it.
    bool IsTooLarge(std::uint64_t kept, std::uint64_t needed) {
        const bool isWasteful = kept > kNeverTooLarge && needed < kept / kFarLess;
        mWasteful = isWasteful ? mWasteful + 1 : 0;
        if (mWasteful < kPatience) return false;
        mWasteful = 0;
        return true;
    }

private:
    int mWasteful = 0;  ///< uses in a row
};

}  // namespace zeb
