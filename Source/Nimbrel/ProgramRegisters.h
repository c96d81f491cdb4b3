#pragma once

#include <cstdint>

/// Register numbers of the GPU programs, the same whatever stands in them: the kinds share one sequence.
namespace nimbrel::gpu {

/// Of the programs that work on splats.
enum SplatRegister : std::uint32_t {
    kChunks = 1,
    kPos = 2,
    kOther = 3,
    kSH = 4,
    kColor = 5,
    kSplatConstants = 6,
    kCalcViewDataConstants = 7,
    kSortDistances = 8,
    kSortKeys = 9,
    kSetIndicesConstants = 10,
    kNoiseConstants = 11,
    kRamps = 12,
    kGradients = 13,
    kSampler = 14,
    kModelConstants = 15,
    kCalcDistancesConstants = 16,
    kViewData = 17,
    kExportBuffer = 18,
    kExportDataConstants = 19,
};

/// Of the sort programs.
enum SortRegister : std::uint32_t {
    kSortConstants = 0,
    kShift = 1,
    kSourceKeys = 2,
    kDestinationKeys = 3,
    kSourcePayloads = 4,
    kDestinationPayloads = 5,
    kSumTable = 6,
    kReduceTable = 7,
    kScanSource = 8,
    kScanDestination = 9,
    kScanScratch = 10,
};

}  // namespace nimbrel::gpu
