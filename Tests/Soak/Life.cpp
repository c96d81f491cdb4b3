#include "Life.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <exception>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <new>
#include <set>
#include <system_error>

#include "Faults.h"
#include "HostInterface/HostInterface.h"
#include "NimbrelHost/Output/RenderJob.h"
#include "NimbrelHost/Support/Errors.h"

namespace nimbrel::soak {
namespace {

using Clock = std::chrono::steady_clock;
using endtoend::Studio;

void (*gLoseAfter)(int) = nullptr;
int (*gCountDevices)() = nullptr;
std::deque<Clock::time_point> gLosses;

/// A lost device is replaced three times a minute at most.
bool MayLose(const std::string& device) {
    while (!gLosses.empty() && Clock::now() - gLosses.front() > std::chrono::seconds(61)) gLosses.pop_front();
    return device == "vulkan" && gLoseAfter != nullptr && gLosses.size() < 2;
}

enum class Kind { None, Suite, Allocation, AllMemory, Threads, Device };
constexpr const char* kKinds[] = {"nothing", "a suite call", "an allocation", "all memory", "threads", "the device"};

class Life {
public:
    Life(Random& random, Oracle& oracle, std::string device, Tally& tally, std::vector<std::string>& log)
        : mRandom(random), mOracle(oracle), mDevice(std::move(device)), mTally(tally), mLog(log) {
        mVariants = oracle.Choose(random, 4);
        // All at once, while there is no other host.
        for (const Variant* variant : mVariants) oracle.GetDigest(*variant, 0, mDevice);
    }

    void Run() {
        Studio::Options options;
        options.mDevice = mDevice;
        options.mServeComputeCache = Choose(0, 3) != 0;
        options.mCacheLimit = Choose(0, 2) == 0 ? 100'000 : 0;
        mCurrent = mVariants[0];
        mLog = {"device " + mDevice + ", cache " + std::to_string(options.mServeComputeCache) + ", limit " +
                std::to_string(options.mCacheLimit) + ", scene " + mCurrent->mName};
        if (Choose(0, 4) == 0) ComeUpInVain(options);
        mStudio = std::make_unique<Studio>(mCurrent->mDocument, mCurrent->mName, options);
        Check();
        mHeld = mStudio->CountHeld();
        const int steps = Choose(3, 25);
        for (int i = 0; i < steps && !testing::Test::HasFailure(); ++i) Step();
        mStudio->Finish();
    }

private:
    int Choose(int low, int high) { return Pick(mRandom, low, high); }

    /// A start that fails leaves nothing behind.
    void ComeUpInVain(const Studio::Options& options) {
        const Fault fault = MakeFault(Choose(0, 2) == 0 ? Kind::Threads : Kind::Allocation, 100);
        mLog.push_back("comes up without allocation " + std::to_string(fault.mAllocation));
        try {
            const FaultScope scope(fault);
            Studio(mCurrent->mDocument, mCurrent->mName, options);
        } catch (const std::exception& failure) {
            const Exempt exempt;
            Note(failure.what());
        }
    }

    Fault MakeFault(Kind kind, int allocations) {
        Fault fault;
        // Small numbers are as likely as large ones: many failures are at a command's beginning.
        if (kind == Kind::Allocation || kind == Kind::AllMemory)
            fault.mAllocation = 1 + Choose(0, Choose(1, allocations));
        fault.mIsForGood = kind == Kind::AllMemory;
        fault.mThreads = kind == Kind::Threads;
        return fault;
    }

    void Note(const std::string& text) {
        ++mTally.mFailures;
        mLog.push_back("  fails: " + text.substr(0, 200));
    }

    void Step() {
        struct Action {
            const char* mName;
            void (Life::*mAct)();
            bool mIsUsers;  ///< a step that can be taken back
        };
        static constexpr Action actions[] = {
            {"renders a frame", &Life::RenderOne, false},
            {"renders a frame", &Life::RenderOne, false},
            {"renders on threads", &Life::RenderMany, false},
            {"renders on threads", &Life::RenderMany, false},
            {"becomes another", &Life::Switch, false},
            {"presses a button", &Life::Press, true},
            {"chooses a file", &Life::ChooseFile, true},
            {"saves and restores", &Life::SaveAndRestore, false},
            {"purges", &Life::Purge, false},
            {"brings controls up to date", &Life::UpdateControls, false},
        };
        const Action& action = actions[Choose(0, static_cast<int>(std::size(actions)) - 1)];
        const Kind kind = ChooseKind(action.mIsUsers);
        ++mTally.mSteps;
        mLog.push_back(std::string(action.mName) + " without " + kKinds[static_cast<int>(kind)]);
        mStudio->mHost->GetUndo().Clear();
        Try(kind, action.mAct);
        if (action.mIsUsers) mStudio->mHost->Undo();
        mStudio->mHost->GetUndo().Clear();
        EXPECT_EQ(mStudio->CountHeld(), mHeld) << "handles, locks, memory, streams, references, footage, suites";
        for (const std::string& text : mStudio->mHost->GetDiagnostics().Take()) {
            // The host's own lack of memory is told as what the effect did wrong.
            if (kind != Kind::Allocation && kind != Kind::AllMemory) ADD_FAILURE() << text;
        }
        Check();
    }

    Kind ChooseKind(bool isUsers) {
        const int die = Choose(0, 9);
        if (die < 3) return Kind::None;
        if (die < 5 || isUsers) return Kind::Suite;
        if (die < 7) return Kind::Allocation;
        if (die < 8) return Kind::AllMemory;
        return MayLose(mDevice) ? Kind::Device : Kind::Threads;
    }

    /// Acts while something fails. A failure is an exception of the host's or of the lack itself, and nothing else.
    void Try(Kind kind, void (Life::*act)()) {
        host::SuiteFaults& faults = mStudio->mHost->GetFaults();
        if (kind == Kind::Suite || kind == Kind::None) faults.Arm(MakeSuiteFault(kind));
        if (kind == Kind::Device) {
            gLosses.push_back(Clock::now());
            ++mTally.mLostDevices;
            gLoseAfter(Choose(0, 12));
        }
        const Fault fault = MakeFault(kind, 300);
        try {
            const FaultScope scope(fault);
            (this->*act)();
        } catch (const host::EffectError& error) {
            Note(error.what());
        } catch (const host::UsageError& error) {
            Note(error.what());  // a value that the effect failed to read
        } catch (const std::bad_alloc& error) {
            EXPECT_GT(fault.mAllocation, 0);
            Note(error.what());
        } catch (const std::system_error& error) {
            EXPECT_TRUE(fault.mThreads || fault.mAllocation > 0) << error.what();
            Note(error.what());
        }
        if (kind == Kind::Device) gLoseAfter(-1);
        for (const host::SuiteCall& call : faults.Disarm()) mCalls.emplace(call.mSuite, call.mFunction);
    }

    /// One of the calls that there have been, the first or a later one.
    host::SuiteFault MakeSuiteFault(Kind kind) {
        // Values cannot even be disposed of without the suite of their handles, so that one is not taken away.
        mCalls.erase({kPFHandleSuite, "AcquireSuite"});
        if (kind == Kind::None || mCalls.empty()) return {};
        const auto call = std::next(mCalls.begin(), Choose(0, static_cast<int>(mCalls.size()) - 1));
        return {static_cast<std::size_t>(1 + Choose(0, Choose(0, 20))), 41, call->first, call->second};
    }

    void RenderOne() {
        const int frame = Choose(0, Oracle::kFrames - 1);
        Compare(mStudio->Render(frame), frame);
    }

    /// On threads that come and go with the call.
    void RenderMany() {
        std::vector<int> frames(static_cast<std::size_t>(Choose(2, 12)));
        for (int& frame : frames) frame = Choose(0, Oracle::kFrames - 1);
        const auto compare = [&](int frame, const host::Frame& picture) {
            const Exempt exempt;
            const std::lock_guard lock(mMutex);
            Compare(picture, frame);
        };
        host::RenderFrames(*mStudio->mHost, frames, Choose(2, 6), compare, {});
    }

    /// A frame that was given out is right, whatever failed meanwhile.
    void Compare(const host::Frame& picture, int frame) {
        const Exempt exempt;
        ++mTally.mFrames;
        EXPECT_TRUE(Digest(picture) == mOracle.GetDigest(*mCurrent, frame, mDevice))
            << mCurrent->mName << ", frame " << frame << ", " << mDevice;
    }

    /// The next frame without a failure.
    void Check() {
        mCurrent = mVariants[static_cast<std::size_t>(Choose(0, static_cast<int>(mVariants.size()) - 1))];
        mLog.push_back("  is then " + mCurrent->mName);
        Become(*mStudio, *mCurrent);
        RenderOne();
    }

    void Switch() {
        // What fails half way is neither; Check makes it whole.
        Become(*mStudio, *mVariants[static_cast<std::size_t>(Choose(0, static_cast<int>(mVariants.size()) - 1))]);
    }

    void Press() {
        static constexpr const char* buttons[] = {"transform_createNullObject", "transform_unlinkNullObject",
                                                  "modelSettings_copy",         "modelSettings_paste",
                                                  "modelSettings_reset",        "info"};
        const std::string slot = "Model" + std::to_string(Choose(1, 5)) + "_";
        mStudio->Press(slot + buttons[Choose(0, static_cast<int>(std::size(buttons)) - 1)]);
    }

    void ChooseFile() {
        const std::filesystem::path broken = endtoend::GetScratchFolder() / "Broken.ply";
        if (!std::filesystem::exists(broken)) std::ofstream(broken) << "ply\nformat binary_little_endian 1.0\n";
        const std::string files[] = {broken.string(), endtoend::GetModelFile(500, 0).string(),
                                     endtoend::GetModelFile(2000, 3).string()};
        mStudio->Choose("Model" + std::to_string(Choose(1, 5)) + "_model", files[Choose(0, 2)]);
        RenderOneUnknown();
    }

    /// Of what the oracle does not know.
    void RenderOneUnknown() { mStudio->Render(Choose(0, 3)); }

    /// As when a project is saved and read and an effect is duplicated.
    void SaveAndRestore() {
        host::Host& host = *mStudio->mHost;
        const std::string flat = host.SaveSequence(Choose(0, 1) == 0);
        PF_Handle const copy = host.RestoreSequence(flat);
        if (copy != nullptr) host.TakeDownSequence(copy);
    }

    void Purge() { mStudio->mHost->GetCache().Purge(0); }
    void UpdateControls() { mStudio->mHost->UpdateParameterControls(); }

    Random& mRandom;
    Oracle& mOracle;
    const std::string mDevice;
    Tally& mTally;
    std::vector<std::string>& mLog;
    std::vector<const Variant*> mVariants;
    const Variant* mCurrent = nullptr;
    std::mutex mMutex;
    std::set<std::pair<std::string, std::string>> mCalls;
    std::vector<std::size_t> mHeld;
    std::unique_ptr<Studio> mStudio;
};

}  // namespace

void PrepareDeviceLoss() {
    setenv("VK_ADD_LAYER_PATH", NIMBREL_TEST_LAYERS, 1);
    setenv("VK_LOADER_LAYERS_ENABLE", "VK_LAYER_NIMBREL_device_loss", 1);
    setenv("VK_INSTANCE_LAYERS", "VK_LAYER_NIMBREL_device_loss", 1);
    void* const layer = dlopen(NIMBREL_TEST_LAYERS "/libNimbrelDeviceLoss.so", RTLD_NOW);
    if (layer == nullptr) return;
    gLoseAfter = reinterpret_cast<void (*)(int)>(dlsym(layer, "NimbrelLoseDeviceAfter"));
    gCountDevices = reinterpret_cast<int (*)()>(dlsym(layer, "NimbrelCountDevices"));
}

void Live(Random& random, Oracle& oracle, const std::string& device, Tally& tally, std::vector<std::string>& log) {
    ++tally.mLives;
    Life(random, oracle, device, tally, log).Run();
    if (gCountDevices != nullptr) {
        EXPECT_EQ(gCountDevices(), 0) << "devices left open";
    }
}

}  // namespace nimbrel::soak
