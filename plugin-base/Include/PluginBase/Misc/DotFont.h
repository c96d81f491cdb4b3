#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/// A font of dots, for pictures that are made where no font is: capitals, digits and the marks of plain sentences.
/// Small letters show as capitals, any other character as a blank.
namespace zeb::dotfont {

inline constexpr int kGlyphWidth = 5;
inline constexpr int kGlyphHeight = 7;

/// Seven rows of five dots, the leftmost dot in bit 4.
using Glyph = std::array<std::uint8_t, kGlyphHeight>;

Glyph GetGlyph(char c);

/// Width of a text, `scale` pixels to a dot; one column of dots stands between two glyphs.
int GetTextWidth(std::string_view text, int scale);

/// Calls `fill(x, y)` with the top left corner of each dot of the text, whose own is (x, y).
template <class Fill>
void ForEachDot(std::string_view text, int x, int y, int scale, Fill fill) {
    for (const char c : text) {
        const Glyph glyph = GetGlyph(c);
        for (int row = 0; row < kGlyphHeight; ++row) {
            for (int column = 0; column < kGlyphWidth; ++column) {
                const bool isDot = (glyph[static_cast<std::size_t>(row)] >> (kGlyphWidth - 1 - column) & 1) != 0;
                if (isDot) fill(x + column * scale, y + row * scale);
            }
        }
        x += (kGlyphWidth + 1) * scale;
    }
}

}  // namespace zeb::dotfont
