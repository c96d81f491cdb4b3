#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <glm/vec3.hpp>
#include <optional>
#include <vector>

namespace nimbrel::host {

/// A frame as the effect gave it: straight colour, channels alpha, red, green, blue, rows without padding.
/// 8 bits: 0 to 255; 16 bits: 0 to 32768; 32 bits: floats.
struct Frame {
    Frame() = default;
    /// A transparent frame.
    Frame(int width, int height, int bitsPerChannel);

    int mWidth = 0;
    int mHeight = 0;
    int mBitsPerChannel = 8;
    std::vector<std::uint8_t> mPixels;

    std::size_t PixelSize() const { return static_cast<std::size_t>(mBitsPerChannel) / 2; }
    std::size_t RowSize() const { return PixelSize() * static_cast<std::size_t>(mWidth); }
};

enum class AlphaMode { Straight, Premultiplied };

struct PictureOptions {
    AlphaMode mAlpha = AlphaMode::Straight;
    std::optional<glm::dvec3> mBackground;  ///< composite over this colour; the picture is opaque then
};

/// Writes an 8- or 16-bit frame as PNG, RGBA. A 16-bit word is scaled from the host's white of 32768 to 65535.
/// The file appears when it is whole. Throws OutputError. Any thread.
void WritePng(const std::filesystem::path& file, const Frame& frame, const PictureOptions& options);

/// Writes a frame as OpenEXR, float channels R, G, B, A. The file appears when it is whole. Throws OutputError. Any
/// thread.
void WriteExr(const std::filesystem::path& file, const Frame& frame, const PictureOptions& options);

/// Whether a file is a picture as the two above write it, of this size and depth, whole to its last pixel. Never throws
/// but for a lack of memory. Any thread.
bool IsWholePicture(const std::filesystem::path& file, int width, int height, int bitsPerChannel);

}  // namespace nimbrel::host
