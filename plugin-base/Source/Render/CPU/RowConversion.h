#pragma once

#include <cstddef>
#include <cstdint>

#include "PluginBase/ImageInfo.h"
#include "PluginBase/Render/Types.h"

/// Rows of texels by the widest vectors of the machine, the same bits as texel by texel for every width. `rgba` has
/// four floats a texel and no alignment.
namespace zeb::render::cpu {

/// DecodeTexel of `count` texels in a row.
void DecodeRow(Format format, const std::byte* source, std::size_t count, float* rgba);

/// EncodeTexel of `count` texels in a row.
void EncodeRow(Format format, const float* rgba, std::size_t count, std::byte* destination);

/// Unmultiply of `count` colours in place.
void UnmultiplyRow(float* rgba, std::size_t count);

/// Red, green, blue, alpha of `count` colours to alpha, red, green, blue, in place.
void MoveAlphaFirst(float* rgba, std::size_t count);

/// Each of `count` floats to its nearest half, as a float, in place.
void RoundRowToHalves(float* values, std::size_t count);

/// ConvertChannel of `count` floats, without gaps in 1, 2 or 4 bytes each.
void ConvertChannels(ChannelFormat format, const float* values, std::size_t count, std::byte* destination);

}  // namespace zeb::render::cpu
