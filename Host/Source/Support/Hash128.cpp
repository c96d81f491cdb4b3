#include "NimbrelHost/Support/Hash128.h"

#include <bit>
#include <cstring>

namespace nimbrel::host {
namespace {

/// Spreads each bit of a word over all (the finalizer of the SplitMix64 generator).
std::uint64_t Spread(std::uint64_t word) {
    word = (word ^ (word >> 30)) * 0xbf58476d1ce4e5b9U;
    word = (word ^ (word >> 27)) * 0x94d049bb133111ebU;
    return word ^ (word >> 31);
}

void MixWord(Hash128& hash, std::uint64_t word) {
    hash[0] = Spread(hash[0] ^ word) + 0x9e3779b97f4a7c15U;
    hash[1] = std::rotl(hash[1] + Spread(word + 0x632be59bd9b4e019U), 23) * 0xff51afd7ed558ccdU + hash[0];
}

}  // namespace

Hash128 StartHash() { return {0x243f6a8885a308d3U, 0x13198a2e03707344U}; }

void MixHash(Hash128& hash, const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t offset = 0; offset < size; offset += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes + offset, size - offset < 8 ? size - offset : 8);
        MixWord(hash, word);
    }
    MixWord(hash, size);
}

}  // namespace nimbrel::host
