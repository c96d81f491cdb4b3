#pragma once

#include <cstdint>
#include <span>

#include "Nimbrel/CPU/SplatDecoding.h"
#include "Nimbrel/ShaderConstants.h"

namespace nimbrel::cpu {

/// One packed splat as plain floats, the inverse of making an asset: logit of opacity, logarithm of scale.
gpu::ExportSplatData ExportSplat(const SplatBlocks& blocks, std::uint32_t splat);

/// Threads [begin, end) of "CSExportData". Ranges may run on different threads.
void ExportData(const SplatBlocks& blocks, const gpu::ExportDataConstants& constants, std::uint32_t begin,
                std::uint32_t end, std::span<gpu::ExportSplatData> records);

}  // namespace nimbrel::cpu
