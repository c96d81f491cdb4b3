#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace nimbrel::cpu {

/// Sorts keys ascending, payloads with them, stable: the same result as FfxParallelSort. Eight bits a pass on oneTBB's
/// threads; passes whose digit is the same in all keys are left out. Both spans are equally long, below 2^32.
/// `scratch` grows to what the sort needs (2 words a key) and can be handed to the next one.
///
/// A device that replays the five kernels can put this in the place of a whole sequence of 8 x (Count, Reduce,
/// Scan, ScanAdd, Scatter) with shifts 0, 4 ... 28 over the same two pairs of buffers; the kernels of
/// FfxParallelSort.h, handed their groups in parallel, serve any other sequence.
void FastSort(std::span<std::uint32_t> keys, std::span<std::uint32_t> payloads, std::vector<std::uint32_t>& scratch);

}  // namespace nimbrel::cpu
