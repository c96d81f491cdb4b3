// The host with an effect that misbehaves in it, and what it makes of settings for the effect that it is made for.
#include <gmock/gmock.h>

#include <thread>

#include "EffectFixture.h"
#include "NimbrelHost/Commands/CustomData.h"
#include "NimbrelHost/Support/Interrupt.h"
#include "NimbrelHost/User/PointerSession.h"
#include "Studio.h"
#include "TestEffect.h"

namespace nimbrel::host {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace test_effect;

TEST(Effect, ReportsItsFailuresAsAUserWouldSeeThem) {
    const auto render = [](int fault) {
        Effect effect;
        effect.SetFault(fault);
        try {
            effect.Render();
        } catch (const EffectError& error) {
            return std::string(error.what());
        }
        return effect.mMessages.empty() ? "" : "shown: " + effect.mMessages.front();
    };
    EXPECT_EQ(render(kMessage), "the test effect fails\nas it was told");
    EXPECT_EQ(render(kCode), "the effect failed in render with error 513");
    EXPECT_EQ(render(kInfo), "shown: nothing is wrong");
    EXPECT_EQ(render(kNoFault), "");
}

TEST(Effect, IsFoundOutWhenItMisbehaves) {
    const auto diagnose = [](int fault) {
        HostOptions options;
        options.mStrict = true;
        Effect effect(options);
        effect.SetFault(fault);
        effect.Render();
        EffectWindow window(*effect.mHost);
        PointerSession(window, effect.Get("Fault"), {}).Draw();
        window.Close();
        return effect.Finish();
    };
    EXPECT_THAT(diagnose(kNoFault), IsEmpty());
    EXPECT_THAT(diagnose(kLeak), ElementsAre("the effect left 1 handles behind"));
    EXPECT_THAT(diagnose(kPadding), ElementsAre("render: bytes behind a row were written"));
    EXPECT_THAT(diagnose(kLeakPen), ElementsAre("the effect left 1 pens, brushes, paths, images or fonts behind"));
    EXPECT_THAT(diagnose(kStalePath), ElementsAre("drawing: StrokePath expects an object that is in use"));
#if defined(__has_feature)
#if __has_feature(undefined_behavior_sanitizer)
#define NIMBREL_CHECKS_FUNCTION_TYPES
#endif
#endif
#ifndef NIMBREL_CHECKS_FUNCTION_TYPES  // one function stands in all slots that aren't served, whatever their types
    EXPECT_THAT(diagnose(kUnserved), ElementsAre("AEGP Layer Suite: function 2 is not served by this host"));
#endif
}

TEST(Effect, DrawsWhatIsRecorded) {
    Effect effect;
    EffectWindow window(*effect.mHost);
    const Drawing drawing = PointerSession(window, effect.Get("Fault"), {}).Draw();
    ASSERT_EQ(drawing.mCalls.size(), 3U);
    EXPECT_EQ(drawing.Get<FillCall>().at(0)->mPath.mSteps[0].mPoints[1], glm::vec2(100, 40));
    EXPECT_EQ(drawing.Get<TextCall>().at(0)->mText, "H\xc3\xa9");
    EXPECT_EQ(drawing.Get<TextCall>().at(0)->mColor, glm::vec4(1, 0, 0, 1));
}

TEST(Effect, StopsWhenTheUserWantsTo) {
    Effect effect;
    effect.SetFault(kWait);
    std::thread user([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        RequestInterrupt();
    });
    EXPECT_THROW(RenderFrames(*effect.mHost, {0, 1, 2}, 2, [](int, const Frame&) {}), Interrupted);
    user.join();
    ClearInterrupt();
    EXPECT_THAT(effect.Finish(), IsEmpty());
}

TEST(Effect, ChangesOnlyTheValuesThatItMarks) {
    Effect effect;
    const Parameter& level = effect.Get("Level");
    effect.Set("Tint", "[0, 0.5, 1]");
    EXPECT_THAT(UsageMessage([&] { effect.Set("Tint", "[0, 0, 2]"); }),
                HasSubstr("parameters.Tint: expected a colour [red, green, blue] of numbers from 0 to 1"));
    PressButton(*effect.mHost, "#9004", "test");
    EXPECT_EQ(EvaluateNumbers(effect.Get("Tint"), 0), glm::dvec3(128 / 255.0, 0, 1)) << "bytes, for an effect";
    EXPECT_EQ(EvaluateNumbers(level, 0).x, 100);
    EXPECT_EQ(EvaluateNumbers(effect.Get("Count"), 0).x, 0);
    // An animated value gets a key at the time, half a second here.
    effect.Set("Level", R"({"keyframes": [[0, 10], [1, 20]]})");
    effect.mHost->ChangeParameter(effect.Get("#9004"), 12);
    EXPECT_EQ(EvaluateNumbers(level, 0).x, 10);
    EXPECT_EQ(EvaluateNumbers(level, 0.5).x, 30);
    EXPECT_EQ(EvaluateNumbers(level, 1).x, 20);
    EXPECT_THAT(effect.mHost->GetUndo().ListSteps(), ElementsAre("Press", "Press"));
    EXPECT_THAT(effect.Finish(), IsEmpty());
}

TEST(Effect, HasNoSuitesThatTheHostKeepsBack) {
    HostOptions options;
    options.mServeComputeCache = options.mServeHash = false;
    Effect effect(options);
    EXPECT_EQ(effect.mHost->GetSuites().Acquire("AEGP Compute Cache", 1), nullptr);
    EXPECT_EQ(effect.mHost->GetSuites().Acquire("AEGP Hash Suite", 1), nullptr);
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

/// The effect as it ships, for the sake of its parameters.
class SettingTest : public ::testing::Test {
protected:
    void Set(const std::string& id, const std::string& json) {
        ApplySetting(*mStudio.mHost, {id, ParseJson(json, id), "s.json", "parameters." + id, mFolder / "", {}});
    }

    TestFolder mFolder;
    endtoend::Studio mStudio{
        {{"composition", {{"width", 64}, {"height", 36}}}}, "settings", {NIMBREL_EFFECT_FILE, "cpu", {}}};
};

TEST_F(SettingTest, NameWhatIsWrong) {
    const struct {
        const char* mId;
        const char* mValue;
        const char* mMessage;
    } cases[] = {
        {"Model1_algin_scale", "1",
         "s.json: unknown parameter \"Model1_algin_scale\", expected an id of --list-parameters (did you mean "
         "\"Model1_align_scale\"?)"},
        {"#9999", "1", "unknown parameter \"#9999\""},
        {"#858", "1", "parameters.#858: expected a parameter with a value, but it is a Button"},
        {"Model1_align_scale", "-1", "parameters.Model1_align_scale: expected a number of at least 0, but it is -1"},
        {"#9", "\"big\"", "expected a number, but it is \"big\""},
        {"Model1_align_xRotation", "1e9", "expected a number from -32767 to 32767"},
        {"Model1_showModel", "1", "expected true or false, but it is 1"},
        {"Model1_crop_shape_type", "2", "expected 0 to 1 or one of \"Sphere\", \"Box\", but it is 2"},
        {"Model1_crop_shape_type", "\"Cone\"", "but it is \"Cone\""},
        {"Model1_effects_splatColor_gradient", "1", "expected an object in the parameter's JSON form, but it is 1"},
        {"Model1_align_anchorPoint", "[1, 2]", "expected three numbers [x, y, z]"},
        {"Model1_model", "\"gone.ply\"", "parameters.Model1_model: expected a file, but there is none at \""},
        {"Model1_model", "5", "expected the path of a file, but it is 5"},
        {"Model1_model", R"({"keyframes": [[0, null]]})",
         "expected a single value, since this parameter cannot be animated"},
        {"Model1_effects_splatOpacity_ramp", R"({"key": []})", "_ramp.key: unknown key, expected one of"},
        {"Model1_effects_splatOpacity_ramp", R"({"type": 0, "interpolation": 1, "keys": [[0, 1], [1, 2]]})",
         "_ramp.keys[1][1]: expected a number from 0 to 1, but it is 2"},
        {"Model1_effects_splatOpacity_ramp", R"({"type": 0, "interpolation": 4, "keys": []})",
         "_ramp.interpolation: expected a whole number from 0 to 3, but it is 4"},
        {"Model1_effects_splatOpacity_ramp",
         R"({"keyframes": [[0, {"type": 0, "interpolation": 1, "keys": []}], [1, {"keys": []}]]})",
         "_ramp.keyframes[1][1]: expected an object with \"type\", but it is an object"},
        {"Model1_effects_splatColor_gradient", R"({"keys": [[0, {"colour": [1, 1, 1], "type": 1}]]})",
         "_gradient.keys[0][1].colour: unknown key, expected one of \"color\", \"type\" (did you mean \"color\"?)"},
        {"Model1_effects_splatColor_gradient", R"({"keys": [[0, {"color": [1, -1, 1], "type": 1}]]})",
         "_gradient.keys[0][1].color[1]: expected a number of at least 0, but it is -1"},
        {"Model1_align_scale", R"({"keyframe": [[0, 1]]})",
         "_scale.keyframe: unknown key, expected one of \"keyframes\", \"interpolation\", \"value\", "
         "\"expression\" (did you mean \"keyframes\"?)"},
        {"Model1_showModel", R"({"Keyframes": [[0, true]]})", "(did you mean \"keyframes\"?)"},
        {"Model1_align_scale", R"({"expression": "1", "other": 2})", "_scale.other: unknown key"},
        {"Model1_align_scale", R"({"expression": "1"})",
         "_scale: expected a \"value\" or \"keyframes\" beside the \"expression\""},
    };
    const Json before = mStudio.Describe();
    const std::vector<std::size_t> held = mStudio.CountHeld();
    for (const auto& [id, value, message] : cases)
        EXPECT_THAT(UsageMessage([&, i = id, v = value] { Set(i, v); }), HasSubstr(message)) << id << " = " << value;
    EXPECT_EQ(mStudio.Describe(), before) << "a refused value changes nothing";
    EXPECT_EQ(mStudio.CountHeld(), held) << "nor does it leak";
}

TEST_F(SettingTest, ExpressionsGoWithTheirValue) {
    Set("Model1_align_scale", R"({"value": 10, "expression": "value * 2 + time"})");
    EXPECT_EQ(EvaluateNumbers(mStudio.Get("Model1_align_scale"), 0).x, 10) << "what it is without";
    EXPECT_EQ(mStudio.Save()["parameters"]["Model1_align_scale"].dump(),
              R"({"value":10.0,"expression":"value * 2 + time"})");
    Set("Model1_align_scale", "5");
    EXPECT_EQ(mStudio.Save()["parameters"]["Model1_align_scale"].dump(), "5.0");
    // Without a value of its own the parameter keeps the one that it has, and the host says why, once.
    Set("Model1_align_scale", R"({"value": 4, "expression": "nothing + 1"})");
    for (int time = 0; time < 2; ++time) mStudio.Render();
    EXPECT_THAT(mStudio.mHost->GetDiagnostics().Take(),
                ElementsAre(HasSubstr("the expression of \"1 Align Scale\" failed: ReferenceError")));
}

TEST_F(SettingTest, FitPlacesShownModels) {
    mFolder.Write("a.ply", MakePly({-1, -1, -1, 1, 1, 1, 0, 0, 0}));
    Set("Model1_model", "\"a.ply\"");
    Set("Model1_showModel", "false");
    const double scale = mStudio.GetNumber("Model1_align_scale");
    FitModels(*mStudio.mHost);
    EXPECT_EQ(mStudio.GetNumber("Model1_align_scale"), scale) << "a hidden model stays";
    Set("Model1_showModel", "true");
    FitModels(*mStudio.mHost);
    EXPECT_NE(mStudio.GetNumber("Model1_align_scale"), scale);
    EXPECT_EQ(GetModelFile(*mStudio.mHost, 1, true), mFolder / "a.ply");
    EXPECT_EQ(GetModelFile(*mStudio.mHost, 2, true), "");
}

TEST_F(SettingTest, CustomValuesLiveAllTheirLife) {
    Host& host = *mStudio.mHost;
    const Parameter& ramp = mStudio.Get("Model1_effects_splatOpacity_ramp");
    const std::size_t before = host.GetHandles().CountLive();
    const auto scan = [&](const char* value) {
        return ScanCustom(host, ramp, R"({"type":0,"interpolation":1,"keys":[[0.0,)" + std::string(value) + "]]}");
    };
    const PF_Handle made = NewCustom(host, ramp), low = scan("0.25"), high = scan("0.75");
    EXPECT_FALSE(AreCustomEqual(host, ramp, low, high));
    const std::vector<std::uint8_t> flat = FlattenCustom(host, ramp, high);
    EXPECT_EQ(flat.size(), 20U);
    PF_Handle restored = UnflattenCustom(host, ramp, flat);
    EXPECT_TRUE(AreCustomEqual(host, ramp, restored, high));
    RestoreCustom(host, ramp, restored);
    const PF_Handle between = InterpolateCustom(host, ramp, low, restored, 0.5);
    EXPECT_EQ(Json::parse(PrintCustom(host, ramp, between))["keys"].dump(), "[[0.0,0.5]]");
    for (const PF_Handle handle : {made, low, high, restored, between}) DisposeCustom(host, ramp, handle);
    EXPECT_THROW(UnflattenCustom(host, ramp, {1, 2, 3}), EffectError);
    EXPECT_EQ(host.GetHandles().CountLive(), before);
}

}  // namespace
}  // namespace nimbrel::host
