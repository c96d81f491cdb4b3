#pragma once

#include <glm/vec3.hpp>

#include "HarmonicColor.h"

namespace nimbrel::maker {

/// One splat before it is written. Axes are orthogonal and of unit length, and need no handedness.
struct Splat {
    explicit Splat(int degree) : mColor(degree) {}

    glm::dvec3 mPosition{};
    glm::dvec3 mAxes[3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
    glm::dvec3 mSize{0.01};  ///< Standard deviations along the axes, all above 0.
    double mOpacity = 0.5;   ///< Above 0, below 1.
    HarmonicColor mColor;

    /// Axes from a normal (the third) and a direction near which the first shall lie.
    void Orient(const glm::dvec3& normal, const glm::dvec3& along);
};

/// Any unit vector across `v`.
glm::dvec3 Across(const glm::dvec3& v);

}  // namespace nimbrel::maker
