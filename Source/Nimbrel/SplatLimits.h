#pragma once

#include <cstdint>

namespace nimbrel {

/// Rows of a texture that every device has. The colours of all files of a frame lie in one, 2048 splats a row.
inline constexpr std::uint32_t kMaxColorRows = 16384;
inline constexpr std::uint32_t kMaxFileSplats = kMaxColorRows * 2048;

}  // namespace nimbrel
