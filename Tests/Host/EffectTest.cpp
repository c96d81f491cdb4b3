// The host with a real effect library in it: what the effect sees of a scene, and what the host sees of its faults.
#include <gmock/gmock.h>

#include <cstring>
#include <thread>

#include "EffectFixture.h"
#include "NimbrelHost/CustomData.h"
#include "NimbrelHost/Host.h"
#include "NimbrelHost/Interrupt.h"
#include "NimbrelHost/RenderJob.h"
#include "NimbrelHost/Settings.h"
#include "TestEffect.h"
#include "TestSupport.h"

namespace nimbrel::host {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace test_effect;

TEST(Effect, SeesDefaultsAndValuesInItsOwnUnits) {
    Effect effect;
    EXPECT_EQ(effect.Probe(kProbeLevel), 50);
    EXPECT_EQ(effect.Probe(kProbeSwitch), 1);
    EXPECT_EQ(effect.Probe(kProbeMode), 1) << "pop-ups count from 1 for an effect";
    EXPECT_EQ(effect.Probe(kProbeTintGreen), 128);
    EXPECT_NEAR(effect.Probe(kProbeSpotZ), 0.6, 1e-6) << "10 % of the layer's height";
    EXPECT_EQ(effect.Probe(kProbePathLength), 0);
    EXPECT_EQ(effect.Probe(kProbeCount), 3);
    EXPECT_EQ(effect.Probe(kProbeCurve), 0.25);
    EXPECT_EQ(effect.Probe(kProbeCameraX), -1) << "no camera layer";

    effect.mFolder.Write("mod\xc3\xa8le.ply", "x");
    effect.Set("Model1_align_scale", "12.5");
    effect.Set("#11", "-90.5");
    effect.Set("Switch", "false");
    effect.Set("Mode", "\"Multiply\"");
    effect.Set("Tint", "[0, 0.5, 1]");
    effect.Set("Spot", "[1, 2, 3.5]");
    effect.Set("Model1_model", "\"mod\xc3\xa8le.ply\"");
    effect.Set("Count", "-5");
    effect.Set("Curve", R"({"v": 0.75})");
    EXPECT_EQ(effect.Probe(kProbeLevel), 12.5);
    EXPECT_EQ(effect.Probe(kProbeTurn), -90.5);
    EXPECT_EQ(effect.Probe(kProbeSwitch), 0);
    EXPECT_EQ(effect.Probe(kProbeMode), 3);
    EXPECT_EQ(effect.Probe(kProbeTintGreen), 128);
    EXPECT_EQ(effect.Probe(kProbeSpotZ), 3.5);
    EXPECT_EQ(effect.Probe(kProbePathLength), static_cast<double>((effect.mFolder / "modele.ply").string().size()));
    EXPECT_EQ(effect.Probe(kProbeCount), -5);
    EXPECT_EQ(effect.Probe(kProbeCurve), 0.75);
    EXPECT_EQ(effect.Probe(kProbeCached), 25);
    EXPECT_THAT(effect.Finish(), IsEmpty());
}

TEST(Effect, SeesValuesMoveWithTime) {
    Composition composition = Effect::FloatComposition();
    composition.mFrameRate = 10;
    composition.mDownsample = 2;
    Camera camera = DefaultCamera(8, 6);
    camera.mZoom = {{{0, 100}, {1, 200}}, false};
    camera.mPosition = {{{0, {0, 0, 0}}, {2, {50, 0, 0}}}, false};
    Effect effect(composition, camera);
    const std::string keys = R"({"keyframes": [[0, A], [1, B]]})";
    const auto set = [&](const std::string& id, const std::string& a, const std::string& b) {
        std::string text = keys;
        text.replace(text.find('A'), 1, a);
        text.replace(text.find('B'), 1, b);
        effect.Set(id, text);
    };
    set("Model1_align_scale", "10", "20");
    set("Turn", "0", "360");
    set("Switch", "false", "true");
    set("Mode", "0", "2");
    set("Spot", "[0, 0, 10]", "[0, 0, 30]");
    set("Count", "1", "2");
    set("Curve", R"({"v": 0})", R"({"v": 1})");
    EXPECT_DOUBLE_EQ(effect.Probe(kProbeLevel, 3), 13);
    EXPECT_DOUBLE_EQ(effect.Probe(kProbeTurn, 5), 180);
    EXPECT_EQ(effect.Probe(kProbeSwitch, 9), 0) << "check boxes hold";
    EXPECT_EQ(effect.Probe(kProbeSwitch, 10), 1);
    EXPECT_EQ(effect.Probe(kProbeMode, 9), 1) << "pop-ups hold";
    EXPECT_EQ(effect.Probe(kProbeSpotZ, 5), 10) << "20 at half resolution";
    EXPECT_EQ(effect.Probe(kProbeCount, 4), 1) << "integers round";
    EXPECT_EQ(effect.Probe(kProbeCount, 6), 2);
    EXPECT_EQ(effect.Probe(kProbeCurve, 5), 0.5) << "through the effect's own interpolation";
    EXPECT_EQ(effect.Probe(kProbeCurve, 30), 1);
    EXPECT_EQ(effect.Probe(kProbeZoom, 5), 150);
    EXPECT_EQ(effect.Probe(kProbeCameraX, 10), 25) << "camera to world, translation in the last row";
    EXPECT_THAT(effect.Finish(), IsEmpty());
}

TEST(Effect, GetsTheSameFramesHoweverTheHostDrivesIt) {
    Composition composition;
    composition.mWidth = 37;
    composition.mHeight = 21;
    composition.mDownsample = 2;
    HostOptions strict;
    strict.mStrict = true;
    strict.mCacheLimit = 1;
    const std::vector<int> frames = {0, 1, 2, 3, 4, 5, 6, 7};
    std::vector<std::map<int, std::vector<std::uint8_t>>> runs;
    for (const auto& [options, threads] : {std::pair(HostOptions{}, 1), {strict, 1}, {HostOptions{}, 4}, {strict, 4}}) {
        Effect effect(composition, std::nullopt, options);
        effect.Set("Model1_align_scale", R"({"keyframes": [[0, 10], [1, 34]]})");
        effect.Set("Probe", "\"Cached\"");
        std::mutex mutex;
        auto& pictures = runs.emplace_back();
        const std::vector<FrameTimes> times = RenderFrames(*effect.mHost, frames, threads,
                                                           [&](int frame, const Frame& picture) {
                                                               const std::scoped_lock lock(mutex);
                                                               pictures[frame] = picture.mPixels;
                                                           },
                                                           {});
        EXPECT_EQ(times[5].mFrame, 5);
        EXPECT_GT(times[5].mRenderMs, 0);
        EXPECT_THAT(effect.Finish(), IsEmpty());
    }
    EXPECT_EQ(runs[0].size(), frames.size());
    // 19 x 11 pixels; the effect rounds down, so the last column and row are transparent.
    const std::vector<std::uint8_t>& first = runs[0][3];
    ASSERT_EQ(first.size(), 19U * 11 * 4);
    const auto pixel = [&](std::size_t x, std::size_t y) {
        const std::uint8_t* p = &first[(y * 19 + x) * 4];
        return std::vector<int>{p[0], p[1], p[2], p[3]};
    };
    EXPECT_THAT(pixel(17, 9), ElementsAre(255, 17, 9, 26));
    EXPECT_THAT(pixel(18, 9), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(pixel(17, 10), ElementsAre(0, 0, 0, 0));
    for (std::size_t run = 1; run < runs.size(); ++run) EXPECT_EQ(runs[run], runs[0]) << run;
}

TEST(Effect, RunsWithoutTheHostsCache) {
    HostOptions options;
    options.mServeComputeCache = false;
    options.mServeHash = false;
    Effect effect(Effect::FloatComposition(), std::nullopt, options);
    EXPECT_EQ(effect.Probe(kProbeCached), -1);
    EXPECT_EQ(effect.mHost->GetSuites().Acquire("AEGP Hash Suite", 1), nullptr);
    EXPECT_THAT(effect.Finish(), IsEmpty());
}

TEST(Effect, ReportsItsFailuresAsAUserWouldSeeThem) {
    const auto render = [](int fault) {
        Effect effect;
        effect.Set("Fault", std::to_string(fault));
        try {
            effect.Probe(kProbeLevel);
        } catch (const EffectError& error) {
            return std::string(error.what());
        }
        return effect.mMessages.empty() ? "" : "shown: " + effect.mMessages.front();
    };
    EXPECT_EQ(render(kMessage), "the test effect fails\nas it was told");
    EXPECT_EQ(render(kCode), "the effect failed in render with error 513");
    EXPECT_EQ(render(kInfo), "shown: nothing is wrong");
}

TEST(Effect, IsFoundOutWhenItMisbehaves) {
    const auto diagnose = [](int fault, bool strict) {
        HostOptions options;
        options.mStrict = strict;
        Effect effect(Effect::FloatComposition(), std::nullopt, options);
        effect.Set("Fault", std::to_string(fault));
        effect.Probe(kProbeLevel);
        return effect.Finish();
    };
    EXPECT_THAT(diagnose(kLeak, false), ElementsAre("the effect left 1 handles behind"));
    EXPECT_THAT(diagnose(kPadding, true), ElementsAre("render: bytes behind a row were written"));
#if defined(__has_feature)
#if __has_feature(undefined_behavior_sanitizer)
#define NIMBREL_CHECKS_FUNCTION_TYPES
#endif
#endif
#ifndef NIMBREL_CHECKS_FUNCTION_TYPES  // one function stands in all slots that aren't served, whatever their types
    EXPECT_THAT(diagnose(kUnserved, false), ElementsAre("AEGP Layer Suite: function 2 is not served by this host"));
#endif
}

TEST(Effect, StopsWhenTheUserWantsTo) {
    Effect effect;
    effect.Set("Fault", std::to_string(kWait));
    std::thread user([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        RequestInterrupt();
    });
    EXPECT_THROW(RenderFrames(*effect.mHost, {0, 1, 2}, 2, [](int, const Frame&) {}, {}), Interrupted);
    user.join();
    ClearInterrupt();
    EXPECT_THAT(effect.Finish(), IsEmpty());
}

TEST(Effect, SettingsNameWhatIsWrong) {
    Effect effect;
    const struct {
        const char* mId;
        const char* mValue;
        const char* mMessage;
    } cases[] = {
        {"Model1_algin_scale", "1",
         "s.json: unknown parameter \"Model1_algin_scale\", expected an id of --list-parameters (did you mean "
         "\"Model1_align_scale\"?)"},
        {"#99", "1", "unknown parameter \"#99\""},
        {"Press", "1", "unknown parameter \"Press\""},
        {"#19", "1", "parameters.#19: expected a parameter with a value, but it is a Button"},
        {"Model1_align_scale", "-1", "parameters.Model1_align_scale: expected a number of at least 0, but it is -1"},
        {"Model1_align_scale", "\"big\"", "expected a number, but it is \"big\""},
        {"Turn", "1e9", "parameters.Turn: expected a number from -32767 to 32767"},
        {"Switch", "1", "expected true or false, but it is 1"},
        {"Mode", "3", "expected 0 to 2 or one of \"Normal\", \"Add\", \"Multiply\", but it is 3"},
        {"Mode", "\"Screen\"", "but it is \"Screen\""},
        {"Tint", "[0, 0, 2]", "expected a colour [red, green, blue] of numbers from 0 to 1"},
        {"Spot", "[1, 2]", "expected three numbers [x, y, z]"},
        {"Model1_model", "\"gone.ply\"", "parameters.Model1_model: expected a file, but there is none at \""},
        {"Model1_model", "5", "expected the path of a file, but it is 5"},
        {"Model1_model", R"({"keyframes": [[0, null]]})",
         "expected a single value, since this parameter cannot be animated"},
        {"Count", "1.5", "expected a whole number from -5 to 100, but it is 1.5"},
        {"Curve", "1", "expected an object in the parameter's JSON form, but it is 1"},
        {"Curve", R"({"w": 1})", "parameters.Curve: expected a value that the effect can read: a curve has a \"v\""},
        {"Curve", R"({"keyframes": [[0, {"v": 1}], [1, {"w": 1}]]})",
         "parameters.Curve.keyframes[1][1]: expected a value that"},
    };
    for (const auto& [id, value, message] : cases) {
        EXPECT_THAT(UsageMessage([&, i = id, v = value] { effect.Set(i, v); }), HasSubstr(message))
            << id << " = " << value;
    }
    EXPECT_EQ(effect.Probe(kProbeLevel), 50) << "a refused value changes nothing";
    EXPECT_THAT(effect.Finish(), IsEmpty()) << "nor does it leak";
}

TEST(Effect, ListsItsParameters) {
    Effect effect;
    const Json list = ListParameters(*effect.mHost);
    ASSERT_EQ(list.size(), 14U);
    EXPECT_EQ(list[0].dump(),
              R"({"hostIndex":1,"uniqueId":10,"id":"Model1_align_scale","name":"Level","type":"FloatSlider",)"
              R"("flags":0,"validMin":0.0,"displayMin":0.0,"displayMax":100.0,"precision":1,"percent":true,)"
              R"("default":50.0,"value":50.0})");
    EXPECT_EQ(list[3].dump(), R"({"hostIndex":4,"uniqueId":13,"id":null,"name":"Mode","type":"Popup","flags":0,)"
                              R"("choices":["Normal","Add","Multiply"],"default":0,"value":0})");
    EXPECT_EQ(list[6]["value"], nullptr);
    EXPECT_EQ(list[7]["validMin"], -5);
    EXPECT_EQ(list[8]["default"].dump(), R"({"v":0.25})");
    std::vector<std::string> types;
    for (const Json& entry : list) types.push_back(entry["type"]);
    EXPECT_THAT(types, ElementsAre("FloatSlider", "Angle", "Checkbox", "Popup", "Color", "Point3", "Layer", "Slider",
                                   "Custom", "Button", "GroupStart", "GroupEnd", "Popup", "Popup"));
}

TEST(Effect, ChangesItsValuesWhenAButtonIsPressed) {
    std::vector<std::string> dialogs;
    HostOptions options;
    options.mShowDialog = [&](const std::string& title, const std::string& text) {
        dialogs.push_back(title + ": " + text);
    };
    Composition composition = Effect::FloatComposition();
    composition.mDownsample = 2;
    Effect effect(composition, std::nullopt, options);
    effect.Set("Curve", R"({"v": 0.25})");
    effect.Set("Spot", "[1, 2, 10]");
    PressButton(*effect.mHost, "#19", "test");
    EXPECT_EQ(effect.Probe(kProbeLevel), 100);
    EXPECT_EQ(effect.Probe(kProbeCurve), 0.5);
    EXPECT_EQ(effect.Probe(kProbeSpotZ), 6) << "10 at half resolution and 1";
    EXPECT_EQ(effect.Probe(kProbeTurn), 0) << "what is not marked is not taken";
    EXPECT_EQ(effect.Probe(kProbePathLength), 0) << "nor are layers";
    EXPECT_THAT(dialogs, ElementsAre("T: hello"));

    // Animated values get a key at the time, half a second here.
    effect.Set("Model1_align_scale", R"({"keyframes": [[0, 10], [1, 20]]})");
    effect.Set("Curve", R"({"keyframes": [[0, {"v": 0}], [0.5, {"v": 1}], [1, {"v": 3}]]})");
    const auto save = [&] { return WriteScene(*effect.mHost, effect.mFolder / "")["parameters"]; };
    effect.Probe(kProbeLevel);
    const Json unpressed = save();
    effect.mHost->ChangeParameter(effect.mHost->GetParameters().Find("#19", "test"), 12);
    EXPECT_EQ(effect.Probe(kProbeLevel, 0), 10);
    EXPECT_EQ(effect.Probe(kProbeLevel, 12), 30);
    EXPECT_EQ(effect.Probe(kProbeLevel, 24), 20);
    EXPECT_EQ(effect.Probe(kProbeCurve, 12), 2);
    effect.mHost->ChangeParameter(effect.mHost->GetParameters().Find("#19", "test"), 18);
    EXPECT_EQ(effect.Probe(kProbeCurve, 18), 5);
    EXPECT_EQ(effect.Probe(kProbeCurve, 12), 2);

    // Values of the effect's own kind come back with the others, keys and all.
    EXPECT_THAT(effect.mHost->GetUndo().ListSteps(), ElementsAre("Press", "Press", "Press"));
    effect.Set("Probe", "\"Level\"");
    for (int time = 0; time < 2; ++time) EXPECT_TRUE(effect.mHost->Undo());
    EXPECT_EQ(save(), unpressed);
    EXPECT_TRUE(effect.mHost->Redo());
    EXPECT_EQ(effect.Probe(kProbeCurve, 12), 2);
    EXPECT_THAT(effect.Finish(), IsEmpty());
}

TEST(Effect, HearsOfTheCallThatFails) {
    HostOptions options;
    options.mShowDialog = [](const std::string&, const std::string&) {};
    Effect effect(Effect::FloatComposition(), std::nullopt, options);
    const auto press = [&](SuiteFault fault) {
        int code = 0;
        effect.mHost->GetFaults().Arm(std::move(fault));
        try {
            PressButton(*effect.mHost, "#19", "test");
        } catch (const EffectError& error) {
            code = error.GetCode();
        }
        effect.mHost->GetFaults().Disarm();
        return code;
    };
    EXPECT_EQ(press({1, 41, "", "AEGP_ExecuteScript"}), 41);
    EXPECT_EQ(press({2, 41, "", "AEGP_ExecuteScript"}), 0) << "there is but one";
    EXPECT_FALSE(effect.mHost->GetFaults().GetFailed());
    // What is given back is gone whatever the answer says.
    EXPECT_EQ(press({1, 41, "AEGP Memory Suite", "AEGP_FreeMemHandle"}), 41);
    EXPECT_EQ(effect.mHost->GetFaults().GetFailed()->mFunction, "AEGP_FreeMemHandle");
    EXPECT_THAT(effect.Finish(), IsEmpty());
}

TEST(Effect, SeesWhatExpressionsGive) {
    Effect effect;
    effect.Set("Model1_align_scale", R"({"value": 10, "expression": "value * 2 + time"})");
    effect.Set("Turn", R"({"keyframes": [[0, 0], [1, 90]], "expression": "-value"})");
    effect.Set("Spot", R"({"value": [1, 2, 3], "expression": "value + thisComp.layer('Splats').toWorld([0, 0, 7]);"})");
    EXPECT_EQ(effect.Probe(kProbeLevel), 20);
    EXPECT_EQ(effect.Probe(kProbeLevel, 24), 21);
    EXPECT_EQ(effect.Probe(kProbeTurn, 12), -45);
    EXPECT_EQ(effect.Probe(kProbeSpotZ), 10);
    const Json saved = WriteScene(*effect.mHost, effect.mFolder / "")["parameters"];
    EXPECT_EQ(saved["Model1_align_scale"].dump(), R"({"value":10.0,"expression":"value * 2 + time"})");
    EXPECT_EQ(saved["Turn"].dump(), R"({"keyframes":[[0.0,0.0],[1.0,90.0]],"expression":"-value"})");

    effect.Set("Model1_align_scale", "5");
    EXPECT_EQ(effect.Probe(kProbeLevel), 5) << "a new value comes without the old one's expression";
    EXPECT_THAT(UsageMessage([&] { effect.Set("Turn", R"({"expression": "1", "other": 2})"); }),
                HasSubstr("parameters.Turn.other: unknown key"));
    EXPECT_THAT(UsageMessage([&] { effect.Set("Turn", R"({"expression": "1"})"); }),
                HasSubstr("parameters.Turn: expected a \"value\" or \"keyframes\" beside the \"expression\""));
    effect.Set("Turn", R"({"value": 4, "expression": "nothing + 1"})");
    for (int time = 0; time < 2; ++time) EXPECT_EQ(effect.Probe(kProbeTurn), 4);
    EXPECT_THAT(effect.Finish(), ElementsAre(HasSubstr("the expression of \"Turn\" failed: ReferenceError")));
}

TEST(Effect, SavesAndReadsBackItsScene) {
    Effect effect(Effect::FloatComposition(), DefaultCamera(8, 6));
    effect.mFolder.Write("a.ply", "x");
    effect.Set("Model1_model", "\"a.ply\"");
    effect.Set("Curve", R"({"keyframes": [[0, {"v": 0.5}], [1, {"v": 1}]]})");
    effect.Set("Switch", "false");
    const Json saved = WriteScene(*effect.mHost, effect.mFolder / "");
    EXPECT_EQ(saved["parameters"].dump(), R"({"Model1_showModel":false,"Model1_model":"a.ply",)"
                                          R"("Curve":{"keyframes":[[0.0,{"v":0.5}],[1.0,{"v":1}]]}})");
    const Scene scene = ParseScene(saved, "saved.json", effect.mFolder / "");
    for (const Setting& setting : scene.mSettings) ApplySetting(*effect.mHost, setting);
    EXPECT_EQ(WriteScene(*effect.mHost, effect.mFolder / "").dump(), saved.dump());
    EXPECT_THAT(effect.Finish(), IsEmpty());
}

TEST(Effect, FitsShownModels) {
    Effect effect;
    effect.mFolder.Write("a.ply", MakePly({-1, -1, -1, 1, 1, 1, 0, 0, 0}));
    effect.Set("Model1_model", "\"a.ply\"");
    effect.Set("Model1_showModel", "false");
    FitModels(*effect.mHost);
    EXPECT_EQ(effect.Probe(kProbeLevel), 50) << "a hidden model stays";
    effect.Set("Model1_showModel", "true");
    FitModels(*effect.mHost);
    EXPECT_NE(effect.Probe(kProbeLevel), 50);
    EXPECT_EQ(GetModelFile(*effect.mHost, 1, true), effect.mFolder / "a.ply");
    EXPECT_EQ(GetModelFile(*effect.mHost, 2, true), "");
}

TEST(EffectLibrary, RefusesWhatIsNoEffect) {
    const TestFolder folder;
    const auto load = [&](const std::filesystem::path& file) {
        return UsageMessage([&] { EffectLibrary::Load(file, nullptr); });
    };
    EXPECT_THAT(load(folder / "none.so"), HasSubstr("none.so: expected the effect library, but there is no such file"));
    EXPECT_THAT(load(folder.Write("text.so", "not a library")),
                HasSubstr("text.so: expected a loadable effect library"));
}

}  // namespace
}  // namespace nimbrel::host
