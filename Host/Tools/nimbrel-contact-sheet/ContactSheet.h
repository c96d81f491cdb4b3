#pragma once

#include <string>
#include <vector>

#include "Image.h"

namespace nimbrel::sheet {

struct SheetOptions {
    int mColumns = 4;
    int mGap = 6;                    ///< pixels between pictures and around them
    bool mCaptions = true;           ///< the file's name under each picture
    Color mBackground = {8, 9, 14};  ///< of the sheet, and behind what is transparent
    Color mCaption = {168, 174, 190};
};

struct Picture {
    std::string mFile;
    Image mImage;
    std::vector<std::string> mLines = {};  ///< what stands under it; empty: its file's name
};

/// The picture at the given width, its height in proportion, each pixel the mean of those that it covers. A picture
/// that is no wider stays as it is.
Image Shrink(const Image& image, int width);

/// A text in lines of at most `width` pixels, broken at blanks, at most `most` of them.
std::vector<std::string> BreakLines(const std::string& text, int width, std::size_t most);

/// Puts the pictures into rows, in their order, each in the middle of a cell as large as the largest picture.
/// Throws std::invalid_argument if there is none, or a sheet of more than 2^28 pixels would come out.
Image MakeSheet(const std::vector<Picture>& pictures, const SheetOptions& options);

}  // namespace nimbrel::sheet
