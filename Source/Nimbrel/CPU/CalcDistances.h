#pragma once

#include <cstdint>
#include <span>

#include "Nimbrel/CPU/PerSplatEffects.h"
#include "Nimbrel/CPU/SplatDecoding.h"
#include "Nimbrel/ShaderConstants.h"

namespace nimbrel::cpu {

/// What one dispatch of "CSCalcDistances" is bound to; of the blocks only chunks and positions are read.
struct CalcDistancesInputs {
    SplatBlocks mBlocks;
    CurveTextures mCurves;
    gpu::CalcDistancesConstants mConstants{};
    gpu::NoiseConstants1 mNoise{};
};

/// Sort key of a depth: unsigned order of keys is the numeric order of depths, -0 just before +0.
std::uint32_t DepthKey(float depth);

/// Threads [begin, end) of "CSCalcDistances": key i is that of splat i. Ranges may run on different threads.
void CalcDistances(const CalcDistancesInputs& inputs, std::uint32_t begin, std::uint32_t end,
                   std::span<std::uint32_t> keys);

}  // namespace nimbrel::cpu
