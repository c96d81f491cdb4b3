#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Panel.h"
#include "PluginBase/UI/RampInteract.h"
#include "RecordingGraphics.h"

namespace {

using test::DrawCall;
using test::RecordingGraphics;
using test::panel::kRamp;
using test::panel::kShowRamp;
using zeb::Ramp;

/// Interpolation, then position and value of each key.
std::string ToText(const Ramp& ramp) {
    std::string text = std::to_string(ramp.interpolation);
    for (const auto& [t, value] : ramp.keys) text += fmt::format(" {:.3g}:{:.3g}", t, value);
    return text;
}

/// At both pixel scales of a view: everything but pixels must be the same.
class RampControl : public testing::TestWithParam<float> {
protected:
    RampControl() { mPanel.mContext.mScaleX = mPanel.mContext.mScaleY = GetParam(); }

    void Expect(const test::Session& session) {
        SCOPED_TRACE(session.mWhat);
        EXPECT_EQ(mPanel.Run(mRamp, session.mScript), session.mAnswers);
        EXPECT_EQ(ToText(mPanel.GetRamp()), session.mValue);
    }
    RecordingGraphics Draw() {
        RecordingGraphics graphics;
        EXPECT_TRUE(mRamp.Draw(mPanel.mGetter, mPanel.mContext, graphics));
        return graphics;
    }

    test::Panel mPanel;
    zeb::RampInteract mRamp{kRamp, kShowRamp};
};

INSTANTIATE_TEST_SUITE_P(Scales, RampControl, testing::Values(1.0F, 2.0F));

TEST_P(RampControl, OtherValuesAndViews) {
    Ramp ramp(1, 0.5F, 0.5F);
    ramp.keys = {{0.40F, 0.5F}, {0.44F, 0.5F}, {0.48F, 0.5F}};
    mPanel.Set(ramp);
    Expect({"of near keys the first is hit, and held where it was taken", "click .44 .53; drag .94 .53", "hcd hc",
            "1 0.44:0.5 0.48:0.5 0.9:0.5"});
    EXPECT_EQ(mPanel.mValues.mCustomTypes[kRamp], "Ramp");
    Expect(
        {"type 1 has linear and step alone", "command; command; command", "hc hc hc", "2 0.44:0.5 0.48:0.5 0.9:0.5"});
    ramp.interpolation = Ramp::kBezier;
    mPanel.Set(ramp);
    Expect({"and comes back to them", "command", "hc", "1 0.4:0.5 0.44:0.5 0.48:0.5"});
    mPanel.mValues = {};
    mPanel.Run(mRamp, "click 1 .5");
    mPanel.Set(Ramp(0, 0.0F, 1.0F));
    Expect({"a drag ends over another value, as of an undo", "drag .1 .1; drag .6 .5", "- -", "0 0:0 1:1"});
    mPanel.mContext.mYDirection = 1;
    Expect({"where y runs up, nothing is flipped", "double .25 .9; click .25 .9; drag .25 .6", "hc hd hc",
            "0 0:0 0.25:0.4 1:1"});
    mPanel.mContext.mArea = zeb::InteractArea::Title;
    Expect({"a title is no control", "double .5 .5; command; move; drag", "- - c -", "0 0:0 0.25:0.4 1:1"});
    mPanel.mContext.mArea = zeb::InteractArea::Control;
    mPanel.mContext.mWidth = 12.0F;
    Expect({"nor is there room in a frame alone", "double 0 .5 -3; command", "- -", "0 0:0 0.25:0.4 1:1"});
}

TEST_P(RampControl, DrawsBackgroundCurveKeysAndFrame) {
    const float s = GetParam();
    mPanel.Run(mRamp, "move .5 .75");
    const RecordingGraphics graphics = Draw();
    const auto& calls = graphics.mCalls;
    using K = DrawCall;
    std::vector<K::Kind> kinds;
    for (const DrawCall& call : calls) kinds.push_back(call.mKind);
    ASSERT_THAT(kinds, testing::ElementsAre(K::FillRect, K::FillPolygon, K::Strip, K::FillRect, K::DrawRect,
                                            K::FillRect, K::DrawRect, K::FillRect, K::DrawRect, K::DrawRect));
    EXPECT_EQ(calls[0].mRect, (zeb::ui::Rect{20 * s, 30 * s, 112 * s, 112 * s}));
    EXPECT_EQ(calls[0].mColor, (zeb::ui::Color{0.0F, 0.5F, 0.25F, 0.7F}));
    const std::vector<zeb::ui::Point> curve = {{26 * s, 111 * s}, {76 * s, 61 * s}, {126 * s, 86 * s}};
    EXPECT_EQ(calls[2].mPoints, curve);
    EXPECT_EQ(calls[2].mColor, RecordingGraphics::Standard(2));
    EXPECT_EQ(calls[2].mThickness, s);
    auto area = curve;
    area.insert(area.end(), {{126 * s, 136 * s}, {26 * s, 136 * s}, curve.front()});
    EXPECT_EQ(calls[1].mPoints, area);
    EXPECT_EQ(calls[1].mColor, RecordingGraphics::Standard(5));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(calls[3 + 2 * i].mRect, (zeb::ui::Rect{curve[i].mX - 5 * s, curve[i].mY - 5 * s, 10 * s, 10 * s}));
        EXPECT_EQ(calls[3 + 2 * i].mColor, RecordingGraphics::Standard(i == 1 ? 1 : 2)) << "the second is lit";
    }
    EXPECT_EQ(calls.back().mRect,
              (zeb::ui::Rect{25.5F * s, 35.5F * s, 101 * s, 101 * s}));  // one unit wide, just outside
    mPanel.Set(Ramp(0, 0.0F, 0.5F));
    EXPECT_EQ(Draw().Get(K::Strip)[0]->mPoints.size(), 51U) << "(100 + 50) / 3 and the last key";
}

TEST(RampInteract, FollowsItsCheckbox) {
    test::Panel panel;
    using zeb::InteractArea;
    const zeb::RampInteract plain(kRamp, kShowRamp);
    panel.mValues.mBools[kShowRamp] = false;
    EXPECT_FALSE(plain.IsEnabled(InteractArea::Control, panel.mGetter));
    EXPECT_FALSE(plain.IsEnabled(InteractArea::Title, panel.mGetter));
    EXPECT_TRUE(plain.IsEnabled(InteractArea::Other, panel.mGetter));
    panel.mValues.mBools[kShowRamp] = true;
    EXPECT_TRUE(plain.IsEnabled(InteractArea::Control, panel.mGetter));
    // Without a Checkbox, and where the host does not know it.
    for (const int show : {-1, static_cast<int>(test::panel::kSkippedShow)})
        EXPECT_TRUE(zeb::RampInteract(kRamp, show).IsEnabled(InteractArea::Control, panel.mGetter));
}

}  // namespace
