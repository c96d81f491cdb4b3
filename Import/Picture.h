#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace nimbrel::importer {

using Color = std::array<std::uint8_t, 3>;

/// Behind models and notices: dark, so that splats of any brightness show on light panels too.
inline constexpr Color kBackground = {26, 29, 36};

/// An opaque picture, 8 bits a channel, rows top to bottom.
struct Picture {
    int mWidth = 0;
    int mHeight = 0;
    std::vector<Color> mPixels;

    Picture(int width, int height)
        : mWidth(width),
          mHeight(height),
          mPixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), kBackground) {}

    Color& At(int x, int y) { return mPixels[Index(x, y)]; }
    const Color& At(int x, int y) const { return mPixels[Index(x, y)]; }

private:
    std::size_t Index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(mWidth) + static_cast<std::size_t>(x);
    }
};

/// The picture of a file without a model to show: a sign, a few words in capitals, and below them a sentence.
Picture DrawNotice(int width, int height, const std::string& title, const std::string& sentence);

}  // namespace nimbrel::importer
