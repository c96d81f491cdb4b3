#pragma once

#include <cstdint>
#include <span>

namespace zeb::render::cpu {

/// Sorts keys ascending, payloads with them; equal keys keep their order. A radix sort over oneTBB's threads, with the
/// same result for any number of them. The spans must not overlap; of two lengths the shorter counts.
void Sort(std::span<std::uint32_t> keys, std::span<std::uint32_t> payloads);

}  // namespace zeb::render::cpu
