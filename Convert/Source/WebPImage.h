#pragma once

#include "ByteSource.h"

namespace nimbrel::convert {

/// A picture's values, red, green, blue and alpha in a byte each, from the top left in rows.
struct Image {
    std::uint64_t mWidth = 0;
    std::uint64_t mHeight = 0;
    Bytes mTexels;

    std::uint64_t Count() const { return mWidth * mHeight; }
    const std::uint8_t* At(std::uint64_t texel) const { return mTexels.data() + static_cast<std::size_t>(4 * texel); }
};

/// Width and height alone. Throws FormatError if the bytes are no WebP picture.
Image ReadWebPSize(std::span<const std::uint8_t> file);

/// The whole picture.
Image ReadWebP(std::span<const std::uint8_t> file);

}  // namespace nimbrel::convert
