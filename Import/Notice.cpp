#include <algorithm>
#include <string_view>

#include "Picture.h"
#include "PluginBase/Misc/DotFont.h"

namespace nimbrel::importer {
namespace {

using namespace zeb::dotfont;

constexpr Color kSign = {214, 96, 70};
constexpr Color kTitle = {238, 240, 245};
constexpr Color kSentence = {168, 174, 190};

void FillBox(Picture& picture, int left, int top, int right, int bottom, const Color& color) {
    for (int y = std::max(top, 0); y < std::min(bottom, picture.mHeight); ++y) {
        for (int x = std::max(left, 0); x < std::min(right, picture.mWidth); ++x) picture.At(x, y) = color;
    }
}

void WriteInTheMiddle(Picture& picture, std::string_view text, int y, int scale, const Color& color) {
    ForEachDot(text, (picture.mWidth - GetTextWidth(text, scale)) / 2, y, scale,
               [&](int left, int top) { FillBox(picture, left, top, left + scale, top + scale, color); });
}

/// A disc with a bar across it.
void DrawSign(Picture& picture, int centerX, int centerY, int radius) {
    for (int y = -radius; y <= radius; ++y) {
        for (int x = -radius; x <= radius; ++x) {
            if (x * x + y * y > radius * radius) continue;
            const bool isBar = 5 * std::abs(y) <= radius && 3 * std::abs(x) <= 2 * radius;
            FillBox(picture, centerX + x, centerY + y, centerX + x + 1, centerY + y + 1, isBar ? kBackground : kSign);
        }
    }
}

/// As many words as fit into a line of `length` characters, taken from the front of `text`.
std::string_view TakeLine(std::string_view& text, std::size_t length) {
    std::size_t end = text.size();
    if (end > length) {
        end = text.rfind(' ', length);
        if (end == std::string_view::npos || end == 0) end = length;
    }
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(text.size(), text.find_first_not_of(' ', end)));
    return line;
}

}  // namespace

Picture DrawNotice(int width, int height, const std::string& title, const std::string& sentence) {
    Picture picture(width, height);
    DrawSign(picture, width / 2, height * 3 / 10, height / 7);
    int scale = 4;
    while (scale > 1 && GetTextWidth(title, scale) > width * 9 / 10) --scale;
    WriteInTheMiddle(picture, title, height * 11 / 20, scale, kTitle);
    const auto length = static_cast<std::size_t>(width * 9 / 10 / (kGlyphWidth + 1));
    int y = height * 3 / 4;
    for (std::string_view rest = sentence; !rest.empty() && y < height - kGlyphHeight; y += 2 * kGlyphHeight)
        WriteInTheMiddle(picture, TakeLine(rest, length), y, 1, kSentence);
    return picture;
}

}  // namespace nimbrel::importer
