#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "Panel.h"
#include "PluginBase/UI/GradientInteract.h"
#include "RecordingGraphics.h"

namespace {

using test::DrawCall;
using test::RecordingGraphics;
using test::panel::kGradient;
using zeb::Gradient;

/// Position, colour as three digits of 16 and type of each key.
std::string ToText(const Gradient& gradient) {
    std::string text;
    for (const auto& [position, key] : gradient.keys) {
        const auto digit = [](float component) { return static_cast<int>(std::lround(component * 15.0F)); };
        text += fmt::format("{}{:.3g}:{:x}{:x}{:x}/{}", text.empty() ? "" : " ", position, digit(key.color.x),
                            digit(key.color.y), digit(key.color.z), key.type);
    }
    return text;
}

class GradientControl : public testing::TestWithParam<float> {
protected:
    GradientControl() { mPanel.mContext.mScaleX = mPanel.mContext.mScaleY = GetParam(); }

    void Expect(zeb::InteractBase& interact, const test::Session& session) {
        SCOPED_TRACE(session.mWhat);
        EXPECT_EQ(mPanel.Run(interact, session.mScript), session.mAnswers);
        EXPECT_EQ(ToText(mPanel.GetGradient()), session.mValue);
    }

    test::Panel mPanel;
    zeb::GradientInteract mGradient{{.mIndex = kGradient}};
    /// As where a Color parameter edits what is selected.
    zeb::GradientInteract mSelecting{
        {.mIndex = kGradient, .mColorIndex = test::panel::kColor, .mUsesInteractColorPicker = false}};
};

INSTANTIATE_TEST_SUITE_P(Scales, GradientControl, testing::Values(1.0F, 2.0F));

TEST_P(GradientControl, OtherValuesAndViews) {
    Gradient gradient;
    gradient.keys = {{0.30F, {0}}, {0.36F, {0}}, {0.43F, {0}}, {0.52F, {0}}};
    for (const auto& [x, hit] : {std::pair{0.23F, 2}, {0.30F, 2}, {0.21F, -1}, {0.45F, 2}, {0.59F, 3}}) {
        mPanel.Set(gradient);
        mPanel.Run(mGradient, fmt::format("command {} .5", x));
        int index = 0;
        for (const auto& key : mPanel.GetGradient().keys)
            EXPECT_EQ(key.second.type, index++ == hit) << "of a row of near keys the last is hit, at " << x;
    }
    mPanel.mValues = {};
    mPanel.Run(mGradient, "click 1 .5");
    mPanel.Set(Gradient(0));
    Expect(mGradient, {"a drag ends over another value, as of an undo", "drag .7 .5", "-", "0:fff/0 1:fff/0"});
    gradient.keys.clear();
    mPanel.Set(gradient);
    Expect(mGradient, {"in the margin beside the bar its end is meant", "double 1 .5 5", "hcd", "1:000/1"});
    mPanel.mContext.mYDirection = 1;
    Expect(mGradient,
           {"where y runs up, keys go over the upper edge", "click 1 .5; drag .8 -.02; drag .8 1.02", "hd hc hc", ""});
    mPanel.mContext.mArea = zeb::InteractArea::Title;
    Expect(mGradient, {"a title is no control", "double .5 .5; command; move; leave; drag", "- - - - -", ""});
}

TEST_P(GradientControl, WithoutAPickerAClickSelectsForTheColorParameter) {
    const auto selectedAfter = [this](const char* script) {
        mPanel.Run(mSelecting, script);
        return mPanel.GetGradient().GetSelectedKey();
    };
    EXPECT_EQ(selectedAfter("double .5 .5"), 1);
    EXPECT_EQ(mPanel.mValues.mVec3s.at(test::panel::kColor), glm::vec3(0, 1, 0));
    EXPECT_EQ(selectedAfter("click 0 .5; drag .7 .5"), 1) << "follows the key";
    EXPECT_EQ(selectedAfter("double .85 .5"), 2);
    EXPECT_EQ(selectedAfter("drag .85 -.5"), -1) << "dragged out";
    EXPECT_EQ(ToText(mPanel.GetGradient()), "0.5:0f0/1 0.7:f00/0 1:00f/2");
}

TEST_P(GradientControl, DrawsTheBarItsFrameAndAMarkerForEachKey) {
    const float s = GetParam();
    Gradient gradient = mPanel.GetGradient();
    gradient.SetSelectedKey(1);
    mPanel.Set(gradient);
    RecordingGraphics graphics;
    ASSERT_TRUE(mGradient.Draw(mPanel.mGetter, mPanel.mContext, graphics));
    EXPECT_EQ(graphics.mCalls[0].mRect, (zeb::ui::Rect{20 * s, 30 * s, 112 * s, 112 * s}));
    EXPECT_EQ(graphics.Get(DrawCall::Line).size(), 4U);

    const auto markers = graphics.Get(DrawCall::FillPolygon);
    ASSERT_EQ(markers.size(), 3U);
    std::set<std::size_t> shapes;  // the number of its corners tells a key's type
    for (std::size_t i = 0; i < 3; ++i) {
        const glm::vec3 color = std::next(gradient.keys.begin(), static_cast<int>(i))->second.color;
        EXPECT_EQ(markers[i]->mColor, (zeb::ui::Color{color.x, color.y, color.z, 1.0F}));
        float left = 1e9F, right = -1e9F;
        for (const zeb::ui::Point& point : markers[i]->mPoints) {
            left = std::min(left, point.mX);
            right = std::max(right, point.mX);
            EXPECT_TRUE(point.mY >= 36 * s && point.mY <= 136 * s) << "below the bar a drag would throw the key away";
        }
        EXPECT_NEAR((left + right) / 2, (26 + 50 * static_cast<float>(i)) * s, 1e-4F);
        shapes.insert(markers[i]->mPoints.size());
    }
    EXPECT_EQ(shapes.size(), 3U);
    const auto outlines = graphics.Get(DrawCall::DrawPolygon);
    EXPECT_EQ(std::count_if(outlines.begin(), outlines.end(),
                            [](const DrawCall* call) { return call->mColor == RecordingGraphics::Standard(2); }),
              1)
        << "the selected one";
    gradient.interactInfo = R"({"of": "another program"})";
    mPanel.Set(gradient);
    EXPECT_TRUE(mGradient.Draw(mPanel.mGetter, mPanel.mContext, graphics));
}

}  // namespace
