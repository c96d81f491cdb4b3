#pragma once

#include <cstdint>
#include <vector>

#include <glm/vec3.hpp>

/// Code of a point of the unit cube on the Morton curve (G. M. Morton, "A computer oriented geodetic data
/// base", 1966): 21 bits per axis, bit 3j from x, 3j + 1 from y, 3j + 2 from z. A NaN counts as 0, and
/// what lies outside the cube as its nearest side.
std::uint64_t GetMortonKey(const glm::vec3& unitPosition);

struct MortonEntry {
    std::uint64_t key;  ///< 63 bits.
    std::uint32_t index;
};

/// Indices of the entries by ascending key. Entries with equal keys keep their order.
/// Holds two arrays of entries and one of indices at its peak.
std::vector<std::uint32_t> SortByKey(std::vector<MortonEntry> entries);
