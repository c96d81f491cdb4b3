#include "Nimbrel/CPU/CalcDistances.h"

#include <algorithm>

#include "Nimbrel/CPU/EffectPosition.h"
#include "Render/CPU/Arithmetic.h"

namespace nimbrel::cpu {

using namespace zeb::render::cpu;

std::uint32_t DepthKey(float depth) {
    const std::uint32_t bits = FloatBits(depth);
    const std::uint32_t signs = (bits >> 31) != 0 ? 0xFFFFFFFFU : 0U;
    return bits ^ (signs | 0x80000000U);
}

void CalcDistances(const CalcDistancesInputs& inputs, std::uint32_t begin, std::uint32_t end,
                   std::span<std::uint32_t> keys) {
    const gpu::CalcDistancesConstants& constants = inputs.mConstants;
    const glm::vec4 depthRow = Row(constants._CalcDistancesMatrixVP, 2);
    const std::uint32_t last = std::min(end, constants._CalcDistancesSplatCount);
    for (std::uint32_t i = begin; i < last && i < keys.size(); ++i) {
        const glm::vec3 position = DecodePosition(inputs.mBlocks, LoadChunk(inputs.mBlocks, i), i);
        const glm::vec3 aligned = TransformPoint(constants._CalcDistancesMatrixAlign, position);
        const glm::vec3 effect =
            EffectPosition(inputs.mNoise, inputs.mCurves, constants._CalcDistancesInstanceIndex, aligned);
        keys[i] = DepthKey(Dot(depthRow, glm::vec4(effect, 1.0F)));
    }
}

}  // namespace nimbrel::cpu
