#pragma once

#include "Shot.h"

/// Pictures with wireframes, which devices draw each in their own way: line ends and ties are rounded differently, so a
/// pixel may be off by one, and what a slanted line of one pixel's width covers differs.
namespace nimbrel::endtoend {

/// The shot with all its wireframes off.
Shot WithoutGizmos(Shot shot);

/// A picture with wireframes, and the same one without.
struct GizmoFrames {
    host::Frame mWith;
    host::Frame mWithout;
};

/// Expects that the wireframes of both lie within a pixel of each other and have about the same colours. Gives the
/// PSNR of what no wireframe covers.
double CompareLines(const GizmoFrames& drawn, const GizmoFrames& expected);

}  // namespace nimbrel::endtoend
