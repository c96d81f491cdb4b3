#pragma once

#include <cstdint>
#include <filesystem>
#include <glm/mat3x3.hpp>
#include <optional>

#include "NimbrelConvert/ModelBox.h"

namespace nimbrel::host {

/// Number of splats that the header of a binary PLY file states; nothing if the file is none.
std::optional<std::int64_t> ReadPlyCount(const std::filesystem::path& file);

/// The box that a picture of the model has to hold when it is turned, in file units. Large models are measured by some
/// of their splats. What a file cut short lacks is left out. Nothing if the file has no float positions.
std::optional<convert::ModelBox> ReadPlyBounds(const std::filesystem::path& file,
                                               const glm::dmat3& rotation = glm::dmat3(1));

}  // namespace nimbrel::host
