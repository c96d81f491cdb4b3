#pragma once

#include "Shot.h"

/// Pictures with wireframes. All devices draw lines by one rule, one pixel for each step along the longer axis.
namespace nimbrel::endtoend {

/// The shot with all its wireframes off.
Shot WithoutGizmos(Shot shot);

/// A picture with wireframes, and the same one without.
struct GizmoFrames {
    host::Frame mWith;
    host::Frame mWithout;
};

/// Expects that the wireframes of both cover the same pixels in the same colours. Gives the PSNR of what no wireframe
/// covers.
double CompareLines(const GizmoFrames& drawn, const GizmoFrames& expected);

}  // namespace nimbrel::endtoend
