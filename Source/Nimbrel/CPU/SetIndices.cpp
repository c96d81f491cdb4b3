#include "Nimbrel/CPU/SetIndices.h"

#include <algorithm>

namespace nimbrel::cpu {

void SetIndices(const gpu::SetIndicesConstants& constants, std::uint32_t begin, std::uint32_t end,
                std::span<std::uint32_t> indices) {
    const std::uint32_t last = std::min(end, constants._SetIndiceSplatCount);
    for (std::uint32_t i = begin; i < last && i < indices.size(); ++i) indices[i] = i;
}

}  // namespace nimbrel::cpu
