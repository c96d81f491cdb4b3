#pragma once

#include <cstdint>
#include <vector>

#include "PluginBase/UI/Graphics.h"

namespace zeb {

/// Outline of a gradient key's marker with its tip at the origin, in units, y down. The body is the same for all keys;
/// the tip tells the type: a point for linear, an arch for smooth, a bar for step.
const std::vector<ui::Point>& GetKeyMarker(std::int32_t type);

/// Height of all markers, units.
inline constexpr float kKeyMarkerHeight = 18.0F;

}  // namespace zeb
