#include "MortonOrder.h"

#include <array>
#include <cstddef>
#include <utility>

namespace {

constexpr float kLargestCell = 2097151.0f;  // 2^21 - 1

std::uint64_t ToCell(float unit) {
    const float cell = unit * kLargestCell;
    if (!(cell > 0.0f)) return 0;
    return static_cast<std::uint64_t>(cell < kLargestCell ? cell : kLargestCell);
}

// Moves bit j of a 21-bit number to bit 3j.
std::uint64_t SpreadBits(std::uint64_t v) {
    v = (v | v << 32) & 0x001f00000000ffffu;
    v = (v | v << 16) & 0x001f0000ff0000ffu;
    v = (v | v << 8) & 0x100f00f00f00f00fu;
    v = (v | v << 4) & 0x10c30c30c30c30c3u;
    return (v | v << 2) & 0x1249249249249249u;
}

constexpr int kDigitBits = 11;
constexpr std::size_t kDigitCount = std::size_t{1} << kDigitBits;
constexpr int kPassCount = 6;  // 66 bits cover the key's 63.

std::size_t Digit(std::uint64_t key, int pass) {
    return static_cast<std::size_t>(key >> (pass * kDigitBits)) & (kDigitCount - 1);
}

using Histograms = std::array<std::array<std::size_t, kDigitCount>, kPassCount>;

void CountDigits(const std::vector<MortonEntry>& entries, Histograms& counts) {
    for (const MortonEntry& entry : entries) {
        for (int pass = 0; pass < kPassCount; ++pass) ++counts[pass][Digit(entry.key, pass)];
    }
}

}  // namespace

std::uint64_t GetMortonKey(const glm::vec3& unitPosition) {
    return SpreadBits(ToCell(unitPosition.x)) | SpreadBits(ToCell(unitPosition.y)) << 1 |
           SpreadBits(ToCell(unitPosition.z)) << 2;
}

std::vector<std::uint32_t> SortByKey(std::vector<MortonEntry> entries) {
    const std::size_t count = entries.size();
    if (count == 0) return {};
    std::vector<Histograms> histograms(1);  // 96 KiB: not for the stack of a host's thread.
    CountDigits(entries, histograms.front());

    // One stable pass per digit from the lowest on; a digit that all keys share needs none.
    std::vector<MortonEntry> other(count);
    for (int pass = 0; pass < kPassCount; ++pass) {
        auto& slots = histograms.front()[pass];
        if (slots[Digit(entries.front().key, pass)] == count) continue;
        std::size_t start = 0;
        for (std::size_t& slot : slots) start += std::exchange(slot, start);
        for (const MortonEntry& entry : entries) other[slots[Digit(entry.key, pass)]++] = entry;
        entries.swap(other);
    }
    std::vector<std::uint32_t> order(count);
    for (std::size_t i = 0; i < count; ++i) order[i] = entries[i].index;
    return order;
}
