#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace nimbrel::sheet {

using Color = std::array<std::uint8_t, 3>;

/// An opaque picture: red, green, blue, 8 bits each, rows from the top without padding.
struct Image {
    Image() = default;
    Image(int width, int height, Color color = {})
        : mWidth(width),
          mHeight(height),
          mPixels(3 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
        for (std::size_t i = 0; i < mPixels.size(); ++i) mPixels[i] = color[i % 3];
    }

    std::uint8_t* At(int x, int y) {
        return mPixels.data() +
               3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(mWidth) + static_cast<std::size_t>(x));
    }
    const std::uint8_t* At(int x, int y) const { return const_cast<Image*>(this)->At(x, y); }

    int mWidth = 0;
    int mHeight = 0;
    std::vector<std::uint8_t> mPixels;
};

}  // namespace nimbrel::sheet
