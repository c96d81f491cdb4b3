#pragma once

#include "NimbrelHost/Drawing/Drawing.h"
#include "NimbrelHost/Drawing/Theme.h"
#include "NimbrelHost/Pictures/Picture.h"

namespace nimbrel::host {

/// A control as its drawing shows on a plain ground: an 8-bit frame of its size times `pixelScale`, opaque. Throws
/// std::runtime_error for a picture that is too large.
Frame PaintDrawing(const Drawing& drawing, int pixelScale = 1, Rgb background = theme::kBackground);

}  // namespace nimbrel::host
