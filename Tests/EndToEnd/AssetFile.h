#pragma once

#include <filesystem>

#include "Nimbrel/GaussianSplatAsset.h"

namespace nimbrel::endtoend {

/// The model of a file as the effect loads it; made once per process. Throws what loading throws.
const GaussianSplatAsset& GetAsset(const std::filesystem::path& file);

}  // namespace nimbrel::endtoend
