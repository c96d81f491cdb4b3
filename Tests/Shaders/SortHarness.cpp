#include "SortHarness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <numeric>
#include <random>

#include "GpuHarness.h"
#include "Nimbrel/ShaderConstants.h"

namespace nimbrel::test {
namespace {

constexpr std::uint32_t kGuard = 0xDEADBEEF;
/// Words before and behind a buffer's data. Not a multiple of the device's
/// offset alignment.
constexpr std::size_t kGuardWords = 21;

std::vector<std::uint32_t> WithGuards(const std::vector<std::uint32_t>& data) {
    std::vector<std::uint32_t> words(kGuardWords, kGuard);
    words.insert(words.end(), data.begin(), data.end());
    words.insert(words.end(), kGuardWords, kGuard);
    return words;
}

/// The sharing-out of keys, written down from its rule: at most 800 groups of
/// whole blocks of 512.
gpu::SortConstants MakeConstants(std::uint32_t count, const KeyShares& shares) {
    const std::uint32_t blocks = (count + 511) / 512;
    gpu::SortConstants constants{};
    constants.numKeys = count;
    constants.numThreadGroups = std::min(blocks, 800U);
    constants.numBlocksPerThreadGroup = blocks < 800 ? 1 : static_cast<std::int32_t>(blocks / 800);
    constants.numThreadGroupsWithAdditionalBlocks = blocks < 800 ? 0 : blocks % 800;
    if (shares.mGroups != 0) {
        constants.numThreadGroups = shares.mGroups;
        constants.numBlocksPerThreadGroup = shares.mBlocksPerGroup;
        constants.numThreadGroupsWithAdditionalBlocks = shares.mGroupsWithAdditionalBlock;
    }
    constants.numReduceThreadgroupPerBin =
        constants.numThreadGroups < 512 ? 1 : (constants.numThreadGroups + 511) / 512;
    constants.numScanValues = constants.numReduceThreadgroupPerBin * 16;
    return constants;
}

struct SortBuffers {
    GpuBuffer* mKeys[2];
    GpuBuffer* mPayloads[2];
    GpuBuffer* mSumTable;
    GpuBuffer* mReduceTable;
};

void RecordPass(GpuRun& run, const SortForm& form, const gpu::SortConstants& constants, std::uint32_t shift,
                const SortBuffers& buffers) {
    const int from = (shift / 4) % 2;
    const int to = 1 - from;
    const auto at = [](const char* name, const GpuBuffer& buffer) {
        return Binding{name, &buffer, nullptr, {}, kGuardWords * 4};
    };
    const Binding b0{"b0", nullptr, nullptr, RecordBytes(constants), 0};
    const Binding b1{"b1", nullptr, nullptr, RecordBytes(shift), 0};
    const Binding sums = at("u6", *buffers.mSumTable);
    run.Dispatch(form.NameOf("FfxParallelSortCount"), {b0, b1, at("u2", *buffers.mKeys[from]), sums},
                 constants.numThreadGroups);
    run.Dispatch(form.NameOf("FfxParallelSortReduce"), {b0, sums, at("u7", *buffers.mReduceTable)},
                 constants.numScanValues);
    run.Dispatch(form.NameOf("FfxParallelSortScan"),
                 {b0, at("u8", *buffers.mReduceTable), at("u9", *buffers.mReduceTable)}, 1);
    run.Dispatch(form.NameOf("FfxParallelSortScanAdd"),
                 {b0, at("u8", *buffers.mSumTable), at("u9", *buffers.mSumTable), at("u10", *buffers.mReduceTable)},
                 constants.numScanValues);
    run.Dispatch(form.NameOf("FfxParallelSortScatter"),
                 {b0, b1, at("u2", *buffers.mKeys[from]), at("u3", *buffers.mKeys[to]),
                  at("u4", *buffers.mPayloads[from]), at("u5", *buffers.mPayloads[to]), sums},
                 constants.numThreadGroups);
}

std::vector<std::uint32_t> Words(const GpuBuffer& buffer) {
    const Bytes bytes = GpuRun::Read(buffer);
    return FromBytes<std::uint32_t>(bytes, 0, bytes.size() / 4);
}

void ExpectGuards(const char* name, const GpuBuffer& buffer) {
    const std::vector<std::uint32_t> words = Words(buffer);
    for (std::size_t i = 0; i < kGuardWords; ++i) {
        ASSERT_EQ(words[i], kGuard) << name << ": word " << i << " before the buffer";
        ASSERT_EQ(words[words.size() - 1 - i], kGuard) << name << ": word " << i << " from the end";
    }
}

}  // namespace

bool SortForm::Has(const std::string& kernel) const {
    if (mSuffix == ".Wave") return kernel != "FfxParallelSortCount";
    return mSuffix == ".Serial" && (kernel == "FfxParallelSortCount" || kernel == "FfxParallelSortScatter");
}

std::vector<KeySet> MakeKeySets(std::uint32_t count) {
    std::mt19937 random(count);
    std::vector<KeySet> sets;
    const auto add = [&](const char* name, auto make) {
        KeySet set{name, std::vector<std::uint32_t>(count)};
        for (std::uint32_t i = 0; i < count; ++i) set.mKeys[i] = make(i);
        sets.push_back(std::move(set));
    };
    add("random", [&](std::uint32_t) { return static_cast<std::uint32_t>(random()); });
    add("few distinct", [&](std::uint32_t) { return (static_cast<std::uint32_t>(random()) & 3U) * 0x10001000U; });
    add("equal", [](std::uint32_t) { return 0x12345678U; });
    add("ascending", [](std::uint32_t i) { return i; });
    add("descending", [](std::uint32_t i) { return 0xFFFFFFFFU - i * 3U; });
    add("depths", [&](std::uint32_t) {
        const float depth = static_cast<float>(random() % 100000U) * 0.01F - 300.0F;
        const auto bits = std::bit_cast<std::uint32_t>(depth);
        return bits ^ (depth < 0.0F ? 0xFFFFFFFFU : 0x80000000U);
    });
    add("greatest", [](std::uint32_t i) { return i % 5 == 0 ? 0x7FFFFFFFU : 0xFFFFFFFFU; });
    return sets;
}

std::vector<std::uint32_t> EdgeCounts(std::uint32_t limit) {
    std::vector<std::uint32_t> counts;
    for (const std::uint32_t count :
         {0U,   1U,    2U,    16U,    63U,     64U,     127U,    128U,    129U,    511U,   512U,
          513U, 1025U, 4095U, 16385U, 262144U, 262145U, 409600U, 409601U, 410113U, 819201U}) {
        if (count <= limit) counts.push_back(count);
    }
    return counts;
}

void ExpectSorts(const SortForm& form, const KeySet& set, const KeyShares& shares) {
    SCOPED_TRACE(set.mName + ", " + std::to_string(set.mKeys.size()) + " keys, form \"" + form.mSuffix + "\"");
    const auto count = static_cast<std::uint32_t>(set.mKeys.size());
    const gpu::SortConstants constants = MakeConstants(count, shares);
    std::vector<std::uint32_t> payloads(count);
    std::iota(payloads.begin(), payloads.end(), 7000U);

    GpuRun run;
    const auto add = [&](const std::vector<std::uint32_t>& data) { return &run.AddBuffer(ToBytes(WithGuards(data))); };
    const std::vector<std::uint32_t> scratch(count, 0xAAAAAAAAU);
    SortBuffers buffers{};
    buffers.mKeys[0] = add(set.mKeys);
    buffers.mKeys[1] = add(scratch);
    buffers.mPayloads[0] = add(payloads);
    buffers.mPayloads[1] = add(scratch);
    buffers.mSumTable = add(std::vector<std::uint32_t>(std::size_t{constants.numThreadGroups} * 16, 0xBBBBBBBBU));
    buffers.mReduceTable = add(std::vector<std::uint32_t>(constants.numScanValues, 0xCCCCCCCCU));
    for (std::uint32_t shift = 0; shift < 32; shift += 4) RecordPass(run, form, constants, shift, buffers);
    run.Execute();

    std::vector<std::uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return set.mKeys[a] < set.mKeys[b]; });
    const std::vector<std::uint32_t> sortedKeys = Words(*buffers.mKeys[0]);
    const std::vector<std::uint32_t> sortedPayloads = Words(*buffers.mPayloads[0]);
    std::size_t wrong = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const bool right =
            sortedKeys[kGuardWords + i] == set.mKeys[order[i]] && sortedPayloads[kGuardWords + i] == payloads[order[i]];
        if (!right && wrong++ == 0) ADD_FAILURE() << "first difference at place " << i;
    }
    EXPECT_EQ(wrong, 0U);
    ExpectGuards("keys", *buffers.mKeys[0]);
    ExpectGuards("scratch keys", *buffers.mKeys[1]);
    ExpectGuards("payloads", *buffers.mPayloads[0]);
    ExpectGuards("scratch payloads", *buffers.mPayloads[1]);
    ExpectGuards("sum table", *buffers.mSumTable);
    ExpectGuards("reduce table", *buffers.mReduceTable);
}

}  // namespace nimbrel::test
