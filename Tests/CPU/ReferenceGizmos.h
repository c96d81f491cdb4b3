#pragma once

#include "ReferenceFrame.h"

namespace nimbrel::reference {

/// Draws the wireframes of all instances over a target: crosses first, then spheres, then boxes.
void DrawGizmos(const Frame& frame, zeb::render::cpu::Image& target);

}  // namespace nimbrel::reference
