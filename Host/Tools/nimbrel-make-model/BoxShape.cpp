#include <cmath>

#include "KnotScene.h"

namespace nimbrel::maker {

// +x red, -x cyan, +y (the bottom) green, -y magenta, +z blue, -z (the front) yellow, each with a
// checkerboard that brightens towards the face's positive corner.
Splat MakeBoxSplat(const Turn& turn) {
    const auto face = static_cast<int>(turn.mIndex % 6);
    const int axis = face / 2;
    const double side = face % 2 == 0 ? 1.0 : -1.0;
    const glm::dvec2 even = EvenPoint(turn.mIndex / 6);
    const double u = 2.0 * even.x - 1.0, v = 2.0 * even.y - 1.0;

    Splat splat(turn.mDegree);
    glm::dvec3 normal(0.0), along(0.0);
    normal[axis] = side;
    along[(axis + 1) % 3] = 1.0;
    splat.mPosition[axis] = side;
    splat.mPosition[(axis + 1) % 3] = u;
    splat.mPosition[(axis + 2) % 3] = v;
    splat.Orient(normal, along);
    const double spacing = std::sqrt(24.0 / turn.mCount);
    splat.mSize = glm::dvec3(0.9, 0.45, 0.05) * spacing;
    splat.mOpacity = 0.95;

    const auto cell = [](double x) { return std::floor((x + 1.0) * 4.0); };
    const double sum = cell(u) + cell(v);
    const double bright = (sum - 2.0 * std::floor(0.5 * sum) > 0.5 ? 1.0 : 0.6) * (0.85 + 0.075 * (u + v));
    glm::dvec3 color;
    for (int c = 0; c < 3; ++c) color[c] = ((c == axis) == (side > 0.0) ? 0.85 : 0.12) * bright;
    splat.mColor.Add(color);
    splat.mColor.AddFacing(normal, [](double c) { return glm::dvec3(0.25 * (1.0 - c) * (1.0 - c)); });
    return splat;
}

}  // namespace nimbrel::maker
