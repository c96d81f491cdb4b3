// Soak MINUTES [SEED [DEVICE [LIFE]]]: lives of the effect one after the other, each from a seed of its own; with LIFE
// that one alone. DEVICE is cpu, vulkan or both.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Faults.h"
#include "Life.h"
#include "ProcessState.h"

namespace nimbrel::soak {
namespace {

struct Plan {
    double mMinutes = 1;
    std::uint64_t mSeed = 1;
    std::string mDevice = "cpu";
    int mLife = -1;
};

Plan gPlan;

/// What is held between lives, which must not grow once all kinds of life have been.
class Growth {
public:
    void Add(const ProcessState& state) { mStates.push_back(state); }

    void Judge() const {
        const std::size_t warm = mStates.size() / 3;
        if (warm < 6) return;  // too short to tell
        // The later half of the warm lives against the earlier, middle against middle.
        const std::size_t half = warm + (mStates.size() - warm) / 2;
        const std::size_t before = Middle(&ProcessState::mBytes, warm, half);
        const std::size_t after = Middle(&ProcessState::mBytes, half, mStates.size());
        const std::size_t lives = mStates.size() - half;
        fmt::print("bytes between lives: {} and later {}; resident {} and later {}\n", before, after,
                   Middle(&ProcessState::mResident, warm, half),
                   Middle(&ProcessState::mResident, half, mStates.size()));
        EXPECT_LT(after, before + 100'000 + 1000 * lives) << "memory grows";
        EXPECT_LE(Most(&ProcessState::mThreads, warm, mStates.size()), Most(&ProcessState::mThreads, 0, warm) + 1);
        EXPECT_LE(Most(&ProcessState::mFiles, warm, mStates.size()), Most(&ProcessState::mFiles, 0, warm));
    }

private:
    using Member = std::size_t ProcessState::*;

    std::vector<std::size_t> Get(Member member, std::size_t begin, std::size_t end) const {
        std::vector<std::size_t> values;
        for (std::size_t i = begin; i < end; ++i) values.push_back(mStates[i].*member);
        std::sort(values.begin(), values.end());
        return values;
    }
    std::size_t Middle(Member member, std::size_t begin, std::size_t end) const {
        return Get(member, begin, end)[(end - begin) / 2];
    }
    std::size_t Most(Member member, std::size_t begin, std::size_t end) const { return Get(member, begin, end).back(); }

    std::vector<ProcessState> mStates;
};

void Tell(const Tally& tally, double seconds, const ProcessState& state) {
    fmt::print(
        "{:.0f} s: {} lives, {} steps, {} frames compared, {} failures told, {} allocations and {} threads failed, "
        "{} devices lost; {} threads, {} files, {} KB allocated, {} MB resident\n",
        seconds, tally.mLives, tally.mSteps, tally.mFrames, tally.mFailures, CountFailedAllocations(),
        CountRefusedThreads(), tally.mLostDevices, state.mThreads, state.mFiles, state.mBytes / 1000,
        state.mResident / 1'000'000);
    std::fflush(stdout);
}

TEST(Soak, NothingEndsHangsLeaksOrDrawsWrong) {
    const bool both = gPlan.mDevice == "both";
    if (gPlan.mDevice != "cpu") PrepareDeviceLoss();
    Oracle oracle(gPlan.mSeed);
    Tally tally;
    Growth growth;
    const auto start = std::chrono::steady_clock::now();
    double told = 0;
    for (int life = std::max(0, gPlan.mLife); !HasFailure(); ++life) {
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (gPlan.mLife >= 0 ? life > gPlan.mLife : seconds > gPlan.mMinutes * 60) break;
        Random random(gPlan.mSeed * 1'000'003 + static_cast<std::uint64_t>(life));
        const std::string device = !both ? gPlan.mDevice : Pick(random, 0, 2) == 0 ? "vulkan" : "cpu";
        std::vector<std::string> log;
        try {
            Live(random, oracle, device, tally, log);
        } catch (const std::exception& error) {
            ADD_FAILURE() << error.what();
        }
        const ProcessState state = GetProcessState();
        growth.Add(state);
        if (HasFailure()) {
            fmt::print("life {} of seed {}:\n", life, gPlan.mSeed);
            for (const std::string& line : log) fmt::print("{}\n", line);
        }
        if (HasFailure() || seconds - told > 60) {
            told = seconds;
            Tell(tally, seconds, state);
        }
    }
    if (!HasFailure()) growth.Judge();
    Tell(tally, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), GetProcessState());
}

}  // namespace
}  // namespace nimbrel::soak

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    using nimbrel::soak::gPlan;
    if (argc > 1) gPlan.mMinutes = std::atof(argv[1]);
    if (argc > 2) gPlan.mSeed = std::strtoull(argv[2], nullptr, 10);
    if (argc > 3) gPlan.mDevice = argv[3];
    if (argc > 4) gPlan.mLife = std::atoi(argv[4]);
    return RUN_ALL_TESTS();
}
