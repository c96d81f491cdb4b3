#include "Nimbrel/CPU/Noise.h"

#include <cmath>

#include "Render/CPU/Arithmetic.h"

namespace nimbrel::cpu {
namespace {

using zeb::render::cpu::Dot;
using zeb::render::cpu::Frac;
using zeb::render::cpu::Lerp;

/// One row for each component of a lattice point's gradient.
const glm::vec4 kHashRows[4] = {
    {127.1F, 311.7F, 74.7F, 212.1F},
    {269.5F, 183.3F, 246.1F, 243.7F},
    {113.5F, 271.9F, 124.6F, 231.8F},
    {209.3F, 258.6F, 282.6F, 107.9F},
};

glm::vec4 Gradient(const glm::vec4& lattice) {
    glm::vec4 gradient(0.0F);
    for (int k = 0; k < 4; ++k) {
        gradient[k] = Frac(std::sin(Dot(lattice, kHashRows[k])) * 43758.546875F) * 2.0F - 1.0F;
    }
    return gradient;
}

}  // namespace

float Noise4(const glm::vec4& point) {
    glm::vec4 lattice(0.0F);
    glm::vec4 fraction(0.0F);
    glm::vec4 weight(0.0F);
    for (int k = 0; k < 4; ++k) {
        lattice[k] = std::floor(point[k]);
        fraction[k] = point[k] - lattice[k];
        weight[k] = fraction[k] * fraction[k] * (3.0F - 2.0F * fraction[k]);
    }
    float values[16];
    for (int corner = 0; corner < 16; ++corner) {
        const glm::vec4 offset(static_cast<float>(corner & 1), static_cast<float>((corner >> 1) & 1),
                               static_cast<float>((corner >> 2) & 1), static_cast<float>(corner >> 3));
        values[corner] = Dot(Gradient(lattice + offset), fraction - offset);
    }
    // Halves the cube along x, then y, z and w.
    int count = 16;
    for (int k = 0; k < 4; ++k) {
        count /= 2;
        for (int i = 0; i < count; ++i) values[i] = Lerp(values[2 * i], values[2 * i + 1], weight[k]);
    }
    return values[0];
}

}  // namespace nimbrel::cpu
