#pragma once

#include "Shot.h"

/// What the tests of whole pictures draw.
namespace nimbrel::endtoend {

/// Cameras, resolutions, slots and degrees, 320 x 180.
std::vector<Shot> MakeFrameShots();
/// Per-splat effects, alone and together, and depth pictures, 160 x 90.
std::vector<Shot> MakeEffectShots();
/// Wireframes over splats, 160 x 90.
std::vector<Shot> MakeGizmoShots();

}  // namespace nimbrel::endtoend
