#pragma once

#include <cstdint>
#include <span>

#include "Nimbrel/ShaderConstants.h"

/// The five kernels of the radix sort, four bits a pass (Merrill and Grimshaw, "Revisiting Sorting for GPGPU
/// Stream Architectures", 2010), each over a range of its groups, and the sort made of them. Every pass is stable.
namespace nimbrel::cpu {

inline constexpr std::uint32_t kSortMaxGroups = 800;
inline constexpr std::uint32_t kSortBitsPerPass = 4;

/// How `keyCount` keys are shared out: at most 800 groups of whole blocks of 512 keys.
gpu::SortConstants MakeSortConstants(std::uint32_t keyCount);

/// Row `bin`, column `group` of the sum table: how many of the group's keys have the digit at `shift`.
void FfxParallelSortCount(const gpu::SortConstants& constants, std::uint32_t shift, std::span<const std::uint32_t> keys,
                          std::uint32_t beginGroup, std::uint32_t endGroup, std::span<std::uint32_t> sumTable);

/// Sums of 512 entries of a bin's row each; `numReduceThreadgroupPerBin` of them a bin.
void FfxParallelSortReduce(const gpu::SortConstants& constants, std::span<const std::uint32_t> sumTable,
                           std::uint32_t beginGroup, std::uint32_t endGroup, std::span<std::uint32_t> reduceTable);

/// Exclusive prefix sum of the first `numScanValues` (at most 512) entries; source and destination may be one.
void FfxParallelSortScan(const gpu::SortConstants& constants, std::span<const std::uint32_t> source,
                         std::span<std::uint32_t> destination);

/// Exclusive prefix sums of the sum table's rows, 512 entries a group, each on top of the scanned reduce
/// table: the first output place of a group's keys of a bin. Source and destination may be one.
void FfxParallelSortScanAdd(const gpu::SortConstants& constants, std::span<const std::uint32_t> source,
                            std::span<const std::uint32_t> scannedReduceTable, std::uint32_t beginGroup,
                            std::uint32_t endGroup, std::span<std::uint32_t> destination);

/// Keys and payloads to their places of this pass.
void FfxParallelSortScatter(const gpu::SortConstants& constants, std::uint32_t shift,
                            std::span<const std::uint32_t> sourceKeys, std::span<const std::uint32_t> sourcePayloads,
                            std::span<const std::uint32_t> scannedSumTable, std::uint32_t beginGroup,
                            std::uint32_t endGroup, std::span<std::uint32_t> destinationKeys,
                            std::span<std::uint32_t> destinationPayloads);

/// Sorts keys ascending, payloads with them; both spans are equally long.
void FfxParallelSort(std::span<std::uint32_t> keys, std::span<std::uint32_t> payloads);

}  // namespace nimbrel::cpu
