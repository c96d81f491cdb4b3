#include "ContactSheet.h"

#include <algorithm>
#include <stdexcept>

#include "Caption.h"

namespace nimbrel::sheet {
namespace {

constexpr std::int64_t kMaxPixels = std::int64_t{1} << 28;
constexpr int kCaptionMargin = 6;  // above and below the line
constexpr int kMaxCaptionScale = 2;

void Paste(const Image& from, Image& to, int x, int y) {
    for (int row = 0; row < from.mHeight; ++row) {
        const std::uint8_t* line = from.At(0, row);
        std::copy(line, line + 3 * from.mWidth, to.At(x, y + row));
    }
}

}  // namespace

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
    const int captionHeight = options.mCaptions ? kGlyphHeight * kMaxCaptionScale + 2 * kCaptionMargin : 0;
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
        const std::string caption = GetCaption(picture.mFile);
        int scale = kMaxCaptionScale;
        while (scale > 1 && GetTextWidth(caption, scale) > width) --scale;
        DrawText(sheet, caption, left + std::max(0, (width - GetTextWidth(caption, scale)) / 2),
                 top + height + kCaptionMargin, scale, options.mCaption);
    }
    return sheet;
}

}  // namespace nimbrel::sheet
