#include "Caption.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "PluginBase/Misc/DotFont.h"

namespace nimbrel::sheet {
namespace {

bool Is(int (*kind)(int), char c) { return kind(static_cast<unsigned char>(c)) != 0; }

void FillDot(Image& image, int x, int y, int scale, Color color) {
    for (int row = std::max(y, 0); row < std::min(y + scale, image.mHeight); ++row) {
        for (int column = std::max(x, 0); column < std::min(x + scale, image.mWidth); ++column) {
            std::copy(color.begin(), color.end(), image.At(column, row));
        }
    }
}

}  // namespace

std::string GetCaption(std::string_view file) {
    const std::string base = std::filesystem::path(file).filename().string();
    const std::string name = base.substr(0, base.find('.'));
    std::string text;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char next = i + 1 < name.size() ? name[i + 1] : ' ';
        // A word begins with a capital, and so does the last letter of a run of capitals before a small one.
        const bool newWord =
            i > 0 && Is(std::isupper, name[i]) && (Is(std::islower, name[i - 1]) || Is(std::islower, next));
        if (newWord) text += ' ';
        text += Is(std::isalnum, name[i]) ? static_cast<char>(std::toupper(static_cast<unsigned char>(name[i]))) : ' ';
    }
    return text;
}

void DrawText(Image& image, std::string_view text, int x, int y, int scale, Color color) {
    zeb::dotfont::ForEachDot(text, x, y, scale, [&](int left, int top) { FillDot(image, left, top, scale, color); });
}

}  // namespace nimbrel::sheet
