#pragma once

#include <cstdint>
#include <span>

#include "Nimbrel/CPU/Curves.h"
#include "Nimbrel/CPU/SplatDecoding.h"
#include "Nimbrel/ShaderConstants.h"

namespace nimbrel::cpu {

/// What one dispatch of "CSCalcViewData" is bound to: one instance of one asset.
struct CalcViewDataInputs {
    SplatBlocks mBlocks;
    CurveTextures mCurves;
    gpu::CalcViewDataConstants mConstants{};
    gpu::ModelConstants1 mModel{};
    gpu::NoiseConstants1 mNoise{};
};

/// Threads [begin, end) of "CSCalcViewData", several at a time; those at or past the splat count do nothing. Record i
/// is that of splat i. Ranges may run on different threads.
void CalcViewData(const CalcViewDataInputs& inputs, std::uint32_t begin, std::uint32_t end,
                  std::span<gpu::SplatViewData> records);

/// The record of one splat, the same bits: clip position, screen axes and colour. A cropped splat's is all zero, one
/// behind a perspective camera keeps its position only; neither is drawn.
gpu::SplatViewData CalcSplatViewData(const CalcViewDataInputs& inputs, std::uint32_t splat);

}  // namespace nimbrel::cpu
