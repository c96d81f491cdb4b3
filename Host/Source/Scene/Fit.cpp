#include "NimbrelHost/Scene/Fit.h"

#include <algorithm>

namespace nimbrel::host {

Fit FitBox(const convert::ModelBox& box, int width, int height) {
    constexpr double kPixelsPerUnit = 1000;
    constexpr double kFill = 0.9;          // of the picture that the larger side takes
    constexpr double kNearestDepth = 220;  // the effect clips what is nearer than about 200 pixels
    const glm::dvec3 half = (box.mMax - box.mMin) * (0.5 * kPixelsPerUnit);
    Fit fit;
    fit.mAnchor = (box.mMin + box.mMax) * (0.5 * kPixelsPerUnit);

    // The camera stands `zoom` before the model's centre, and its zoom is the same. A half extent s * h of the near
    // face, at depth zoom - s * half.z, is seen as zoom * s * h / depth; it shall be `limit`:
    // s = limit * zoom / (zoom * h + limit * half.z).
    const double zoom = width;
    const double limits[2] = {kFill * width / 2, kFill * height / 2};
    const auto scaleFor = [&](int axis) {
        return limits[axis] * zoom / std::max(zoom * half[axis] + limits[axis] * half.z, 1e-9);
    };
    if (std::max({half.x, half.y, half.z}) < 1e-9) return fit;
    double scale = std::min(scaleFor(0), scaleFor(1));

    if (zoom - scale * half.z < kNearestDepth) {
        // The near face is put at the nearest depth, where s * h is seen as zoom * s * h / kNearestDepth.
        scale = 1e9;
        for (int axis = 0; axis < 2; ++axis) {
            scale = std::min(scale, limits[axis] * kNearestDepth / std::max(zoom * half[axis], 1e-9));
        }
        // A model with next to no width and height has only its depth to go by.
        scale = std::min(scale, 10 * std::max(zoom, kNearestDepth) / std::max(half.z, 1e-9));
        fit.mAnchor.z -= (kNearestDepth + scale * half.z - zoom) / scale;
    }
    fit.mScalePercent = scale * 100;
    return fit;
}

}  // namespace nimbrel::host
