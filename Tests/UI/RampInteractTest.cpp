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

constexpr const char* kSame = "1 0:0.25 0.5:0.75 1:0.5";

const test::Session kSessions[] = {
    {"the key within 8 units is lit, until the pointer is off it, outside, or gone",
     "move .5 .75 7.5 -7.5; move .5 .75 -7.5 7.5; move .5 .75 8.5; move .5 .75 0 8.5; move 0 .25 -5.5; move 0 .25 -6.5;"
     "move 1 .5 5.5; leave; leave",
     "hc h hc h hc c hc hc -", kSame},
    {"clicks off a key, outside, and a drag of nothing", "drag .5 .5; click .25 .9; drag; double 0 .25 -6.5", "- h - -",
     kSame},
    {"a drag keeps the grip's distance", "click .5 .75 -2; drag .58 .25; drag .48 .5", "hcd hc hc",
     "1 0:0.25 0.5:0.5 1:0.5"},
    {"a drag stops at the upper edge", "click .5 .75; drag .6 1.3", "hcd hc", "1 0:0.25 0.6:1 1:0.5"},
    {"a drag out of the control stops at its corner, beside the key there", "click .5 .75; drag -40 -40", "hcd hc",
     "1 0:0.25 0.001:0 1:0.5"},
    {"the same on the other side", "click .5 .75; drag 40 40", "hcd hc", "1 0:0.25 0.999:1 1:0.5"},
    {"and back", "click .5 .75; drag 40 40; drag .5 .75", "hcd hc hc", kSame},
    {"over a neighbour, through its place", "click 0 .25; drag .3 .1; drag .5 .1; drag .7 .1; drag .7 .2; move .7 .2",
     "hcd hc hc hc hc h", "1 0.5:0.75 0.7:0.2 1:0.5"},
    {"the next click ends a drag", "click .5 .75; click .25 .9; drag .3 .3", "hcd h -", kSame},
    {"a double click adds a key and lights it, but holds it not", "double .25 .9; move .25 .9; drag .3 .3", "hc h -",
     "1 0:0.25 0.25:0.9 0.5:0.75 1:0.5"},
    {"in the margin the edge is meant, where a key is already", "double 0 0 -3 5", "hc",
     "1 0:0.25 0.001:0 0.5:0.75 1:0.5"},
    {"a double click removes a key", "double .5 .75; drag .3 .3", "hc -", "1 0:0.25 1:0.5"},
    {"every key can go", "double .5 .75; double 0 .25; double 1 .5; double .4 .6", "hc hc hc hc", "1 0.4:0.6"},
    {"command and a click goes from linear to step", "command .5 .75; drag .1 .1", "hc -", "2 0:0.25 0.5:0.75 1:0.5"},
    {"from step to cosine", "command .1 .1; command", "hc hc", "0 0:0.25 0.5:0.75 1:0.5"},
    {"from cosine to bezier", "command .1 .1; command; command", "hc hc hc", "3 0:0.25 0.5:0.75 1:0.5"},
    {"from bezier to linear", "command .1 .1; command; command; command", "hc hc hc hc", kSame},
};

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

TEST_P(RampControl, Sessions) {
    for (const test::Session& session : kSessions) {
        mPanel.mValues = {};
        mRamp = zeb::RampInteract(kRamp, kShowRamp);
        mPanel.MoveTo(-9.0F, 0.0F);
        Expect(session);
    }
}

TEST_P(RampControl, OtherValuesAndViews) {
    Ramp ramp(1, 0.5F, 0.5F);
    ramp.keys = {{0.40F, 0.5F}, {0.44F, 0.5F}, {0.48F, 0.5F}};
    mPanel.Set(ramp);
    Expect({"of near keys the first is hit", "click .44 .5; drag .94 .5", "hcd hc", "1 0.44:0.5 0.48:0.5 0.9:0.5"});
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

TEST_P(RampControl, TheCurveAsDrawnIsTheCurveAsEvaluated) {
    const float s = GetParam();
    const std::map<float, float> shapes[] = {{{0.0F, 0.1F}, {0.3F, 0.9F}, {0.55F, 0.3F}, {1.0F, 1.0F}},
                                             {{0.2F, 0.4F}, {0.21F, 0.9F}, {0.7F, 0.0F}},
                                             {{0.5F, 0.3F}},
                                             {},
                                             {{-0.5F, 0.2F}, {0.5F, 0.8F}, {1.5F, 0.1F}},
                                             {{-3e38F, 0.2F}, {3e38F, 0.8F}}};
    for (int i = 0; i < 24; ++i) {
        Ramp ramp;
        ramp.interpolation = i % 4;
        ramp.keys = shapes[i / 4];
        mPanel.Set(ramp);
        const RecordingGraphics graphics = Draw();
        const auto& points = graphics.Get(DrawCall::Strip)[0]->mPoints;
        ASSERT_TRUE(points.size() >= 2 && points.size() < 200) << points.size();
        std::size_t at = 0;
        for (int sample = 0; sample < 200; ++sample) {
            const float t = (static_cast<float>(sample) + 0.5F) / 200.0F;
            const float x = (26.0F + 100.0F * t) * s;
            while (at + 2 < points.size() && points[at + 1].mX <= x) ++at;
            const zeb::ui::Point a = points[at];
            const zeb::ui::Point b = points[at + 1];
            ASSERT_TRUE(a.mX <= x + 0.1F * s && x <= b.mX + 0.1F * s);
            const float y = a.mY + (b.mY - a.mY) * std::min(1.0F, (x - a.mX) / std::max(b.mX - a.mX, 1e-6F));
            // A unit and a half where the curve is steepest between two of its points.
            EXPECT_NEAR(y / s, 36.0F + 100.0F * (1.0F - ramp.Evaluate(t)), 1.5F) << ramp.ToJSON() << " at " << t;
        }
    }
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
