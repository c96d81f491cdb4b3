#include <array>
#include <cstring>
#include <functional>
#include <optional>

#include "Nimbrel/CPU/FastSort.h"
#include "Nimbrel/CPU/FfxParallelSort.h"
#include "Nimbrel/CPU/Programs/SplatPrograms.h"
#include "Nimbrel/ProgramRegisters.h"
#include "Render/CPU/Parallel.h"
#include "Render/CPU/Programs.h"

namespace nimbrel::cpu {

using namespace zeb::render::cpu;
using enum gpu::SortRegister;
using Words = std::span<std::uint32_t>;

namespace {

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

bool IsSame(Words a, Words b) { return a.data() == b.data() && a.size() == b.size(); }

/// The keys and payloads of a pass, before it and after it, and its tables.
struct SortPass {
    Words mKeys[2];
    Words mPayloads[2];
    Words mSums;
    Words mReduced;

    bool operator==(const SortPass& other) const {
        return IsSame(mKeys[0], other.mKeys[0]) && IsSame(mKeys[1], other.mKeys[1]) &&
               IsSame(mPayloads[0], other.mPayloads[0]) && IsSame(mPayloads[1], other.mPayloads[1]) &&
               IsSame(mSums, other.mSums) && IsSame(mReduced, other.mReduced);
    }
    SortPass Turned() const { return {{mKeys[1], mKeys[0]}, {mPayloads[1], mPayloads[0]}, mSums, mReduced}; }
};

constexpr std::size_t kPassPrograms = 5;
constexpr std::size_t kPasses = 32 / kSortBitsPerPass;

/// The five dispatches of one pass, if they are these and belong together.
std::optional<SortPass> GetPass(std::span<const Dispatch> dispatches, const gpu::SortConstants& constants,
                                std::uint32_t shift) {
    constexpr std::array<ComputeFunction, kPassPrograms> kPrograms = {RunCount, RunReduce, RunScan, RunScanAdd,
                                                                      RunScatter};
    const std::uint32_t groups[kPassPrograms] = {constants.numThreadGroups, constants.numScanValues, 1,
                                                 constants.numScanValues, constants.numThreadGroups};
    for (std::size_t i = 0; i < kPassPrograms; ++i) {
        const Dispatch& dispatch = dispatches[i];
        if (dispatch.mProgram.mCompute != kPrograms[i] || dispatch.mGroups != glm::uvec3(groups[i], 1, 1)) return {};
        const gpu::SortConstants own = GetSortConstants(dispatch.mBindings);
        if (std::memcmp(&own, &constants, sizeof own) != 0) return {};
    }
    const auto words = [&](std::size_t i, std::uint32_t u) { return dispatches[i].mBindings.Write<std::uint32_t>(u); };
    for (const std::size_t i : {0U, 4U}) {
        if (dispatches[i].mBindings.Constants<std::uint32_t>(kShift) != shift) return {};
    }
    const SortPass pass = {{words(4, kSourceKeys), words(4, kDestinationKeys)},
                           {words(4, kSourcePayloads), words(4, kDestinationPayloads)},
                           words(0, kSumTable),
                           words(1, kReduceTable)};
    const bool belong = IsSame(words(0, kSourceKeys), pass.mKeys[0]) && IsSame(words(1, kSumTable), pass.mSums) &&
                        IsSame(words(2, kScanSource), pass.mReduced) &&
                        IsSame(words(2, kScanDestination), pass.mReduced) &&
                        IsSame(words(3, kScanSource), pass.mSums) && IsSame(words(3, kScanDestination), pass.mSums) &&
                        IsSame(words(3, kScanScratch), pass.mReduced) && IsSame(words(4, kSumTable), pass.mSums);
    return belong ? std::optional(pass) : std::nullopt;
}

/// Whether the buffers are large enough, and none shares memory with another.
bool IsSound(const SortPass& pass, const gpu::SortConstants& constants) {
    const std::size_t count = constants.numKeys;
    const std::array<Words, 6> buffers = {pass.mKeys[0],     pass.mKeys[1], pass.mPayloads[0],
                                          pass.mPayloads[1], pass.mSums,    pass.mReduced};
    const std::array<std::size_t, 6> needed = {count,
                                               count,
                                               count,
                                               count,
                                               std::size_t{constants.numThreadGroups} * gpu::kSortBinCount,
                                               constants.numScanValues};
    const std::less_equal<const std::uint32_t*> upTo;
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        if (buffers[i].size() < needed[i]) return false;
        for (std::size_t j = 0; j < i; ++j) {
            const bool apart = upTo(buffers[i].data() + buffers[i].size(), buffers[j].data()) ||
                               upTo(buffers[j].data() + buffers[j].size(), buffers[i].data());
            if (!apart) return false;
        }
    }
    return true;
}

/// All passes of a sort, from the first one's count to the last one's scatter, at once. The tables and the keys and
/// payloads that only lie between two passes stay as they were.
std::size_t RunSort(std::span<const Dispatch> dispatches) {
    if (dispatches.size() < kPasses * kPassPrograms) return 0;
    const gpu::SortConstants constants = GetSortConstants(dispatches[0].mBindings);
    const gpu::SortConstants expected = MakeSortConstants(constants.numKeys);
    if (std::memcmp(&constants, &expected, sizeof expected) != 0) return 0;
    const std::optional<SortPass> first = GetPass(dispatches, constants, 0);
    if (!first || !IsSound(*first, constants)) return 0;
    for (std::size_t i = 1; i < kPasses; ++i) {
        const auto shift = static_cast<std::uint32_t>(i) * kSortBitsPerPass;
        const std::optional<SortPass> pass = GetPass(dispatches.subspan(i * kPassPrograms), constants, shift);
        if (!pass || !(*pass == (i % 2 == 0 ? *first : first->Turned()))) return 0;
    }
    FastSort(first->mKeys[0].first(constants.numKeys), first->mPayloads[0].first(constants.numKeys));
    return kPasses * kPassPrograms;
}

ProgramBinding WritesWords(std::uint32_t u) { return WritesBuffer(u, 4); }

}  // namespace

void RegisterSortKernels() {
    const ProgramBinding constants = UsesConstants(kSortConstants);
    const ProgramBinding shift = UsesConstants(kShift);
    SetProgram("FfxParallelSortCount",
               {{constants, shift, WritesWords(kSourceKeys), WritesWords(kSumTable)}, RunCount, nullptr, 0, RunSort});
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
