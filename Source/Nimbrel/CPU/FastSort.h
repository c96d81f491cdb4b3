#pragma once

#include <cstdint>
#include <span>

namespace nimbrel::cpu {

/// Sorts keys ascending, payloads with them, stable: the same result as FfxParallelSort, whatever the number of
/// threads. Both spans are equally long, below 2^32.
///
/// Keys are counted from the least one, so that depths of a scene need few bits. Their highest bits put them into
/// buckets that fit a core's cache, one pass over the memory; the buckets are then sorted by their lower bits, each by
/// one of oneTBB's threads. Memory for 8 bytes a key is kept from one sort to the next.
void FastSort(std::span<std::uint32_t> keys, std::span<std::uint32_t> payloads);

}  // namespace nimbrel::cpu
