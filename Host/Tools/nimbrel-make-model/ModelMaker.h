#pragma once

#include <cstdint>
#include <iosfwd>
#include <string_view>
#include <vector>

/// Procedural models of Gaussian splats as binary PLY: x right, y DOWN, z away from a viewer in front.
/// The same options give the same bytes on every machine. No state; any thread.
namespace nimbrel::maker {

enum class Shape : std::uint8_t {
    Knot,  ///< An iridescent torus knot over a tiled floor, among glass orbs and sparks; about 4 units wide.
    Box,   ///< The cube [-1, 1]^3, a colour for each face: shows orientation errors.
};

/// Throws std::invalid_argument for a name other than "knot" and "box".
Shape ParseShape(std::string_view name);

struct ModelOptions {
    Shape mShape = Shape::Knot;
    std::int64_t mCount = 150000;  ///< Splats, 0 to 2^31 - 1. Their size follows from it.
    int mDegree = 3;               ///< Spherical harmonics, 0 to 3. Colours are fitted to each degree anew.
    std::uint64_t mSeed = 1;       ///< Varies what is random: sparks, tiles, grain.
};

/// Throws std::invalid_argument for options out of range.
void CheckOptions(const ModelOptions& options);

/// Writes the file in blocks: memory does not depend on the count. Throws std::invalid_argument for options
/// out of range; the stream's state tells of failed writes.
void WriteModel(const ModelOptions& options, std::ostream& out);

/// The whole file's bytes.
std::vector<std::uint8_t> MakeModel(const ModelOptions& options);

}  // namespace nimbrel::maker
