#pragma once

#include <filesystem>

#include "Nimbrel/GaussianSplatAsset.h"

namespace nimbrel::endtoend {

/// The quality level of the effect's own assets.
inline constexpr int kEffectQuality = 2;

/// The model of a file as the effect loads it, or at another quality level; made once per process. Throws what loading
/// throws.
const GaussianSplatAsset& GetAsset(const std::filesystem::path& file, int quality = kEffectQuality);

}  // namespace nimbrel::endtoend
