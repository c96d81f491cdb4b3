#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace nimbrel::host {

/// A 128-bit running hash for cache keys, made for spreading and not against an adversary. Where one block ends and the
/// next begins counts: "ab" + "c" is another key than "a" + "bc".
using Hash128 = std::array<std::uint64_t, 2>;

/// The hash of nothing.
Hash128 StartHash();
void MixHash(Hash128& hash, const void* data, std::size_t size);

}  // namespace nimbrel::host
