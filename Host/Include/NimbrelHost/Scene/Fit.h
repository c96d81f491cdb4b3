#pragma once

#include <glm/vec3.hpp>

#include "NimbrelHost/Scene/PlyBounds.h"

namespace nimbrel::host {

/// How a model is placed so that it fills the picture.
struct Fit {
    glm::dvec3 mAnchor{0};       ///< align anchor point in pixels, that is 1000 times file units
    double mScalePercent = 100;  ///< align scale
};

/// Chooses anchor and scale so that the bounds, placed at the layer's centre and seen by the default camera, fill the
/// composition with a small margin. The near face decides, since perspective makes it the largest. In a composition so
/// small that the model would come nearer than what the effect clips, the anchor moves the model away from the camera.
Fit FitBounds(const Bounds& bounds, int width, int height);

}  // namespace nimbrel::host
