#pragma once

#include <glm/vec3.hpp>

#include "NimbrelConvert/ModelBox.h"

namespace nimbrel::host {

/// How a model is placed so that it fills the picture.
struct Fit {
    glm::dvec3 mAnchor{0};       ///< the box's point in the middle, in pixels: 1000 times file units
    double mScalePercent = 100;  ///< align scale
};

/// Chooses anchor and scale so that the box, placed at the layer's centre and seen by the default camera, fill the
/// composition with a small margin. The near face decides, since perspective makes it the largest. In a composition so
/// small that the model would come nearer than what the effect clips, the anchor moves the model away from the camera.
Fit FitBox(const convert::ModelBox& box, int width, int height);

}  // namespace nimbrel::host
