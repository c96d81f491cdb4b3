#include <string>

#include "Nimbrel/CPU/CalcDistances.h"
#include "Nimbrel/CPU/CalcViewData.h"
#include "Nimbrel/CPU/ExportData.h"
#include "Nimbrel/CPU/Programs/SplatPrograms.h"
#include "Nimbrel/CPU/SetIndices.h"
#include "Nimbrel/ProgramRegisters.h"
#include "Render/CPU/Parallel.h"
#include "Render/CPU/Programs.h"

namespace nimbrel::cpu {

using namespace zeb::render::cpu;
using enum gpu::SplatRegister;
using Words = std::span<std::uint32_t>;

namespace {

/// Groups of the least piece of work that is worth handing to another thread.
constexpr std::uint32_t kGroupGrain = 4;

/// Runs `body(begin, end)` for the threads of all groups, row by row.
template <class Body>
void ForEachThread(const glm::uvec3& groups, const Body& body) {
    ParallelFor(groups.x * groups.y, kGroupGrain, [&](std::uint32_t begin, std::uint32_t end) {
        body(begin * gpu::kSplatGroupSize, end * gpu::kSplatGroupSize);
    });
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
    ForEachThread(groups, [&](std::uint32_t begin, std::uint32_t end) { CalcDistances(inputs, begin, end, keys); });
}

void RunCalcViewData(const Bindings& bindings, const glm::uvec3& groups) {
    const CalcViewDataInputs inputs = {GetBlocks(bindings),
                                       {bindings.Texture(kRamps), bindings.Texture(kGradients)},
                                       bindings.Constants<gpu::CalcViewDataConstants>(kCalcViewDataConstants),
                                       bindings.Constants<gpu::ModelConstants1>(kModelConstants),
                                       bindings.Constants<gpu::NoiseConstants1>(kNoiseConstants)};
    const std::span<gpu::SplatViewData> records = bindings.Write<gpu::SplatViewData>(kViewData);
    ForEachThread(groups, [&](std::uint32_t begin, std::uint32_t end) { CalcViewData(inputs, begin, end, records); });
}

void RunExportData(const Bindings& bindings, const glm::uvec3& groups) {
    const SplatBlocks blocks = GetBlocks(bindings);
    const auto constants = bindings.Constants<gpu::ExportDataConstants>(kExportDataConstants);
    const std::span<gpu::ExportSplatData> records = bindings.Write<gpu::ExportSplatData>(kExportBuffer);
    ForEachThread(groups,
                  [&](std::uint32_t begin, std::uint32_t end) { ExportData(blocks, constants, begin, end, records); });
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
    // The form without effects is for devices that pay for code that is off; here it is the same function.
    for (const std::string form : {"", ".NoEffects"}) {
        SetProgram("CSCalcDistances" + form,
                   {{chunks, pos, splat, WritesWords(kSortDistances), noise, ReadsTexture(kRamps),
                     UsesSampler(kSampler), UsesConstants(kCalcDistancesConstants)},
                    RunCalcDistances});
        SetProgram("CSCalcViewData" + form,
                   {{chunks, pos, other, sh, ReadsTexture(kColor), splat, UsesConstants(kCalcViewDataConstants), noise,
                     ReadsTexture(kRamps), ReadsTexture(kGradients), UsesSampler(kSampler),
                     UsesConstants(kModelConstants), WritesBuffer(kViewData, sizeof(gpu::SplatViewData))},
                    RunCalcViewData});
    }
    SetProgram("CSExportData",
               {{chunks, pos, other, sh, ReadsTexture(kColor), splat,
                 WritesBuffer(kExportBuffer, sizeof(gpu::ExportSplatData)), UsesConstants(kExportDataConstants)},
                RunExportData});
}

}  // namespace nimbrel::cpu
