#pragma once

#include <cstdint>
#include <filesystem>
#include <glm/vec3.hpp>
#include <optional>

namespace nimbrel::host {

/// An axis-aligned box in file units.
struct Bounds {
    glm::dvec3 mMin{0};
    glm::dvec3 mMax{0};
};

/// Number of splats that the header of a binary PLY file states; nothing if the file is none.
std::optional<std::int64_t> ReadPlyCount(const std::filesystem::path& file);

/// Box of the 1st to 99th percentile of positions on each axis, so that stray splats don't count. Positions that are
/// not finite are left out, and so is what a file cut short lacks. Nothing if the file has no float positions.
std::optional<Bounds> ReadPlyBounds(const std::filesystem::path& file);

}  // namespace nimbrel::host
