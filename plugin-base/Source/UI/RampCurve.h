#pragma once

#include <vector>

#include "PlotArea.h"

namespace zeb {

class Ramp;

/// The ramp as a line, positions and values in 0 to 1, from left to right. Spans that bend get a point for every three
/// units of their length in `area`.
std::vector<ui::Point> MakeRampCurve(const Ramp& ramp, const PlotArea& area);

}  // namespace zeb
