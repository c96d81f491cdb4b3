#pragma once

#include <glm/vec3.hpp>
#include <optional>
#include <vector>

namespace nimbrel::convert {

/// What of a splat counts when its model is framed. Lengths in file units.
struct FramedSplat {
    glm::vec3 mPosition{0};
    float mOpacity = 1;  ///< 0 to 1
    float mArea = 1;     ///< of its two longer axes
};

/// From the numbers of a PLY file: scales are natural logarithms, the opacity is a logit.
FramedSplat MakeFramedSplat(const glm::vec3& position, const glm::vec3& scales, float opacity);

/// An axis-aligned box.
struct ModelBox {
    glm::dvec3 mMin{0};
    glm::dvec3 mMax{0};
};

/// The box that a picture of a model has to hold: on each axis from the 1st to the 99th percentile of positions, and
/// beyond it what shows there, from 0.2 to 99.8 % by opacity and area, but at most 0.3 of the former's size, so that
/// stray splats and skies don't count. Splats with a number that is none are left out; nothing without any. Takes time
/// with the number of splats: some hundred thousand, evenly chosen, are enough.
std::optional<ModelBox> MeasureModel(std::vector<FramedSplat> splats);

}  // namespace nimbrel::convert
