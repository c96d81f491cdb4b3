#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "FakeDrawbot.h"
#include "PluginBase/AE/GraphicsAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace {

using testing::ElementsAre;
using zeb::ui::Color;
using zeb::ui::GraphicsAE;
using zeb::ui::StandardColor;

class GraphicsOfTheHost : public testing::Test {
protected:
    GraphicsOfTheHost() : mScope(&mHost.mInData, &mHost.mOutData, nullptr) {}
    void TearDown() override {
        EXPECT_EQ(mDrawbot.mAlive, 0);
        EXPECT_EQ(mHost.mHeldSuites, 0);
    }

    test::FakeHost mHost;
    test::FakeDrawbot mDrawbot{mHost};
    zeb::ThreadContextScope mScope;
    PF_EventExtra mExtra{};
};

TEST_F(GraphicsOfTheHost, DrawsByPaths) {
    GraphicsAE graphics(mExtra);
    const auto brush = graphics.MakeBrush({0.25F, 0.5F, 0.75F, 1.0F});
    const auto pen = graphics.MakePen({1.0F, 0.0F, 0.5F, 0.25F}, 2.5F);
    const auto take = [this] { return std::exchange(mDrawbot.mCalls, {}); };
    EXPECT_THAT(take(), ElementsAre("NewBrush 0.25 0.5 0.75 1", "NewPen 1 0 0.5 0.25 of 2.5"));
    graphics.DrawLine(*pen, {1, 2}, {3, 4});
    EXPECT_THAT(take(), ElementsAre("MoveTo 1 2", "LineTo 3 4", "StrokePath "));
    graphics.DrawLineStrip(*pen, {{1, 2}, {3, 4}, {5, 6}});
    EXPECT_THAT(take(), ElementsAre("MoveTo 1 2", "LineTo 3 4", "LineTo 5 6", "StrokePath "));
    graphics.DrawLineStrip(*pen, {{1, 2}});
    graphics.DrawLineStrip(*pen, {});
    EXPECT_THAT(take(), ElementsAre());
    graphics.FillRect({1, 2, 3, 4}, *brush);
    graphics.DrawRect({5, 6, 7, 8}, *pen);
    EXPECT_THAT(take(), ElementsAre("AddRect 1 2 3 4", "FillPath 0", "AddRect 5 6 7 8", "StrokePath "));
    const auto polygon = graphics.MakePolygon();
    for (const float v : {1.0F, 2.0F, 3.0F}) polygon->AddPoint({v, -v});
    polygon->Close();
    graphics.FillPolygon(*polygon, *brush);
    graphics.DrawPolygon(*polygon, *pen);
    EXPECT_THAT(take(),
                ElementsAre("MoveTo 1 -1", "LineTo 2 -2", "LineTo 3 -3", "Close ", "FillPath 0", "StrokePath "));
    EXPECT_EQ(mDrawbot.mAlive, 3);
}

TEST_F(GraphicsOfTheHost, StandardColoursComeFromTheApplication) {
    GraphicsAE graphics(mExtra);
    const int expected[] = {999, 0, 5, 5, 26, 2, 2, 2};
    for (int number = 0; number < 8; ++number) {
        const Color color = graphics.GetStandardColor(static_cast<StandardColor>(number));
        EXPECT_EQ(color, (Color{static_cast<float>(expected[number]) / 65535.0F, 32768.0F / 65535.0F, 1.0F, 1.0F}));
    }
    for (const int number : {-1, 8})
        EXPECT_THROW(graphics.GetStandardColor(static_cast<StandardColor>(number)), zeb::Exception);
}

TEST_F(GraphicsOfTheHost, AGradientIsAnImageInTheLayoutThatTheHostPrefers) {
    const std::vector<Color> row = {{1.0F, 0.5F, 0.0F, 0.3F}, {2.0F, -1.0F, 0.25F, 1.0F}};
    struct Case {
        bool mPrefersArgb, mSupportsBgra;
        std::vector<std::uint8_t> mRow;  ///< of 3 pixels; the last colour stands in for the third
    };
    const std::vector<std::uint8_t> argb = {255, 255, 127, 0, 255, 255, 0, 63, 255, 255, 0, 63};
    const std::vector<std::uint8_t> bgra = {0, 127, 255, 255, 63, 0, 255, 255, 63, 0, 255, 255};
    for (const Case& c : {Case{true, true, argb}, Case{false, true, bgra}, Case{false, false, argb}}) {
        mDrawbot.mPrefersArgb = c.mPrefersArgb;
        mDrawbot.mSupportsBgra = c.mSupportsBgra;
        GraphicsAE graphics(mExtra);
        graphics.FillGradientRect({5.5F, 6.5F, 3.9F, 2.9F}, row);
        std::vector<std::uint8_t> rows = c.mRow;
        rows.insert(rows.end(), c.mRow.begin(), c.mRow.end());
        EXPECT_EQ(mDrawbot.mImage, rows);
        EXPECT_THAT(std::exchange(mDrawbot.mCalls, {}),
                    ElementsAre(c.mRow == argb ? "NewImageFromBuffer 3 x 2, 12, layout 4"
                                               : "NewImageFromBuffer 3 x 2, 12, layout 6",
                                "DrawImage 5.5 6.5 at 1"));
        for (const zeb::ui::Rect& nothing : {zeb::ui::Rect{0, 0, 0.9F, 5}, {0, 0, 5, 0.9F}, {0, 0, -4, -4}})
            graphics.FillGradientRect(nothing, row);
        graphics.FillGradientRect({0, 0, 5, 5}, {});
        EXPECT_TRUE(mDrawbot.mCalls.empty());
    }
}

/// An operation that needs a host function, and what is told when that fails.
struct Failure {
    const char* mFunction;
    std::function<void(GraphicsAE&)> mDraw;
    const char* mText;
};

TEST_F(GraphicsOfTheHost, FailuresNameTheCall) {
    const auto brush = [](GraphicsAE& g) { g.MakeBrush({}); };
    const auto rect = [](GraphicsAE& g) { g.FillRect({0, 0, 1, 1}, *g.MakeBrush({})); };
    const auto line = [](GraphicsAE& g) { g.DrawLine(*g.MakePen({}, 1), {}, {}); };
    const auto strip = [](GraphicsAE& g) { g.DrawLineStrip(*g.MakePen({}, 1), {{}, {}}); };
    const auto polygon = [](GraphicsAE& g) {
        const auto made = g.MakePolygon();
        made->AddPoint({});
        made->AddPoint({});
        made->Close();
    };
    const auto image = [](GraphicsAE& g) { g.FillGradientRect({0, 0, 2, 2}, {Color{}}); };
    const Failure failures[] = {
        {"PF_AppGetBgColor", [](GraphicsAE& g) { g.GetStandardColor(StandardColor::Background); },
         "Failed to call (*mAppSuite->PF_AppGetBgColor)(&cl)"},
        {"PF_AppGetColor", [](GraphicsAE& g) { g.GetStandardColor(StandardColor::Text); },
         "Failed to call (*mAppSuite->PF_AppGetColor)(appColorType, &cl)"},
        {"NewBrush", brush, "Failed to call mSuites.supplier_suiteP->NewBrush(mSupplier, &drawbotColor, &brush)"},
        {"NewPen", line, "Failed to call mSuites.supplier_suiteP->NewPen( mSupplier, &drawbotColor, thickness, &pen)"},
        {"NewPath", polygon, "Failed to call mSuites.supplier_suiteP->NewPath(mSupplier, &path)"},
        {"MoveTo", line, "Failed to call mSuites.path_suiteP->MoveTo(path, p1.mX, p1.mY)"},
        {"MoveTo", strip, "Failed to call mSuites.path_suiteP->MoveTo(path, it->mX, it->mY)"},
        {"AddRect", rect, "Failed to call mSuites.path_suiteP->AddRect(path, &drawbotRect)"},
        {"AddRect", [](GraphicsAE& g) { g.DrawRect({}, *g.MakePen({}, 1)); },
         "Failed to call mSuites.path_suiteP->AddRect(path, &drawbotRect)"},
        {"FillPath", rect,
         "Failed to call mSuites.surface_suiteP->FillPath( mSurface, drawbotBrush, drawbotPath, "
         "kDRAWBOT_FillType_EvenOdd)"},
        {"StrokePath", line, "Failed to call mSuites.surface_suiteP->StrokePath(mSurface, drawbotPen, drawbotPath)"},
        {"LineTo", polygon, "Failed to call mSuites.path_suiteP->LineTo(mPath, p.x, p.y)"},
        {"Close", polygon, "Failed to call mSuites.path_suiteP->Close(mPath)"},
        {"PrefersPixelLayoutARGB", image, "Failed to draw an UI image."},
        {"NewImageFromBuffer", image, "Failed to draw an UI image."},
        {"DrawImage", image, "Failed to draw an UI image."},
        {"SupportsPixelLayoutBGRA", brush,
         "Failed to call mSuites.supplier_suiteP->SupportsPixelLayoutBGRA( mSupplier, &supportsPixelLayoutBGRA)"},
        {"PF_GetDrawingReference", brush, "PF_GetDrawingReference"},
        {"GetSupplier", brush, "Failed to call mSuites.drawbot_suiteP->GetSupplier(drawRef, &mSupplier)"},
        {"GetSurface", brush, "Failed to call mSuites.drawbot_suiteP->GetSurface(drawRef, &mSurface)"},
    };
    for (const Failure& failure : failures) {
        mDrawbot.mFailing = failure.mFunction;
        try {
            GraphicsAE graphics(mExtra);
            failure.mDraw(graphics);
            ADD_FAILURE() << failure.mFunction;
        } catch (const zeb::Exception& exception) {
            EXPECT_EQ(exception.code, 4);
            EXPECT_THAT(exception.what(), testing::HasSubstr(failure.mText));
        }
        EXPECT_EQ(mDrawbot.mAlive, 0) << failure.mFunction;
        EXPECT_EQ(mHost.mHeldSuites, 0) << failure.mFunction;
    }
}

TEST_F(GraphicsOfTheHost, WithoutASuiteOrAPlaceToDraw) {
    mDrawbot.mGivesReference = false;
    EXPECT_THROW(GraphicsAE{mExtra}, zeb::Exception);
    const auto suites = mHost.mSuites;
    for (const auto& [suite, table] : suites) {
        if (suite.first == kPFHandleSuite || suite.first == kAEGPUtilitySuite) continue;
        mHost.mSuites.erase(suite);
        try {
            GraphicsAE graphics(mExtra);
            ADD_FAILURE() << suite.first;
        } catch (const zeb::Exception& exception) {
            EXPECT_THAT(exception.what(), testing::HasSubstr(suite.first));
        }
        EXPECT_EQ(mHost.mHeldSuites, 0) << suite.first;
        mHost.mSuites = suites;
    }
}

}  // namespace
