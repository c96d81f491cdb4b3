#pragma once

#include <cstdint>
#include <span>

#include "Nimbrel/CPU/Curves.h"
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

/// Threads [begin, end) of "CSCalcDistances", several at a time: key i is that of splat i. Ranges may run on different
/// threads.
void CalcDistances(const CalcDistancesInputs& inputs, std::uint32_t begin, std::uint32_t end,
                   std::span<std::uint32_t> keys);

/// The key of one splat, the same bits. Unsigned order of keys is the numeric order of depths, -0 just before +0.
std::uint32_t CalcSplatDistance(const CalcDistancesInputs& inputs, std::uint32_t splat);

}  // namespace nimbrel::cpu
