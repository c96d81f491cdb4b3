// Every suite call of every action fails once: the user learns which, nothing is lost, and all can be taken back.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "HostInterface/HostInterface.h"
#include "HostInterface/NimbrelDeviceSuite.h"
#include "NimbrelHost/Parameters/Catalogue.h"
#include "NimbrelHost/Suites/AddSuites.h"
#include "NimbrelHost/Support/Errors.h"
#include "Studio.h"

namespace nimbrel::endtoend {
namespace {

using host::SuiteCall;
using host::SuiteFaults;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr int kCode = 41;  // none of the host's

struct Outcome {
    int mCode = 0;
    std::string mMessage;
};

Outcome Try(const std::function<void()>& act) {
    try {
        act();
        return {};
    } catch (const host::EffectError& error) {
        return {error.GetCode(), error.what()};
    }
}

/// Calls whose failure the effect can do without: giving something back, the lock of a value that is going, and suites
/// that some hosts don't have.
bool IsDoneWithout(const SuiteCall& call) {
    const bool isOptional =
        call.mSuite == "AEGP Compute Cache" || call.mSuite == "AEGP Hash Suite" || call.mSuite == kNimbrelDeviceSuite;
    return SuiteFaults::GivesBack(call.mFunction) || call.mFunction == "host_lock_handle" ||
           (isOptional && call.mFunction == "AcquireSuite");
}

/// What the user is told of a call that failed: which it was, and the code that it answered.
void ExpectTold(const Outcome& outcome, const SuiteCall& call) {
    SCOPED_TRACE(call.mSuite + ": " + call.mFunction);
    if (outcome.mMessage.empty() && IsDoneWithout(call)) return;
    if (call.mFunction == "AcquireSuite") {
        EXPECT_THAT(outcome.mMessage, AnyOf(HasSubstr("\"Failed to acquire suite " + call.mSuite + "\""),
                                            HasSubstr("\"Failed to load the AEFX world suite.\"")));
        EXPECT_EQ(outcome.mCode, kCode);
    } else if (call.mSuite == kPFHandleSuite) {
        // In a render it is the host that asks for a value, within a call of the effect's.
        EXPECT_THAT(
            outcome.mMessage,
            AnyOf(HasSubstr("\"Failed to allocate the handle of size "), HasSubstr("\"Failed to lock the handle\""),
                  HasSubstr("\"Failed to call PF_CHECKOUT_PARAM("), HasSubstr("\"Failed to call ::Sequence")));
        EXPECT_THAT(outcome.mCode, AnyOf(512, 4));
    } else if (call.mSuite == kAEGPHashSuite || call.mFunction == "AEGP_CheckoutCached") {
        // The cache asks the effect for a key, and it is the cache's own call that fails.
        EXPECT_THAT(outcome.mMessage, AnyOf(HasSubstr("\"Failed to checkout a cached value\""),
                                            HasSubstr("AEGP_ComputeIfNeededAndCheckout(")));
        EXPECT_NE(outcome.mCode, 0);
    } else {
        EXPECT_THAT(outcome.mMessage, HasSubstr("\"Failed to call "));
        EXPECT_THAT(outcome.mMessage, HasSubstr(call.mFunction + "("));
        EXPECT_EQ(outcome.mCode, kCode);
    }
}

/// Values cannot even be disposed of without the suite of their handles, so that one is not taken away.
bool IsTakenAway(const SuiteCall& call) { return call.mFunction != "AcquireSuite" || call.mSuite != kPFHandleSuite; }

/// Numbers, from 1, of the calls to fail: the first and the last of each function, or all. Each value of a record takes
/// a dozen calls of the handle suite, which are alike: of those every tenth does.
std::vector<std::size_t> ChooseCalls(const std::vector<SuiteCall>& calls, bool all) {
    std::map<std::string, std::vector<std::size_t>> numbers;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (IsTakenAway(calls[i])) numbers[calls[i].mSuite + calls[i].mFunction].push_back(i + 1);
    }
    std::vector<std::size_t> chosen;
    for (const auto& [name, same] : numbers) {
        const std::size_t step = !all ? same.size() : calls[same[0] - 1].mSuite == kPFHandleSuite ? 10 : 1;
        for (std::size_t i = 0; i < same.size(); i += step) chosen.push_back(same[i]);
        if (same.size() > 1) chosen.push_back(same.back());
    }
    return chosen;
}

struct Action {
    const char* mName;
    std::function<void(Studio&)> mAct;
    bool mFailAll = true;
};

void PrintTo(const Action& action, std::ostream* stream) { *stream << action.mName; }

class SuiteFault : public ::testing::TestWithParam<Action> {
protected:
    ~SuiteFault() override { std::filesystem::remove(NIMBREL_TEST_CLIPBOARD); }
};

TEST_P(SuiteFault, IsToldAndLeavesNothingBehind) {
    Studio studio(MakeSceneDocument(MakeProjectShot()), "faults", {NIMBREL_CLIPBOARD_EFFECT, "cpu", {}});
    SuiteFaults& faults = studio.mHost->GetFaults();
    studio.Press("Model1_modelSettings_copy");
    studio.Press("Model4_transform_createNullObject");
    studio.mHost->GetUndo().Clear();
    const auto act = [&](std::size_t number) {
        faults.Arm({number, kCode, "", ""});
        const Outcome outcome = Try([&] { GetParam().mAct(studio); });
        std::vector<SuiteCall> calls = faults.Disarm();
        studio.mHost->Undo();
        studio.mHost->GetUndo().Clear();
        return std::pair(outcome, std::move(calls));
    };
    const host::Json before = studio.Describe();
    const std::vector<std::size_t> held = studio.CountHeld();
    act(0);  // what is loaded stays
    const std::vector<std::size_t> chosen = ChooseCalls(act(0).second, GetParam().mFailAll);
    EXPECT_GT(chosen.size(), 30U);
    for (const std::size_t number : chosen) {
        const Outcome outcome = act(number).first;
        const auto failed = faults.GetFailed();
        ASSERT_TRUE(failed) << number;
        ExpectTold(outcome, *failed);
        EXPECT_EQ(studio.CountHeld(), held) << failed->mSuite << ": " << failed->mFunction;
        EXPECT_EQ(studio.Describe(), before) << failed->mSuite << ": " << failed->mFunction;
        EXPECT_THAT(studio.mHost->GetDiagnostics().Take(), IsEmpty()) << failed->mSuite << ": " << failed->mFunction;
        if (HasFailure()) return;
    }
}

std::function<void(Studio&)> Press(const char* id) {
    return [id](Studio& studio) { studio.Press(id); };
}

void PasteNewFile(Studio& studio) {
    const host::Json text = {{{"id", studio.Get("Model1_model").mUniqueId}, {"value", GetModelFile(500, 0).string()}}};
    std::ofstream(NIMBREL_TEST_CLIPBOARD, std::ios::binary) << text.dump();
    studio.Press("Model2_modelSettings_paste");
}

void ChooseBrokenFile(Studio& studio) {
    const std::filesystem::path file = GetScratchFolder() / "broken.ply";
    std::ofstream(file) << "ply\n";
    studio.Choose("Model1_model", file.string());
}

const Action kActions[] = {
    {"Create", Press("Model1_transform_createNullObject")},
    {"CreateAgain", Press("Model4_transform_createNullObject")},
    {"Unlink", Press("Model4_transform_unlinkNullObject")},
    {"Copy", Press("Model1_modelSettings_copy")},
    {"Paste", Press("Model3_modelSettings_paste")},
    {"PasteNewFile", PasteNewFile},
    {"Reset", Press("Model1_modelSettings_reset")},
    {"ChooseGoodFile", [](Studio& studio) { studio.Choose("Model2_model", GetModelFile(500, 0).string()); }},
    {"ChooseBrokenFile", ChooseBrokenFile},
    {"ChooseNoFile", [](Studio& studio) { studio.Choose("Model1_model", nullptr); }},
    {"Info", Press("Model1_info")},
    {"InfoOfNone", Press("Model5_info")},
    {"Render", [](Studio& studio) { studio.Render(1); }, false},
};

INSTANTIATE_TEST_SUITE_P(Actions, SuiteFault, ::testing::ValuesIn(kActions),
                         [](const auto& parameter) { return parameter.param.mName; });

/// The effect comes up and goes down again, with one call failing on the way.
TEST(SuiteFaultOfALife, IsToldAndLeavesNothingBehind) {
    std::vector<SuiteCall> calls;
    const auto live = [&](std::size_t number) {
        host::HostOptions options;
        options.mPlugin = NIMBREL_EFFECT_FILE;
        options.mDevice = "cpu";
        options.mStrict = true;
        host::Host host(options, host::Composition{}, std::nullopt, host::Catalogue::Read(NIMBREL_CATALOGUE_FILE),
                        host::AddSuites);
        host.GetFaults().Arm({number, kCode, "", ""});
        const Outcome outcome = Try([&] {
            host.Start();
            host.Stop();
        });
        calls = host.GetFaults().Disarm();
        const auto failed = host.GetFaults().GetFailed();
        const Outcome stopped = Try([&] { host.Stop(); });
        EXPECT_EQ(stopped.mMessage, "");
        if (failed) ExpectTold(outcome, *failed);
        const std::string name = failed ? failed->mSuite + ": " + failed->mFunction : "";
        EXPECT_EQ(failed.has_value(), number != 0);
        EXPECT_THAT(host.GetDiagnostics().Get(), IsEmpty()) << name << outcome.mMessage;
        EXPECT_EQ(host.GetHandles().CountLive() + host.GetMemory().CountLive(), 0U) << name << outcome.mMessage;
    };
    live(0);
    for (const std::size_t number : ChooseCalls(std::vector<SuiteCall>(calls), false)) live(number);
}

}  // namespace
}  // namespace nimbrel::endtoend
