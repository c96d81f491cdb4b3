#pragma once

#include <string>
#include <string_view>

#include "Image.h"

namespace nimbrel::sheet {

/// What stands under a file's picture: its name without folder, frame number and extension, words apart, in capitals:
/// "out/YPlaneReveal.0024.png" gives "Y PLANE REVEAL".
std::string GetCaption(std::string_view file);

/// Writes the text with its top left corner at (x, y), each dot `scale` pixels wide; what lies outside is left out.
void DrawText(Image& image, std::string_view text, int x, int y, int scale, Color color);

}  // namespace nimbrel::sheet
