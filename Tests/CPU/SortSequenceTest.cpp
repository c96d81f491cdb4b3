#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/FfxParallelSort.h"
#include "Nimbrel/CPU/Programs/RegisterCpuPrograms.h"
#include "Render/CPU/Programs.h"

// The sort's forty dispatches at once against the same one by one, and what must not be taken for them.
namespace nimbrel::cpu {
namespace {

using namespace zeb::render::cpu;

struct RecordedDispatch {
    const Program* mProgram;
    std::vector<Bindings::Slot> mSlots;
    glm::uvec3 mGroups;
};

/// Buffers of a sort and its dispatches as they are recorded.
class Recording {
public:
    explicit Recording(std::uint32_t count) : mConstants(MakeSortConstants(count)) {
        RegisterCpuPrograms();
        std::mt19937 engine(count);
        for (auto& words : mKeys) words.resize(count + 3, 7);
        for (auto& words : mPayloads) words.resize(count + 3, 7);
        std::generate_n(mKeys[0].begin(), count, [&] { return static_cast<std::uint32_t>(engine()) & 0xFF00FFFFU; });
        std::iota(mPayloads[0].begin(), mPayloads[0].begin() + count, 0U);
        mSums.resize(std::size_t{16} * mConstants.numThreadGroups);
        mReduced.resize(mConstants.numScanValues);
        for (std::uint32_t pass = 0; pass < 8; ++pass) RecordPass(pass);
    }

    /// What the programs' own functions do, or the sequence's; how many dispatches were taken at once.
    std::size_t Run(bool atOnce) {
        std::vector<Bindings> bindings(mDispatches.size());
        std::vector<Dispatch> dispatches;
        for (std::size_t i = 0; i < mDispatches.size(); ++i) {
            for (const Bindings::Slot& slot : mDispatches[i].mSlots) bindings[i].Add(slot);
            dispatches.push_back({*mDispatches[i].mProgram, bindings[i], mDispatches[i].mGroups});
        }
        if (atOnce) return dispatches[0].mProgram.mSequence(dispatches);
        for (const Dispatch& dispatch : dispatches) dispatch.mProgram.mCompute(dispatch.mBindings, dispatch.mGroups);
        return 0;
    }

    gpu::SortConstants mConstants;
    std::uint32_t mShifts[8] = {0, 4, 8, 12, 16, 20, 24, 28};
    std::vector<std::uint32_t> mKeys[2], mPayloads[2], mSums, mReduced;
    std::vector<RecordedDispatch> mDispatches;

private:
    void Add(const char* name, std::uint32_t groups, std::uint32_t* shift,
             std::vector<std::pair<std::uint32_t, std::vector<std::uint32_t>*>> buffers) {
        RecordedDispatch dispatch{&GetProgram(name), {}, {groups, 1, 1}};
        dispatch.mSlots.push_back({UsesConstants(0), std::as_writable_bytes(std::span(&mConstants, 1)), nullptr, {}});
        if (shift != nullptr)
            dispatch.mSlots.push_back({UsesConstants(1), std::as_writable_bytes(std::span(shift, 1)), nullptr, {}});
        for (const auto& [u, words] : buffers)
            dispatch.mSlots.push_back({WritesBuffer(u, 4), std::as_writable_bytes(std::span(*words)), nullptr, {}});
        mDispatches.push_back(dispatch);
    }

    void RecordPass(std::uint32_t pass) {
        const std::size_t from = pass % 2;
        const std::size_t to = 1 - from;
        const std::uint32_t groups = mConstants.numThreadGroups;
        const std::uint32_t parts = mConstants.numScanValues;
        Add("FfxParallelSortCount", groups, &mShifts[pass], {{2, &mKeys[from]}, {6, &mSums}});
        Add("FfxParallelSortReduce", parts, nullptr, {{6, &mSums}, {7, &mReduced}});
        Add("FfxParallelSortScan", 1, nullptr, {{8, &mReduced}, {9, &mReduced}});
        Add("FfxParallelSortScanAdd", parts, nullptr, {{8, &mSums}, {9, &mSums}, {10, &mReduced}});
        Add("FfxParallelSortScatter", groups, &mShifts[pass],
            {{2, &mKeys[from]}, {3, &mKeys[to]}, {4, &mPayloads[from]}, {5, &mPayloads[to]}, {6, &mSums}});
    }
};

TEST(SortSequence, AtOnceSortsAsOneByOne) {
    for (const std::uint32_t count : {1U, 511U, 512U, 513U, 70001U, 500000U}) {
        SCOPED_TRACE(count);
        Recording atOnce(count);
        Recording single(count);
        EXPECT_EQ(atOnce.Run(true), 40U);
        single.Run(false);
        EXPECT_EQ(atOnce.mKeys[0], single.mKeys[0]);
        EXPECT_EQ(atOnce.mPayloads[0], single.mPayloads[0]);
    }
}

TEST(SortSequence, TakesNothingElseForASort) {
    constexpr std::uint32_t kCount = 2000;
    struct Case {
        const char* mName;
        std::function<void(Recording&)> mChange;
    };
    const Case cases[] = {
        {"one short", [](Recording& r) { r.mDispatches.pop_back(); }},
        {"another program", [](Recording& r) { r.mDispatches[12].mProgram = r.mDispatches[11].mProgram; }},
        {"a shift twice", [](Recording& r) { r.mShifts[5] = 16; }},
        {"too few groups", [](Recording& r) { r.mDispatches[20].mGroups.x -= 1; }},
        {"groups in y", [](Recording& r) { r.mDispatches[0].mGroups.y = 2; }},
        {"other constants", [](Recording& r) { r.mConstants.numThreadGroups -= 1; }},
        {"more keys than there are", [](Recording& r) { r.mConstants = MakeSortConstants(kCount + 4); }},
        {"passes not in turn", [](Recording& r) { std::swap(r.mDispatches[9], r.mDispatches[4]); }},
        {"keys from elsewhere", [](Recording& r) { r.mDispatches[4].mSlots[2] = r.mDispatches[4].mSlots[4]; }},
        {"payloads over the keys", [](Recording& r) {
             for (std::size_t i = 4; i < 40; i += 5) {
                 auto& slots = r.mDispatches[i].mSlots;
                 slots[4].mBytes = slots[2].mBytes;
                 slots[5].mBytes = slots[3].mBytes;
             }
         }}};
    for (const Case& one : cases) {
        SCOPED_TRACE(one.mName);
        Recording recording(kCount);
        one.mChange(recording);
        const std::vector<std::uint32_t> before = recording.mKeys[0];
        EXPECT_EQ(recording.Run(true), 0U);
        EXPECT_EQ(recording.mKeys[0], before);
    }
}

}  // namespace
}  // namespace nimbrel::cpu
