#include "Nimbrel/CPU/ExportData.h"
#include "Nimbrel/CPU/FastCalcDistances.h"
#include "Nimbrel/CPU/FastCalcViewData.h"
#include "Nimbrel/CPU/FfxParallelSort.h"
#include "Nimbrel/CPU/Programs/SplatPrograms.h"
#include "Nimbrel/CPU/SetIndices.h"
#include "Render/CPU/Parallel.h"
#include "Render/CPU/Programs.h"

namespace nimbrel::cpu {

using namespace zeb::render::cpu;
using Words = std::span<std::uint32_t>;

namespace {

// Registers of the splat programs, one sequence over all of them.
enum Register : std::uint32_t {
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

// Registers of the sort programs, likewise.
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

/// Splats of the least piece of work that is worth handing to another thread.
constexpr std::uint32_t kSplatGrain = 1024;

/// Runs `body(begin, end)` for the threads of all groups.
template <class Body>
void ForEachThread(const glm::uvec3& groups, const Body& body) {
    ParallelFor(groups.x * gpu::kSplatGroupSize, kSplatGrain, body);
}

SplatBlocks GetBlocks(const Bindings& bindings) {
    SplatBlocks blocks;
    blocks.mChunks = bindings.ReadBytes(kChunks);
    blocks.mPositions = bindings.ReadBytes(kPos);
    blocks.mOther = bindings.ReadBytes(kOther);
    blocks.mSH = bindings.ReadBytes(kSH);
    blocks.mColor = bindings.Texture(kColor);
    blocks.mConstants = bindings.Constants<gpu::SplatConstants>(kSplatConstants);
    return blocks;
}

void RunSetIndices(const Bindings& bindings, const glm::uvec3& groups) {
    const auto constants = bindings.Constants<gpu::SetIndicesConstants>(kSetIndicesConstants);
    const Words indices = bindings.Write<std::uint32_t>(kSortKeys);
    ForEachThread(groups, [&](std::uint32_t begin, std::uint32_t end) { SetIndices(constants, begin, end, indices); });
}

void RunCalcDistances(const Bindings& bindings, const glm::uvec3& groups) {
    const CalcDistancesInputs inputs = {GetBlocks(bindings),
                                        {bindings.Texture(kRamps), {}},
                                        bindings.Constants<gpu::CalcDistancesConstants>(kCalcDistancesConstants),
                                        bindings.Constants<gpu::NoiseConstants1>(kNoiseConstants)};
    const Words keys = bindings.Write<std::uint32_t>(kSortDistances);
    ForEachThread(groups, [&](std::uint32_t begin, std::uint32_t end) { FastCalcDistances(inputs, begin, end, keys); });
}

void RunCalcViewData(const Bindings& bindings, const glm::uvec3& groups) {
    const CalcViewDataInputs inputs = {GetBlocks(bindings),
                                       {bindings.Texture(kRamps), bindings.Texture(kGradients)},
                                       bindings.Constants<gpu::CalcViewDataConstants>(kCalcViewDataConstants),
                                       bindings.Constants<gpu::ModelConstants1>(kModelConstants),
                                       bindings.Constants<gpu::NoiseConstants1>(kNoiseConstants)};
    const std::span<gpu::SplatViewData> records = bindings.Write<gpu::SplatViewData>(kViewData);
    ForEachThread(groups,
                  [&](std::uint32_t begin, std::uint32_t end) { FastCalcViewData(inputs, begin, end, records); });
}

void RunExportData(const Bindings& bindings, const glm::uvec3& groups) {
    const SplatBlocks blocks = GetBlocks(bindings);
    const auto constants = bindings.Constants<gpu::ExportDataConstants>(kExportDataConstants);
    const std::span<gpu::ExportSplatData> records = bindings.Write<gpu::ExportSplatData>(kExportBuffer);
    ForEachThread(groups,
                  [&](std::uint32_t begin, std::uint32_t end) { ExportData(blocks, constants, begin, end, records); });
}

gpu::SortConstants GetSortConstants(const Bindings& bindings) {
    return bindings.Constants<gpu::SortConstants>(kSortConstants);
}

void RunCount(const Bindings& bindings, const glm::uvec3& groups) {
    const gpu::SortConstants constants = GetSortConstants(bindings);
    const auto shift = bindings.Constants<std::uint32_t>(kShift);
    const Words keys = bindings.Write<std::uint32_t>(kSourceKeys);
    const Words sums = bindings.Write<std::uint32_t>(kSumTable);
    ParallelFor(groups.x, 8, [&](std::uint32_t begin, std::uint32_t end) {
        FfxParallelSortCount(constants, shift, keys, begin, end, sums);
    });
}

void RunReduce(const Bindings& bindings, const glm::uvec3& groups) {
    FfxParallelSortReduce(GetSortConstants(bindings), bindings.Write<std::uint32_t>(kSumTable), 0, groups.x,
                          bindings.Write<std::uint32_t>(kReduceTable));
}

void RunScan(const Bindings& bindings, const glm::uvec3&) {
    FfxParallelSortScan(GetSortConstants(bindings), bindings.Write<std::uint32_t>(kScanSource),
                        bindings.Write<std::uint32_t>(kScanDestination));
}

void RunScanAdd(const Bindings& bindings, const glm::uvec3& groups) {
    FfxParallelSortScanAdd(GetSortConstants(bindings), bindings.Write<std::uint32_t>(kScanSource),
                           bindings.Write<std::uint32_t>(kScanScratch), 0, groups.x,
                           bindings.Write<std::uint32_t>(kScanDestination));
}

void RunScatter(const Bindings& bindings, const glm::uvec3& groups) {
    const gpu::SortConstants constants = GetSortConstants(bindings);
    const auto shift = bindings.Constants<std::uint32_t>(kShift);
    const Words sourceKeys = bindings.Write<std::uint32_t>(kSourceKeys);
    const Words destinationKeys = bindings.Write<std::uint32_t>(kDestinationKeys);
    const Words sourcePayloads = bindings.Write<std::uint32_t>(kSourcePayloads);
    const Words destinationPayloads = bindings.Write<std::uint32_t>(kDestinationPayloads);
    const Words sums = bindings.Write<std::uint32_t>(kSumTable);
    ParallelFor(groups.x, 8, [&](std::uint32_t begin, std::uint32_t end) {
        FfxParallelSortScatter(constants, shift, sourceKeys, sourcePayloads, sums, begin, end, destinationKeys,
                               destinationPayloads);
    });
}

ProgramBinding WritesWords(std::uint32_t u) { return WritesBuffer(u, 4); }

}  // namespace

void RegisterSplatKernels() {
    const ProgramBinding chunks = ReadsBuffer(kChunks, sizeof(gpu::SplatChunkInfo));
    const ProgramBinding pos = ReadsBuffer(kPos, 4);
    const ProgramBinding other = ReadsBuffer(kOther, 4);
    const ProgramBinding sh = ReadsBuffer(kSH, 4);
    const ProgramBinding splat = UsesConstants(kSplatConstants);
    const ProgramBinding noise = UsesConstants(kNoiseConstants);
    SetProgram("CSSetIndices", {{WritesWords(kSortKeys), UsesConstants(kSetIndicesConstants)}, RunSetIndices});
    SetProgram("CSCalcDistances", {{chunks, pos, splat, WritesWords(kSortDistances), noise, ReadsTexture(kRamps),
                                    UsesSampler(kSampler), UsesConstants(kCalcDistancesConstants)},
                                   RunCalcDistances});
    SetProgram("CSCalcViewData",
               {{chunks, pos, other, sh, ReadsTexture(kColor), splat, UsesConstants(kCalcViewDataConstants), noise,
                 ReadsTexture(kRamps), ReadsTexture(kGradients), UsesSampler(kSampler), UsesConstants(kModelConstants),
                 WritesBuffer(kViewData, sizeof(gpu::SplatViewData))},
                RunCalcViewData});
    SetProgram("CSExportData",
               {{chunks, pos, other, sh, ReadsTexture(kColor), splat,
                 WritesBuffer(kExportBuffer, sizeof(gpu::ExportSplatData)), UsesConstants(kExportDataConstants)},
                RunExportData});
}

void RegisterSortKernels() {
    const ProgramBinding constants = UsesConstants(kSortConstants);
    const ProgramBinding shift = UsesConstants(kShift);
    SetProgram("FfxParallelSortCount",
               {{constants, shift, WritesWords(kSourceKeys), WritesWords(kSumTable)}, RunCount});
    SetProgram("FfxParallelSortReduce", {{constants, WritesWords(kSumTable), WritesWords(kReduceTable)}, RunReduce});
    SetProgram("FfxParallelSortScan", {{constants, WritesWords(kScanSource), WritesWords(kScanDestination)}, RunScan});
    SetProgram(
        "FfxParallelSortScanAdd",
        {{constants, WritesWords(kScanSource), WritesWords(kScanDestination), WritesWords(kScanScratch)}, RunScanAdd});
    SetProgram("FfxParallelSortScatter",
               {{constants, shift, WritesWords(kSourceKeys), WritesWords(kDestinationKeys),
                 WritesWords(kSourcePayloads), WritesWords(kDestinationPayloads), WritesWords(kSumTable)},
                RunScatter});
}

}  // namespace nimbrel::cpu
