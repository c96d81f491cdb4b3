#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Panel.h"
#include "PluginBase/UI/OverlayComponentsManager.h"
#include "RecordingGraphics.h"

namespace {

using test::DrawCall;
using zeb::InteractResult;
using zeb::MouseDownResult;
using namespace test::panel;

/// The ramp's editor, 140 units high, over the gradient's, of 50; both 300 wide.
class EditorStack : public testing::Test {
protected:
    EditorStack() { mPanel.mContext = {}; }
    MouseDownResult Do(const char* word, float x, float y) {
        mPanel.mContext.mPointerX = x;
        mPanel.mContext.mPointerY = y;
        return mPanel.Do(mStack, word);
    }

    test::Panel mPanel;
    zeb::OverlayComponentsManager mStack{mPanel.mManager.GetTable()};
};

constexpr MouseDownResult kNothing{};
constexpr MouseDownResult kTaken{{true, false}, false};
constexpr MouseDownResult kChanged{{true, true}, false};

TEST_F(EditorStack, ClosesUpOverAnEditorThatIsOff) {
    struct Case {
        bool mRamp, mGradient;
        float mHeight[2];
    };
    for (const Case& c : {Case{true, true, {140, 50}}, {false, true, {0, 50}}, {true, false, {140, 0}}, {}}) {
        mPanel.mValues.mBools = {{kShowRamp, c.mRamp}, {kShowGradient, c.mGradient}};
        const auto contexts = mStack.GetEventContexts(mPanel.mGetter, mPanel.mContext);
        ASSERT_EQ(contexts.size(), 2U);
        for (std::size_t i = 0; i < 2; ++i) {
            EXPECT_EQ(contexts[i].mHeight, c.mHeight[i]);
            EXPECT_EQ(contexts[i].mWidth, 300.0F) << "though the editors ask for 150";
        }
        EXPECT_EQ(contexts[1].mY, c.mHeight[0]);
        test::RecordingGraphics graphics;
        EXPECT_EQ(mStack.Draw(mPanel.mGetter, mPanel.mContext, graphics), c.mRamp || c.mGradient);
        EXPECT_EQ(graphics.Get(DrawCall::Strip).size(), c.mRamp ? 1U : 0U);
        ASSERT_EQ(graphics.Get(DrawCall::Image).size(), c.mGradient ? 1U : 0U);
        if (c.mGradient) {
            EXPECT_EQ(graphics.Get(DrawCall::Image)[0]->mRect, (zeb::ui::Rect{6, c.mHeight[0] + 6, 288, 38}));
        }
    }
    EXPECT_EQ(Do("double", 150, 25), kNothing) << "both are off";
    EXPECT_FALSE(mStack.IsEnabled(zeb::InteractArea::Control, mPanel.mGetter));
}

TEST_F(EditorStack, TheEditorThatTookTheClickGetsTheDrags) {
    EXPECT_EQ(Do("drag", 150, 165), kNothing) << "nobody has taken one";
    EXPECT_EQ(Do("click", 150, 165), (MouseDownResult{{true, false}, true})) << "the gradient's key in the middle";
    EXPECT_EQ(Do("drag", 6 + 0.75F * 288, -500), kChanged) << "far outside, above the ramp";
    EXPECT_NEAR(std::next(mPanel.GetGradient().keys.begin())->first, 0.75F, 1e-6F);
    EXPECT_EQ(mPanel.mValues.mCustoms.count(kRamp), 0U);
    EXPECT_EQ(Do("click", 100, 20), kTaken) << "the ramp's, off its keys";
    EXPECT_EQ(Do("drag", 120, 20), kNothing) << "the capture ended";
    EXPECT_TRUE(Do("click", 150, 6 + 0.25F * 128).mCapture);
    EXPECT_EQ(Do("drag", 150, 6 + 0.5F * 128), kChanged);
    EXPECT_NEAR(mPanel.GetRamp().keys.at(0.5F), 0.5F, 1e-6F);
}

TEST_F(EditorStack, MovesGoToTheEditorUnderThePointer) {
    EXPECT_EQ(Do("move", 150, 6 + 0.25F * 128), kChanged);
    EXPECT_EQ(Do("move", 150, 165), kChanged) << "the ramp's key goes dark, the gradient takes the move";
    EXPECT_EQ(Do("move", 150, 165), kTaken);
    for (const auto& [x, y] : {std::pair{310.0F, 100.0F}, {100.0F, 190.5F}, {-1.0F, 5.0F}}) {
        EXPECT_EQ(Do("double", x, y), kNothing) << "beside the editors";
        EXPECT_EQ(Do("move", x, y), kNothing);
    }
    EXPECT_TRUE(mPanel.mValues.mCustoms.empty());
    EXPECT_THAT(mStack.GetParameterIndices(), testing::ElementsAre(kRamp, kShowRamp, kGradient, kColor, kShowGradient));
}

TEST(InteractsManager, AlonePassesItsContextOn) {
    test::Panel panel;
    zeb::InteractsManager manager;
    for (const std::int32_t index : {kRamp, kGradient})
        manager.Add(panel.mManager.GetTable()[static_cast<std::size_t>(index)].mInteractInfo->mMakeInteract(index));
    EXPECT_EQ(manager.GetDrawContexts(panel.mGetter, panel.mContext)[1].mHeight, 112.0F);
    panel.mValues.mBools[kShowRamp] = false;
    EXPECT_EQ(panel.Run(manager, "click .5 .5; drag .5 -9"), "hd hc") << "the first is off, so the gradient takes it";
    EXPECT_EQ(panel.GetGradient().keys.size(), 2U);
}

}  // namespace
