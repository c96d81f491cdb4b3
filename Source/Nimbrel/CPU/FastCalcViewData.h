#pragma once

#include <cstdint>
#include <span>

#include "Nimbrel/CPU/CalcViewData.h"

namespace nimbrel::cpu {

/// CalcViewData, the same bits, several splats at a time where the asset has the formats of compression level 2; the
/// scalar form for everything else, and its effects, which are worked out splat by splat. Ranges may run on different
/// threads.
void FastCalcViewData(const CalcViewDataInputs& inputs, std::uint32_t begin, std::uint32_t end,
                      std::span<gpu::SplatViewData> records);

}  // namespace nimbrel::cpu
