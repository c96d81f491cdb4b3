#pragma once

#include <cstdint>
#include <span>

#include "Nimbrel/ShaderConstants.h"

namespace nimbrel::cpu {

/// Threads [begin, end) of "CSSetIndices": the identity permutation, the sort's payload.
void SetIndices(const gpu::SetIndicesConstants& constants, std::uint32_t begin, std::uint32_t end,
                std::span<std::uint32_t> indices);

}  // namespace nimbrel::cpu
