#pragma once

#include <cstdint>
#include <span>

#include "Nimbrel/CPU/CalcDistances.h"

namespace nimbrel::cpu {

/// CalcDistances, the same bits, several splats at a time where positions are of the 11-10-11 bits form; the scalar
/// form for everything else, and its effects. Ranges may run on different threads.
void FastCalcDistances(const CalcDistancesInputs& inputs, std::uint32_t begin, std::uint32_t end,
                       std::span<std::uint32_t> keys);

}  // namespace nimbrel::cpu
