// A user edits a ramp: 150 x 140 points, in which position and value run over a rect of 138 x 128, 6 points from each
// edge.
#include <gmock/gmock.h>

#include <cmath>

#include "ControlSession.h"
#include "NimbrelHost/Drawing/Theme.h"

namespace nimbrel::endtoend {
namespace {

using host::Json;

using Keys = std::vector<std::pair<double, double>>;

double AtX(int x) { return (x - 6) / 138.0; }
double AtY(int y) { return 1 - (y - 6) / 128.0; }

struct ViewCase {
    int mScale;
    bool mRepeats;
    bool mArgb;
};

class RampSession : public ::testing::TestWithParam<ViewCase> {
protected:
    static host::PointerSession::View MakeView() {
        host::PointerSession::View view;
        view.mPixelScale = GetParam().mScale;
        view.mRepeatsClicks = GetParam().mRepeats;
        view.mPrefersArgb = GetParam().mArgb;
        return view;
    }

    void SetKeys(const Keys& keys, int interpolation = 1, int type = 0) {
        Json pairs = Json::array();
        for (const auto& [t, value] : keys) pairs.push_back({t, value});
        mUser.Set({{"type", type}, {"interpolation", interpolation}, {"keys", pairs}});
    }

    void ExpectKeys(const Keys& expected) {
        const Json keys = mUser.Get()["keys"];
        ASSERT_EQ(keys.size(), expected.size()) << keys.dump();
        for (std::size_t i = 0; i < keys.size(); ++i) {
            EXPECT_NEAR(keys[i][0].get<double>(), expected[i].first, 2e-6) << keys.dump();
            EXPECT_NEAR(keys[i][1].get<double>(), expected[i].second, 2e-6) << keys.dump();
        }
    }

    /// Index of the key that stands out, -1 for none.
    int GetLitKey() {
        const host::Drawing drawing = mUser.Draw();
        // Behind the background and the curve come the keys.
        const auto fills = drawing.Get<host::FillCall>();
        const double lit = (host::FindAppColor(PF_App_Color_FRAME).value() >> 16) / 255.0;
        int found = -1;
        for (std::size_t i = 2; i < fills.size(); ++i) {
            if (std::abs(static_cast<double>(fills[i]->mColor.r) - lit) < 1e-4) found = static_cast<int>(i) - 2;
        }
        return found;
    }

    ControlSession mUser{kRamp, MakeView()};
};

TEST_P(RampSession, KeysLightUpUnderThePointer) {
    SetKeys({{0, 1}, {0.5, 0.5}, {1, 0}});
    EXPECT_EQ(Report(mUser.Hover(-3, 20)), "");
    EXPECT_EQ(Report(mUser.Hover(40, 100)), "h");
    EXPECT_EQ(GetLitKey(), -1);
    // Keys are hit at less than 8 points along each axis; the middle one is at (75, 70).
    for (const auto& [x, y, isHit] : {std::tuple{68, 63, true},
                                      {82, 77, true},
                                      {66, 70, false},
                                      {84, 70, false},
                                      {75, 61, false},
                                      {75, 79, false}}) {
        mUser.Hover(40, 100);
        EXPECT_EQ(Report(mUser.Hover(x, y)), isHit ? "hr" : "h") << x << ", " << y;
        EXPECT_EQ(GetLitKey(), isHit ? 1 : -1) << x << ", " << y;
    }
    mUser.Hover(75, 70);
    EXPECT_EQ(Report(mUser.Hover(74, 71)), "h") << "still the same one";
    EXPECT_EQ(Report(mUser.Hover(143, 133)), "hr");
    EXPECT_EQ(GetLitKey(), 2);
    EXPECT_EQ(Report(mUser.Hover(150, 133)), "") << "no word of the pointer's leaving";
    EXPECT_EQ(GetLitKey(), -1) << "drawn unasked, perhaps at another time";
    mUser.Hover(143, 133);
    EXPECT_EQ(Report(mUser.HoverOverOther()), "hr") << "another control has the pointer";
    EXPECT_EQ(GetLitKey(), -1);
}

TEST_P(RampSession, DragsMoveAKeyAndKeepItsDistanceToThePointer) {
    EXPECT_EQ(Report(mUser.Press(8, 9)), "hCr");
    EXPECT_EQ(Report(mUser.DragTo(58, 60)), "hcr");
    ExpectKeys({{AtX(56), AtY(57)}, {1, 0}});
    EXPECT_EQ(Report(mUser.Release()), "hcr");
    ExpectKeys({{AtX(56), AtY(57)}, {1, 0}});
    EXPECT_EQ(Report(mUser.DragTo(100, 100)), "") << "the button is up";
    EXPECT_EQ(mUser.mStudio.mHost->GetUndo().ListSteps().size(), 1U) << "the drag is one step";
    EXPECT_TRUE(mUser.mStudio.mHost->Undo());
    ExpectKeys({{0, 1}, {1, 0}});
}

TEST_P(RampSession, DragsPassNeighboursAndStopAtTheEdges) {
    SetKeys({{0, 1}, {0.5, 0.5}, {1, 0}});
    mUser.Press(6, 6);
    mUser.DragTo(100, 38);
    ExpectKeys({{0.5, 0.5}, {AtX(100), AtY(38)}, {1, 0}});
    EXPECT_EQ(GetLitKey(), 1) << "the dragged key stays lit in its new place";
    mUser.DragTo(400, -200);
    ExpectKeys({{0.5, 0.5}, {0.999, 1}, {1, 0}});
    mUser.DragTo(75, 38);
    ExpectKeys({{0.499, 0.75}, {0.5, 0.5}, {1, 0}});
}

TEST_P(RampSession, DragsOntoAnOccupiedPositionStepTowardsTheMiddle) {
    for (const auto& [from, to, position] :
         {std::tuple{75, 6, 0.001}, {75, 144, 0.999}, {75, -90, 0.001}, {75, 290, 0.999}}) {
        SetKeys({{0, 1}, {0.5, 0.5}, {1, 0}});
        mUser.Press(from, 70);
        mUser.DragTo(to, 102);
        mUser.Release();
        ExpectKeys({{0, 1}, {position, 0.25}, {1, 0}});
    }
}

TEST_P(RampSession, DoubleClicksAddAndRemoveKeys) {
    EXPECT_EQ(Report(mUser.Click(75, 38)), "h") << "a single click off the keys does nothing";
    EXPECT_EQ(Report(mUser.DoubleClick(75, 38)), "hcr");
    ExpectKeys({{0, 1}, {0.5, 0.75}, {1, 0}});
    EXPECT_EQ(GetLitKey(), 1);
    mUser.DoubleClick(110, 118);
    ExpectKeys({{0, 1}, {0.5, 0.75}, {AtX(110), AtY(118)}, {1, 0}});
    mUser.DoubleClick(2, 137);  // the margin means the edge
    ExpectKeys({{0, 1}, {0.001, 0}, {0.5, 0.75}, {AtX(110), AtY(118)}, {1, 0}});
    mUser.DoubleClick(75, 38);
    mUser.DoubleClick(110, 118);
    mUser.DoubleClick(6, 6);
    mUser.DoubleClick(6, 134);
    mUser.DoubleClick(144, 134);
    ExpectKeys({});
    const host::Drawing drawing = mUser.Draw();
    const auto& line = drawing.Get<host::StrokeCall>().at(0)->mPath.mSteps;
    EXPECT_THAT(line, ::testing::SizeIs(2)) << "without keys the curve lies at 1";
    EXPECT_EQ(line[0].mPoints[0].y, line[1].mPoints[0].y);
}

TEST_P(RampSession, CommandClicksGoThroughTheInterpolations) {
    for (const auto& [type, start, expected] :
         {std::tuple{0, 0, std::vector{3, 1, 2, 0}}, {1, 0, std::vector{1, 2, 1, 2}}}) {
        SetKeys({{0, 1}, {1, 0}}, start, type);
        for (const int interpolation : expected) {
            EXPECT_EQ(Report(mUser.Click(6, 6, PF_Mod_CMD_CTRL_KEY)), "hcr");
            EXPECT_EQ(mUser.Get()["interpolation"], interpolation);
        }
        ExpectKeys({{0, 1}, {1, 0}});
    }
}

TEST_P(RampSession, ClicksOutsideAreNotItsOwn) {
    for (const auto& [x, y] : {std::pair{-1, 70}, {150, 70}, {75, -1}, {75, 140}}) {
        EXPECT_EQ(Report(mUser.Press(x, y)), "") << x << ", " << y;
        EXPECT_EQ(Report(mUser.DragTo(75, 70)), "");
    }
    ExpectKeys({{0, 1}, {1, 0}});
}

TEST_P(RampSession, EditsComeBackFromAScene) {
    mUser.Press(75, 38, 0, 2);
    mUser.Click(75, 38, PF_Mod_CMD_CTRL_KEY);
    const Json edited = mUser.Get();
    EXPECT_EQ(edited["interpolation"], 3);
    const Json saved = mUser.mStudio.Save();
    EXPECT_EQ(saved["parameters"], (Json{{kRamp, edited}}));
    SetKeys({{0, 0}, {1, 0}});
    mUser.Set(saved["parameters"][kRamp]);
    EXPECT_EQ(mUser.Get(), edited);
}

// Between its keyframes a ramp goes from the one to the other key by key.
TEST_P(RampSession, EditsAtALaterTimeSetAKeyframe) {
    const auto ramp = [](const Json& keys) { return Json{{"type", 0}, {"interpolation", 1}, {"keys", keys}}; };
    host::Host& host = *mUser.mStudio.mHost;
    mUser.Set({{"keyframes", {{0.0, ramp({{0.0, 1.0}, {1.0, 0.0}})}, {2.0, ramp({{0.0, 1.0}, {1.0, 0.0}})}}}});
    host::EffectWindow later(host, 24);
    host::PointerSession pointer(later, mUser.mControl);
    EXPECT_THAT(pointer.Press(6, 6).mChanged, ::testing::IsEmpty());
    pointer.DragTo(75, 70);
    pointer.Release();
    ASSERT_EQ(mUser.mControl.mValue.mKeys.size(), 3U);
    for (const auto& [seconds, t, value] :
         {std::tuple{0.0, 0.0, 1.0}, {0.5, 0.25, 0.75}, {1.0, 0.5, 0.5}, {1.5, 0.25, 0.75}}) {
        const PF_Handle between = host::EvaluateCustom(host, mUser.mControl, seconds);
        const Json keys = Json::parse(host::PrintCustom(host, mUser.mControl, between))["keys"];
        host::DisposeCustom(host, mUser.mControl, between);
        EXPECT_NEAR(keys[0][0].get<double>(), t, 1e-6) << seconds;
        EXPECT_NEAR(keys[0][1].get<double>(), value, 1e-6) << seconds;
    }
}

INSTANTIATE_TEST_SUITE_P(Views, RampSession,
                         ::testing::Values(ViewCase{1, false, false}, ViewCase{2, false, true},
                                           ViewCase{1, true, false}),
                         [](const auto& test) {
                             return "Scale" + std::to_string(test.param.mScale) +
                                    (test.param.mRepeats ? "Repeated" : "");
                         });

}  // namespace
}  // namespace nimbrel::endtoend
