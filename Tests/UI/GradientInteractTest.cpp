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

constexpr const char* kSame = "0:f00/0 0.5:0f0/1 1:00f/2";

// The picker answers the colour 84c.
const test::Session kSessions[] = {
    {"a drag keeps the grip's distance and the key's look", "click .5 .1 4; drag; drag .34 .5", "hd h hc",
     "0:f00/0 0.3:0f0/1 1:00f/2"},
    {"to the end, where a key is", "click .5 .5; drag 3 .5", "hd hc", "0:f00/0 0.999:0f0/1 1:00f/2"},
    {"to the other end", "click .5 .5; drag -3 .5", "hd hc", "0:f00/0 0.001:0f0/1 1:00f/2"},
    {"above the control and on the lower edge it stays", "click .5 .5; drag .6 9; drag .3 0", "hd hc hc",
     "0:f00/0 0.3:0f0/1 1:00f/2"},
    {"over a neighbour, through its place", "click 0 .5; drag .3 .5; drag .5 .5; drag .9 .5", "hd hc hc hc",
     "0.5:0f0/1 0.9:f00/0 1:00f/2"},
    {"dragged out it is gone, for good", "click .5 .5; drag .6 -.02; drag .6 .5", "hd hc -", "0:f00/0 1:00f/2"},
    {"a double click adds a key of the colour there and holds it", "double .25 .5; drag .375 .5", "hcd hc",
     "0:f00/0 0.375:880/1 0.5:0f0/1 1:00f/2"},
    {"a double click on a key asks for its colour; no drag behind the dialog", "double .5 .5 7.5; drag .1 .1", "hc -",
     "0:f00/0 0.5:84c/1 1:00f/2"},
    {"the same colour again, as when cancelled, changes nothing", "double .5 .5; double .5 .5", "hc h",
     "0:f00/0 0.5:84c/1 1:00f/2"},
    {"command and a click goes to the next type", "command .5 .5; drag .1 .1; command 0 .5; command 1 .5", "hc - hc hc",
     "0:f00/1 0.5:0f0/2 1:00f/0"},
    {"and does nothing off a key", "command .25 .5", "h", kSame},
    {"clicks off a key, outside, and other events",
     "drag .3 .3; click .25 .5; drag; double .5 0 0 6.5; move .5 .5;"
     "leave; move .5 .5 0 60",
     "- h - - h h -", kSame},
};

class GradientControl : public testing::TestWithParam<float> {
protected:
    GradientControl() { mPanel.mContext.mScaleX = mPanel.mContext.mScaleY = GetParam(); }

    void Expect(zeb::InteractBase& interact, const test::Session& session) {
        SCOPED_TRACE(session.mWhat);
        EXPECT_EQ(mPanel.Run(interact, session.mScript), session.mAnswers);
        EXPECT_EQ(ToText(mPanel.GetGradient()), session.mValue);
    }

    test::Panel mPanel;
    std::vector<std::pair<std::string, glm::vec4>> mAsked;
    zeb::GradientInteract mGradient{
        {.mIndex = kGradient, .mColorPicker = [this](const std::string& title, const glm::vec4& color) {
             mAsked.emplace_back(title, color);
             return glm::vec4(0.5F, 0.25F, 0.8F, 1.0F);
         }}};
    /// As where a Color parameter edits what is selected.
    zeb::GradientInteract mSelecting{
        {.mIndex = kGradient, .mColorIndex = test::panel::kColor, .mUsesInteractColorPicker = false}};
};

INSTANTIATE_TEST_SUITE_P(Scales, GradientControl, testing::Values(1.0F, 2.0F));

TEST_P(GradientControl, Sessions) {
    for (const test::Session& session : kSessions) {
        mPanel.mValues = {};
        Expect(mGradient, session);
    }
    ASSERT_EQ(mAsked.size(), 3U);
    EXPECT_EQ(mAsked[0].first, "Gradient Color");
    EXPECT_EQ(mAsked[0].second, glm::vec4(0.0F, 1.0F, 0.0F, 1.0F));
}

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
    const auto images = graphics.Get(DrawCall::Image);
    ASSERT_EQ(images.size(), 1U);
    EXPECT_EQ(images[0]->mRect, (zeb::ui::Rect{26 * s, 36 * s, 100 * s, 100 * s}));
    const auto columns = static_cast<std::size_t>(100 * s);
    ASSERT_EQ(images[0]->mRow.size(), columns);  // one for each pixel
    for (std::size_t i = 0; i < columns; ++i) {
        const glm::vec3 color = gradient.GetColor((static_cast<float>(i) + 0.5F) / static_cast<float>(columns));
        EXPECT_EQ(images[0]->mRow[i], (zeb::ui::Color{color.x, color.y, color.z, 1.0F}));
    }
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
