#pragma once

#include "NimbrelHost/Commands/Host.h"
#include "Panel/Canvas.h"

namespace nimbrel::host::panel {

/// Draws the standard control of a parameter into the space for values of its row; `alpha` dims. Custom controls are
/// not drawn here.
void DrawControl(Canvas& canvas, Host& host, const Parameter& parameter, const Box& box, double seconds, double alpha);

/// A group's arrow.
void DrawTwirl(Canvas& canvas, double x, double y, bool isClosed, const Ink& ink);

/// The sign of what can be animated, lit when it is.
void DrawStopwatch(Canvas& canvas, double x, double y, bool isAnimated, double alpha);

}  // namespace nimbrel::host::panel
