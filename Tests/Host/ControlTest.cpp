// Custom controls: what the effect may draw with, the events that it is sent, and what the host makes of its answers.
#include <gmock/gmock.h>

#include "EffectFixture.h"
#include "NimbrelHost/CustomData.h"
#include "NimbrelHost/PointerSession.h"
#include "NimbrelHost/Theme.h"
#include "TestEffect.h"

namespace nimbrel::host {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace test_effect;

/// The test effect's one control, 100 x 40 points.
class ControlTest : public ::testing::Test {
protected:
    ControlTest() { Open({}); }

    void Open(HostOptions options) {
        mWindow.reset();
        mEffect.reset();
        options.mPickColor = [this](const std::string& title, const glm::vec4& color) {
            mPicks.emplace_back(title, color);
            return mAnswer;
        };
        mEffect = std::make_unique<Effect>(Effect::FloatComposition(), std::nullopt, options);
        mWindow = std::make_unique<EffectWindow>(*mEffect->mHost);
    }

    PointerSession Session(const PointerSession::View& view = {}) {
        return {*mWindow, mEffect->mHost->GetParameters().Find("Curve", "test"), view};
    }
    double Value() { return mEffect->Probe(kProbeCurve); }
    std::vector<std::string> Finish() {
        mWindow->Close();
        return mEffect->Finish();
    }

    std::optional<glm::vec4> mAnswer;
    std::vector<std::pair<std::string, glm::vec4>> mPicks;
    std::unique_ptr<Effect> mEffect;
    std::unique_ptr<EffectWindow> mWindow;
};

TEST_F(ControlTest, DrawsWhatIsRecorded) {
    PointerSession session = Session({.mLeft = 10, .mTop = 20});
    for (const bool argb : {false, true}) {
        const Drawing drawing = mWindow->Draw(session.GetPlace(), 2, argb);
        EXPECT_EQ(drawing.mFrame, (DrawingRect{10, 20, 100, 40}));
        ASSERT_EQ(drawing.mCalls.size(), 5U);
        const auto fills = drawing.Get<FillCall>();
        ASSERT_EQ(fills.size(), 2U);
        EXPECT_EQ(fills[0]->mColor, glm::vec4(0, 0.5, 0, 0.5));
        EXPECT_EQ(fills[1]->mPath.mSteps[0].mPoints[1], glm::vec2(25, 40)) << "a quarter of its width";
        const Rgb text = FindAppColor(PF_App_Color_TEXT).value();
        EXPECT_NEAR(static_cast<double>(fills[1]->mColor.r), (text >> 16) / 255.0, 1e-6);
        EXPECT_EQ(drawing.Get<StrokeCall>().at(0)->mWidth, 1);
        EXPECT_EQ(drawing.Get<TextCall>().at(0)->mText, "H\xc3\xa9");
        EXPECT_THAT(drawing.Get<ImageCall>().at(0)->mImage->mPixels, ElementsAre(0xffff0000, 0x80000080));
    }
    EXPECT_EQ(mEffect->mHost->GetCustomUI().GetObjects().Count(), 0U);
    EXPECT_THAT(Finish(), IsEmpty());
}

TEST_F(ControlTest, ReportsWhatTheEffectHoldsWrongly) {
    PointerSession session = Session();
    mEffect->Set("Fault", std::to_string(kLeakPen));
    session.Draw();
    mEffect->Set("Fault", std::to_string(kStalePath));
    EXPECT_EQ(session.Draw().Get<StrokeCall>().size(), 1U);
    EXPECT_THAT(Finish(), ElementsAre("drawing: StrokePath expects an object that is in use",
                                      "the effect left 1 pens, brushes, paths, images or fonts behind"));
}

TEST_F(ControlTest, FollowsThePointer) {
    for (const bool repeats : {false, true}) {
        for (const int scale : {1, 2}) {
            PointerSession session = Session({.mPixelScale = scale, .mRepeatsClicks = repeats});
            EXPECT_FALSE(session.Hover(-1, 5 * scale).mRedraws) << "never inside";
            EventReport report = session.Hover(50 * scale, 5 * scale);
            EXPECT_TRUE(report.mRedraws);
            EXPECT_EQ(report.mCursor, PF_Cursor_FINGER_POINTER);
            EXPECT_EQ(session.Draw().Get<StrokeCall>().at(0)->mWidth, 3);
            EXPECT_FALSE(session.Hover(60 * scale, 5 * scale).mRedraws);
            EXPECT_TRUE(session.Hover(100 * scale, 5 * scale).mRedraws) << "just outside";
            EXPECT_EQ(session.Draw().Get<StrokeCall>().at(0)->mWidth, 1);

            report = session.Press(40 * scale, 20 * scale);
            EXPECT_TRUE(report.mHandled && report.mCaptures && report.mRedraws);
            EXPECT_THAT(report.mChanged, ElementsAre("Curve"));
            EXPECT_NEAR(Value(), 0.4, 1e-6);
            EXPECT_THAT(session.DragTo(75 * scale, 500).mChanged, ElementsAre("Curve"));
            EXPECT_NEAR(Value(), 0.75, 1e-6);
            session.DragTo(-900, 20);
            EXPECT_EQ(Value(), 0);
            session.DragTo(90 * scale, 20);
            session.Release();
            EXPECT_NEAR(Value(), 0.9, 1e-6);
            EXPECT_THAT(session.DragTo(10 * scale, 20).mChanged, IsEmpty()) << "the button is up";
            session.DoubleClick(80 * scale, 20);
            EXPECT_EQ(Value(), 0.25);
        }
    }
    EXPECT_THAT(Finish(), IsEmpty());
}

TEST_F(ControlTest, AsksForColours) {
    PointerSession session = Session();
    EXPECT_THAT(session.Click(10, 10, PF_Mod_CMD_CTRL_KEY).mChanged, IsEmpty()) << "cancelled";
    EXPECT_EQ(Value(), 0.25);
    mAnswer = glm::vec4(0.625, 0, 0, 1);
    EXPECT_THAT(session.Click(10, 10, PF_Mod_CMD_CTRL_KEY).mChanged, ElementsAre("Curve"));
    EXPECT_EQ(Value(), 0.625);
    ASSERT_EQ(mPicks.size(), 2U);
    EXPECT_EQ(mPicks[0].first, "Pick red");
    EXPECT_EQ(mPicks[0].second, glm::vec4(0.25, 0.5, 0.75, 1));
    EXPECT_THAT(Finish(), IsEmpty());
}

TEST_F(ControlTest, SetsAKeyAtTheWindowsTime) {
    mEffect->Set("Curve", R"({"keyframes": [[0, {"v": 0}], [1, {"v": 1}]]})");
    EffectWindow later(*mEffect->mHost, 12);
    PointerSession session(later, mEffect->mHost->GetParameters().Find("Curve", "test"));
    EXPECT_EQ(session.Draw().Get<FillCall>().at(1)->mPath.mSteps[0].mPoints[1].x, 50);
    session.Click(80, 10);
    EXPECT_EQ(mEffect->Probe(kProbeCurve, 0), 0);
    EXPECT_NEAR(mEffect->Probe(kProbeCurve, 6), 0.4, 1e-6);
    EXPECT_NEAR(mEffect->Probe(kProbeCurve, 12), 0.8, 1e-6);
    later.Close();
    EXPECT_THAT(Finish(), IsEmpty());
}

TEST_F(ControlTest, LosesNothingWhenAnEventFails) {
    PointerSession session = Session();
    mEffect->Set("Fault", std::to_string(kFailEvent));
    EXPECT_THROW(session.Click(10, 10), EffectError);
    EXPECT_THROW(session.Draw(), EffectError);
    EXPECT_EQ(mEffect->mHost->GetParameters().Find("Fault", "test").mIsSet, true);
    mEffect->Set("Fault", "0");
    EXPECT_EQ(Value(), 0.25);
    session.Draw();
    EXPECT_THAT(Finish(), IsEmpty());
    EXPECT_THROW(session.Draw(), EffectError) << "the window is closed";
}

TEST_F(ControlTest, LivesAllOfACustomValuesLife) {
    Host& host = *mEffect->mHost;
    const Parameter& curve = host.GetParameters().Find("Curve", "test");
    const std::size_t before = host.GetHandles().CountLive();
    const PF_Handle made = NewCustom(host, curve), scanned = ScanCustom(host, curve, R"({"v":0.75})");
    EXPECT_FALSE(AreCustomEqual(host, curve, made, scanned));
    const std::vector<std::uint8_t> flat = FlattenCustom(host, curve, scanned);
    EXPECT_EQ(flat.size(), 8U);
    PF_Handle restored = UnflattenCustom(host, curve, flat);
    EXPECT_TRUE(AreCustomEqual(host, curve, restored, scanned));
    RestoreCustom(host, curve, restored);
    const PF_Handle between = InterpolateCustom(host, curve, made, restored, 0.5);
    EXPECT_EQ(PrintCustom(host, curve, between), R"({"v":0.5})");
    for (const PF_Handle handle : {made, scanned, restored, between}) DisposeCustom(host, curve, handle);
    EXPECT_THROW(UnflattenCustom(host, curve, {1, 2, 3}), EffectError);
    EXPECT_EQ(host.GetHandles().CountLive(), before);
    EXPECT_THAT(Finish(), IsEmpty());
}

}  // namespace
}  // namespace nimbrel::host
