#pragma once

#include <cstdint>
#include <span>

#include "Nimbrel/CPU/CalcViewData.h"

namespace nimbrel::cpu {

/// CalcViewData, the same bits, several splats at a time where the asset has the formats of compression level 2 and
/// no effect, crop or depth view is on; the scalar form for everything else. Ranges may run on different threads.
void FastCalcViewData(const CalcViewDataInputs& inputs, std::uint32_t begin, std::uint32_t end,
                      std::span<gpu::SplatViewData> records);

}  // namespace nimbrel::cpu
