#pragma once

#include <string>

#include "PlyInspection.h"

namespace nimbrel::importer {

/// Splats of a sample at most: a picture of a few hundred pixels has no use for more.
inline constexpr std::uint32_t kSampleSize = 65536;

/// Some of a file's splats as a file of their own: short runs, evenly spread over the body, as many as can be read in a
/// tenth of a second, up to `size`. The whole body if it holds no more than that. Throws std::bad_alloc.
PLYFileData ReadSample(const std::u16string& path, const PlyInspection& inspection, std::uint32_t size = kSampleSize);

}  // namespace nimbrel::importer
