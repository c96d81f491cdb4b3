#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <glm/vec2.hpp>

#include "PluginBase/ImageInfo.h"
#include "Render/CPU/Image.h"

/// The twenty Copy programs: a texture's rectangle into a byte buffer in the host's pixel layout.
namespace zeb::render::cpu {

/// Constants of the programs, byte for byte.
struct CopyConstants {
    glm::uvec2 mSize;               ///< pixels to copy
    glm::uvec2 mSourceOffset;       ///< first texel
    glm::uvec2 mDestinationOffset;  ///< first pixel in the layout
    std::uint32_t mRowPitch;        ///< bytes
};
static_assert(sizeof(CopyConstants) == 28);

/// Pixels that one thread of a program handles, side by side.
std::uint32_t GetCopyPixelsPerThread(ChannelFormat format);

/// One channel converted to the bits of `format`. Integers round half up and clamp, NaN gives 0;
/// I16 reaches 32767 at 1.
std::uint32_t ConvertChannel(ChannelFormat format, float value);

/// Copies rows [beginRow, endRow) of the rectangle. Stores are whole 32-bit words at byte addresses that
/// must be multiples of 4; those outside `destination` are dropped. Packed forms write beyond the last pixel of a row:
/// up to the end of its last word with zeros. RGB of 16 bits leaves the blue of a last odd pixel unwritten. Rows may be
/// handled by different threads if none of these words lies in another row.
void Copy(const TextureView& source, PixelChannels channels, ChannelFormat format, const CopyConstants& constants,
          std::uint32_t beginRow, std::uint32_t endRow, std::span<std::byte> destination);

}  // namespace zeb::render::cpu
