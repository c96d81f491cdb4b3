#include "Nimbrel/CPU/Noise.h"

#include <cmath>

#include "Nimbrel/CPU/Sine.h"
#include "Render/CPU/Arithmetic.h"

namespace nimbrel::cpu {
namespace {

using zeb::render::cpu::Dot;
using zeb::render::cpu::Frac;
using zeb::render::cpu::Lerp;

glm::vec4 Gradient(const glm::vec4& lattice) {
    glm::vec4 gradient(0.0F);
    for (int k = 0; k < 4; ++k) {
        gradient[k] = Frac(Sine(Dot(lattice, kNoiseHashRows[k])) * kNoiseHashScale) * 2.0F - 1.0F;
    }
    return gradient;
}

}  // namespace

NoiseCell FindNoiseCell(const glm::vec4& point) {
    NoiseCell cell{};
    for (int k = 0; k < 4; ++k) {
        cell.mLattice[k] = std::floor(point[k]);
        cell.mFraction[k] = point[k] - cell.mLattice[k];
        cell.mWeight[k] = cell.mFraction[k] * cell.mFraction[k] * (3.0F - 2.0F * cell.mFraction[k]);
    }
    return cell;
}

float BlendCorners(float (&values)[16], const glm::vec4& weight) {
    int count = 16;
    for (int k = 0; k < 4; ++k) {
        count /= 2;
        for (int i = 0; i < count; ++i) values[i] = Lerp(values[2 * i], values[2 * i + 1], weight[k]);
    }
    return values[0];
}

float Noise4(const glm::vec4& point) {
    const NoiseCell cell = FindNoiseCell(point);
    float values[16];
    for (int corner = 0; corner < 16; ++corner) {
        const glm::vec4 offset(static_cast<float>(corner & 1), static_cast<float>((corner >> 1) & 1),
                               static_cast<float>((corner >> 2) & 1), static_cast<float>(corner >> 3));
        values[corner] = Dot(Gradient(cell.mLattice + offset), cell.mFraction - offset);
    }
    return BlendCorners(values, cell.mWeight);
}

}  // namespace nimbrel::cpu
