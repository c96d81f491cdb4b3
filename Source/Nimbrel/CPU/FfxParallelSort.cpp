#include "Nimbrel/CPU/FfxParallelSort.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace nimbrel::cpu {
namespace {

using gpu::kSortBinCount;
using gpu::kSortBlockSize;

std::uint32_t Digit(std::uint32_t key, std::uint32_t shift) { return (key >> (shift & 31U)) & (kSortBinCount - 1); }

struct KeyRange {
    std::uint32_t mBegin;
    std::uint32_t mEnd;
};

/// Keys of a group: whole blocks, one more in the last groups.
KeyRange GetGroupKeys(const gpu::SortConstants& constants, std::uint32_t group) {
    const auto blocks = static_cast<std::uint64_t>(constants.numBlocksPerThreadGroup);
    const std::uint64_t firstWithMore = constants.numThreadGroups - constants.numThreadGroupsWithAdditionalBlocks;
    const bool more = group >= firstWithMore && constants.numThreadGroupsWithAdditionalBlocks != 0;
    const std::uint64_t begin =
        (group * blocks + (more ? group - firstWithMore : 0)) * static_cast<std::uint64_t>(kSortBlockSize);
    const std::uint64_t end = begin + (blocks + (more ? 1 : 0)) * kSortBlockSize;
    const std::uint64_t keys = constants.numKeys;
    return {static_cast<std::uint32_t>(std::min(begin, keys)), static_cast<std::uint32_t>(std::min(end, keys))};
}

/// Entries of a bin's row that group `group` of Reduce and ScanAdd handles, as places in the sum table.
KeyRange GetRowPart(const gpu::SortConstants& constants, std::uint32_t group) {
    const std::uint32_t bin = group / constants.numReduceThreadgroupPerBin;
    const std::uint32_t block = group % constants.numReduceThreadgroupPerBin;
    const std::uint32_t row = bin * constants.numThreadGroups;
    const std::uint32_t begin = std::min(block * kSortBlockSize, constants.numThreadGroups);
    const std::uint32_t end = std::min(begin + kSortBlockSize, constants.numThreadGroups);
    return {row + begin, row + end};
}

}  // namespace

gpu::SortConstants MakeSortConstants(std::uint32_t keyCount) {
    const auto blocks =
        static_cast<std::uint32_t>((static_cast<std::uint64_t>(keyCount) + kSortBlockSize - 1) / kSortBlockSize);
    gpu::SortConstants constants{};
    constants.numKeys = keyCount;
    const bool limited = blocks >= kSortMaxGroups;
    constants.numThreadGroups = limited ? kSortMaxGroups : blocks;
    constants.numBlocksPerThreadGroup = limited ? static_cast<std::int32_t>(blocks / kSortMaxGroups) : 1;
    constants.numThreadGroupsWithAdditionalBlocks = limited ? blocks % kSortMaxGroups : 0;
    constants.numReduceThreadgroupPerBin = constants.numThreadGroups < kSortBlockSize
                                               ? 1
                                               : (constants.numThreadGroups + kSortBlockSize - 1) / kSortBlockSize;
    constants.numScanValues = constants.numReduceThreadgroupPerBin * kSortBinCount;
    return constants;
}

void FfxParallelSortCount(const gpu::SortConstants& constants, std::uint32_t shift, std::span<const std::uint32_t> keys,
                          std::uint32_t beginGroup, std::uint32_t endGroup, std::span<std::uint32_t> sumTable) {
    for (std::uint32_t group = beginGroup; group < endGroup; ++group) {
        std::uint32_t histogram[kSortBinCount] = {};
        const KeyRange range = GetGroupKeys(constants, group);
        for (std::uint32_t i = range.mBegin; i < range.mEnd; ++i) ++histogram[Digit(keys[i], shift)];
        for (std::uint32_t bin = 0; bin < kSortBinCount; ++bin) {
            sumTable[bin * constants.numThreadGroups + group] = histogram[bin];
        }
    }
}

void FfxParallelSortReduce(const gpu::SortConstants& constants, std::span<const std::uint32_t> sumTable,
                           std::uint32_t beginGroup, std::uint32_t endGroup, std::span<std::uint32_t> reduceTable) {
    for (std::uint32_t group = beginGroup; group < endGroup; ++group) {
        const KeyRange part = GetRowPart(constants, group);
        std::uint32_t sum = 0;
        for (std::uint32_t i = part.mBegin; i < part.mEnd; ++i) sum += sumTable[i];
        reduceTable[group] = sum;
    }
}

void FfxParallelSortScan(const gpu::SortConstants& constants, std::span<const std::uint32_t> source,
                         std::span<std::uint32_t> destination) {
    const std::uint32_t count = std::min(constants.numScanValues, kSortBlockSize);
    std::uint32_t sum = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t value = source[i];
        destination[i] = sum;
        sum += value;
    }
}

void FfxParallelSortScanAdd(const gpu::SortConstants& constants, std::span<const std::uint32_t> source,
                            std::span<const std::uint32_t> scannedReduceTable, std::uint32_t beginGroup,
                            std::uint32_t endGroup, std::span<std::uint32_t> destination) {
    for (std::uint32_t group = beginGroup; group < endGroup; ++group) {
        const KeyRange part = GetRowPart(constants, group);
        std::uint32_t sum = scannedReduceTable[group];
        for (std::uint32_t i = part.mBegin; i < part.mEnd; ++i) {
            const std::uint32_t value = source[i];
            destination[i] = sum;
            sum += value;
        }
    }
}

void FfxParallelSortScatter(const gpu::SortConstants& constants, std::uint32_t shift,
                            std::span<const std::uint32_t> sourceKeys, std::span<const std::uint32_t> sourcePayloads,
                            std::span<const std::uint32_t> scannedSumTable, std::uint32_t beginGroup,
                            std::uint32_t endGroup, std::span<std::uint32_t> destinationKeys,
                            std::span<std::uint32_t> destinationPayloads) {
    for (std::uint32_t group = beginGroup; group < endGroup; ++group) {
        std::uint32_t places[kSortBinCount];
        for (std::uint32_t bin = 0; bin < kSortBinCount; ++bin) {
            places[bin] = scannedSumTable[bin * constants.numThreadGroups + group];
        }
        const KeyRange range = GetGroupKeys(constants, group);
        for (std::uint32_t i = range.mBegin; i < range.mEnd; ++i) {
            const std::uint32_t place = places[Digit(sourceKeys[i], shift)]++;
            if (place >= constants.numKeys) continue;
            destinationKeys[place] = sourceKeys[i];
            destinationPayloads[place] = sourcePayloads[i];
        }
    }
}

void FfxParallelSort(std::span<std::uint32_t> keys, std::span<std::uint32_t> payloads) {
    const gpu::SortConstants constants = MakeSortConstants(static_cast<std::uint32_t>(keys.size()));
    const std::uint32_t groups = constants.numThreadGroups;
    const std::uint32_t rowParts = constants.numScanValues;
    std::vector<std::uint32_t> sums(static_cast<std::size_t>(groups) * kSortBinCount);
    std::vector<std::uint32_t> reduced(rowParts);
    std::vector<std::uint32_t> scratchKeys(keys.size());
    std::vector<std::uint32_t> scratchPayloads(payloads.size());
    std::span<std::uint32_t> from[2] = {keys, payloads};
    std::span<std::uint32_t> to[2] = {scratchKeys, scratchPayloads};
    // The count of passes is even, so the result ends up where the keys came from.
    for (std::uint32_t shift = 0; shift < 32; shift += kSortBitsPerPass) {
        FfxParallelSortCount(constants, shift, from[0], 0, groups, sums);
        FfxParallelSortReduce(constants, sums, 0, rowParts, reduced);
        FfxParallelSortScan(constants, reduced, reduced);
        FfxParallelSortScanAdd(constants, sums, reduced, 0, rowParts, sums);
        FfxParallelSortScatter(constants, shift, from[0], from[1], sums, 0, groups, to[0], to[1]);
        std::swap(from, to);
    }
}

}  // namespace nimbrel::cpu
