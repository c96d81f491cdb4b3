#include "ContactSheet.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>

#include "Caption.h"
#include "PluginBase/Misc/DotFont.h"

namespace nimbrel::sheet {
namespace {

constexpr std::int64_t kMaxPixels = std::int64_t{1} << 28;
constexpr int kCaptionMargin = 6;  // above and below the line
constexpr int kMaxCaptionScale = 2;
constexpr int kLineHeight = zeb::dotfont::kGlyphHeight + 5;  // of captions of several lines

void Paste(const Image& from, Image& to, int x, int y) {
    for (int row = 0; row < from.mHeight; ++row) {
        const std::uint8_t* line = from.At(0, row);
        std::copy_n(line, 3 * static_cast<std::size_t>(from.mWidth), to.At(x, y + row));
    }
}

// The source pixels under pixel `index` of `count`, of `size` in all: at least one.
struct Span {
    Span(int index, int count, int size)
        : mBegin(static_cast<int>(std::int64_t{index} * size / count)),
          mEnd(static_cast<int>((std::int64_t{index} + 1) * size / count)) {}
    int Length() const { return mEnd - mBegin; }

    int mBegin, mEnd;
};

}  // namespace

Image Shrink(const Image& image, int width) {
    if (width <= 0 || image.mWidth <= width) return image;
    const std::int64_t inProportion = (std::int64_t{image.mHeight} * width + image.mWidth / 2) / image.mWidth;
    Image small(width, static_cast<int>(std::max<std::int64_t>(1, inProportion)));
    for (int y = 0; y < small.mHeight; ++y) {
        const Span rows(y, small.mHeight, image.mHeight);
        for (int x = 0; x < width; ++x) {
            const Span columns(x, width, image.mWidth);
            std::array<std::int64_t, 3> sum{};
            for (int row = rows.mBegin; row < rows.mEnd; ++row) {
                const std::uint8_t* pixel = image.At(columns.mBegin, row);
                for (int i = 0; i < 3 * columns.Length(); ++i) sum[static_cast<std::size_t>(i % 3)] += pixel[i];
            }
            const std::int64_t count = std::int64_t{rows.Length()} * columns.Length();
            for (std::size_t channel = 0; channel < 3; ++channel) {
                small.At(x, y)[channel] = static_cast<std::uint8_t>((sum[channel] + count / 2) / count);
            }
        }
    }
    return small;
}

std::vector<std::string> BreakLines(const std::string& text, int width, std::size_t most) {
    std::vector<std::string> lines;
    const auto length = static_cast<std::size_t>(std::max(1, width / (zeb::dotfont::kGlyphWidth + 1)));
    for (std::size_t begin = 0; begin < text.size() && lines.size() < most;) {
        std::size_t end = text.size();
        if (end - begin > length) {
            end = text.rfind(' ', begin + length);
            if (end == std::string::npos || end <= begin) end = begin + length;
        }
        lines.push_back(text.substr(begin, end - begin));
        begin = std::min(text.size(), text.find_first_not_of(' ', end));
    }
    return lines;
}

Image MakeSheet(const std::vector<Picture>& pictures, const SheetOptions& options) {
    if (pictures.empty()) throw std::invalid_argument("a sheet needs one picture at least");
    const int count = static_cast<int>(pictures.size());
    const int columns = std::clamp(options.mColumns, 1, count);
    const int rows = (count + columns - 1) / columns;
    int width = 0, height = 0;
    for (const Picture& picture : pictures) {
        width = std::max(width, picture.mImage.mWidth);
        height = std::max(height, picture.mImage.mHeight);
    }
    std::size_t lines = 0;
    for (const Picture& picture : pictures) lines = std::max(lines, picture.mLines.size());
    const int textHeight =
        lines > 0 ? static_cast<int>(lines) * kLineHeight : zeb::dotfont::kGlyphHeight * kMaxCaptionScale;
    const int captionHeight = options.mCaptions ? textHeight + 2 * kCaptionMargin : 0;
    const std::int64_t stepX = std::int64_t{width} + options.mGap;
    const std::int64_t stepY = std::int64_t{height} + captionHeight + options.mGap;
    const std::int64_t sheetWidth = options.mGap + columns * stepX, sheetHeight = options.mGap + rows * stepY;
    if (sheetWidth > kMaxPixels || sheetHeight > kMaxPixels || sheetWidth * sheetHeight > kMaxPixels) {
        throw std::invalid_argument("the sheet would be too large");
    }
    Image sheet(static_cast<int>(sheetWidth), static_cast<int>(sheetHeight), options.mBackground);
    for (int i = 0; i < count; ++i) {
        const Picture& picture = pictures[static_cast<std::size_t>(i)];
        const int left = options.mGap + i % columns * static_cast<int>(stepX);
        const int top = options.mGap + i / columns * static_cast<int>(stepY);
        Paste(picture.mImage, sheet, left + (width - picture.mImage.mWidth) / 2,
              top + (height - picture.mImage.mHeight) / 2);
        if (!options.mCaptions) continue;
        if (lines > 0) {
            int y = top + height + kCaptionMargin;
            for (const std::string& line : picture.mLines) {
                DrawText(sheet, line, left, y, 1, options.mCaption);
                y += kLineHeight;
            }
            continue;
        }
        const std::string caption = GetCaption(picture.mFile);
        int scale = kMaxCaptionScale;
        while (scale > 1 && zeb::dotfont::GetTextWidth(caption, scale) > width) --scale;
        DrawText(sheet, caption, left + std::max(0, (width - zeb::dotfont::GetTextWidth(caption, scale)) / 2),
                 top + height + kCaptionMargin, scale, options.mCaption);
    }
    return sheet;
}

}  // namespace nimbrel::sheet
