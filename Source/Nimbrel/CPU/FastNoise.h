#pragma once

#include "Nimbrel/CPU/Noise.h"

namespace nimbrel::cpu {

/// Noise4 with the sixteen corners of the cell side by side in vectors: the same bits for every width.
float FastNoise4(const glm::vec4& point);

}  // namespace nimbrel::cpu
