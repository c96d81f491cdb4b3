// The wrappers of the host's objects and of its drawing suites, against those of the headless host.
#include <gmock/gmock.h>

#include <functional>

#include "../Parameters/TestSupport.h"
#include "ControlSession.h"
#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Drawing/Theme.h"
#include "NimbrelHost/Support/Errors.h"
#include "PluginBase/AE/AEGPObjects.h"
#include "PluginBase/AE/GraphicsAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace {

using nimbrel::host::Drawing;
using testing::ElementsAre;
using testing::HasSubstr;
using zeb::ui::Color;
using zeb::ui::GraphicsAE;
using zeb::ui::StandardColor;
namespace host = nimbrel::host;

/// This thread is inside a command of the host's. What a test leaves held there is found at its end.
class InHost : public testing::Test {
protected:
    InHost() : InHost({{"composition", {{"width", 64}, {"height", 36}}}}) {}
    explicit InHost(const host::Json& scene) : mStudio(scene, "inhost", {NIMBREL_EFFECT_FILE, "cpu", {}}) {}

    host::Host& GetHost() { return *mStudio.mHost; }
    /// What a call throws; its code is what the host answered to the function that was made to fail.
    std::string GetFailure(const std::function<void()>& call, const char* function = "", std::int32_t code = 512) {
        if (*function != '\0') GetHost().GetFaults().Arm({1, code, "", function});
        std::string text;
        try {
            call();
        } catch (const zeb::Exception& exception) {
            EXPECT_EQ(exception.code, code);
            text = exception.what();
        }
        GetHost().GetFaults().Disarm();
        return text;
    }

    nimbrel::endtoend::Studio mStudio;
    host::Command mCommand{*mStudio.mHost, PF_Cmd_USER_CHANGED_PARAM};
    zeb::ThreadContextScope mScope{&mCommand.In(), &mCommand.Out(), nullptr};
};

TEST_F(InHost, PropertiesChangeOnlyWhatDiffers) {
    const test::TextManager manager(test::Catalogue({test::Entry("GroupBegin", 1), test::Entry("Checkbox", 2)}));
    const zeb::ParameterDescription& description = manager.GetTable()[1];
    PF_ParamDef def{};
    PF_ParamDef* const params[] = {nullptr, nullptr, &def};
    zeb::ParameterPropertiesAE properties(manager, const_cast<PF_ParamDef**>(params));
    const host::Parameter& parameter = mStudio.Get("Model1_showModel");
    ASSERT_EQ(parameter.mIndex, description.mParameterIndex);
    properties.SetVisible(description, true);
    properties.SetName(description, "1 Show Model");
    properties.DoEnable(description, true);
    EXPECT_FALSE(properties.IsChanged());

    properties.SetVisible(description, false);
    EXPECT_TRUE(properties.IsChanged());
    EXPECT_FALSE(properties.IsVisible(description));
    EXPECT_TRUE(parameter.mIsHidden);
    properties.SetName(description, "N\xC3\xBAmero");
    EXPECT_EQ(parameter.mName, "N\xC3\xBAmero");
    EXPECT_EQ(properties.GetName(description), "N\xC3\xBAmero");
    properties.DoEnable(description, false);
    EXPECT_NE(parameter.mDefinition.ui_flags & PF_PUI_DISABLED, 0);
    EXPECT_EQ(def.ui_flags, 0) << "the record stays as it came";
    EXPECT_THAT(GetFailure([&] { properties.DoEnable(description, false); }, "PF_UpdateParamUI", 515),
                HasSubstr("\"Failed to call AEGPSuites().ParamUtilsSuite3()->PF_UpdateParamUI( "
                          "InData()->effect_ref, parameterIndex, &def)\""));
}

TEST_F(InHost, WhatIsNotThereIsMissedWhereItMustBe) {
    const zeb::AEGP::Effect effect = zeb::AEGP::Suites().GetEffect();
    EXPECT_FALSE(effect.FindEffectCamera({0, 1}));
    EXPECT_THAT(GetFailure([&] { effect.GetEffectCamera({0, 1}); }), HasSubstr("\"Failed to find the camera layer.\""));
    const zeb::AEGP::Layer null(
        reinterpret_cast<AEGP_LayerH>(static_cast<void*>(GetHost().GetProject().AddNull("null"))));
    GetHost().GetProject().FindLayerByName("null")->mSource = nullptr;
    EXPECT_THAT(GetFailure([&] { null.GetLayerSourceItem(true); }),
                HasSubstr("\"Failed to get the layer source item.\""));
}

TEST(ColorPicker, ThatFailsIsTold) {
    nimbrel::endtoend::ControlSession user(nimbrel::endtoend::kGradient, {});
    user.mStudio.mHost->GetFaults().Arm({1, 4, kPFAppSuite, "PF_AppColorPickerDialog"});
    try {
        user.Press(6, 20, 0, 2);  // on the first key
        ADD_FAILURE();
    } catch (const host::EffectError& error) {
        EXPECT_EQ(error.GetCode(), 4);
        EXPECT_THAT(error.what(), HasSubstr("\"Failed to show a color picker dialog.\""));
    }
}

/// In a draw event of a window.
class Graphics : public InHost {
protected:
    Graphics() {
        mExtra.contextH = GetHost().GetCustomUI().OpenContext();
        Begin(true);
    }
    ~Graphics() override {
        GetHost().GetCustomUI().EndDrawing();
        GetHost().GetCustomUI().CloseContext(mExtra.contextH);
    }

    void Begin(bool prefersArgb) {
        GetHost().GetCustomUI().BeginDrawing(
            mExtra.contextH,
            std::make_unique<host::DrawingSurface>(host::DrawingRect{0, 0, 100, 100}, 1.0F, prefersArgb));
    }

    PF_EventExtra mExtra{};
};

TEST_F(Graphics, StandardColoursComeFromTheApplication) {
    GraphicsAE graphics(mExtra);
    const int expected[] = {PF_App_Color_NONE, 0, 5, 5, 26, 2, 2, 2};
    for (int number = 1; number < 8; ++number) {
        const host::Rgb rgb = host::FindAppColor(expected[number]).value();
        const Color color = graphics.GetStandardColor(static_cast<StandardColor>(number));
        EXPECT_NEAR(color.mRed, static_cast<float>(rgb >> 16) / 255.0F, 1e-6F) << number;
        EXPECT_NEAR(color.mGreen, static_cast<float>(rgb >> 8 & 0xff) / 255.0F, 1e-6F) << number;
        EXPECT_NEAR(color.mBlue, static_cast<float>(rgb & 0xff) / 255.0F, 1e-6F) << number;
        EXPECT_EQ(color.mAlpha, 1.0F);
    }
    const Color ground = graphics.GetStandardColor(StandardColor::Background);
    EXPECT_NEAR(ground.mRed, static_cast<float>(host::theme::kBackground >> 16) / 255.0F, 1e-6F);
    for (const int number : {-1, 8})
        EXPECT_THROW(graphics.GetStandardColor(static_cast<StandardColor>(number)), zeb::Exception);
}

TEST_F(Graphics, DrawsWhatIsMeant) {
    {
        GraphicsAE graphics(mExtra);
        const auto brush = graphics.MakeBrush({0.25F, 0.5F, 0.75F, 1.0F});
        const auto pen = graphics.MakePen({1.0F, 0.0F, 0.5F, 0.25F}, 2.5F);
        graphics.DrawLineStrip(*pen, {{1, 2}, {3, 4}, {5, 6}});
        graphics.DrawLineStrip(*pen, {{1, 2}});
        graphics.DrawLineStrip(*pen, {});
        graphics.FillRect({1, 2, 3, 4}, *brush);
        const auto polygon = graphics.MakePolygon();
        for (const float v : {1.0F, 2.0F, 3.0F}) polygon->AddPoint({v, -v});
        polygon->Close();
        graphics.FillPolygon(*polygon, *brush);
        // Truncated to 3 x 2 pixels; the last colour stands in for the third.
        graphics.FillGradientRect({5.5F, 6.5F, 3.9F, 2.9F}, {{1.0F, 0.5F, 0.0F, 0.3F}, {2.0F, -1.0F, 0.25F, 1.0F}});
        for (const zeb::ui::Rect& nothing : {zeb::ui::Rect{0, 0, 0.9F, 5}, {0, 0, 5, 0.9F}, {0, 0, -4, -4}})
            graphics.FillGradientRect(nothing, {Color{}});
        graphics.FillGradientRect({0, 0, 5, 5}, {});
    }
    EXPECT_EQ(GetHost().GetCustomUI().GetObjects().Count(), 0U);
    const Drawing drawing = GetHost().GetCustomUI().EndDrawing();
    ASSERT_EQ(drawing.mCalls.size(), 4U);
    const host::StrokeCall& strip = *drawing.Get<host::StrokeCall>().at(0);
    EXPECT_EQ(strip.mColor, glm::vec4(1, 0, 0.5, 0.25));
    EXPECT_EQ(strip.mWidth, 2.5F);
    EXPECT_EQ(strip.mPath.mSteps.size(), 3U);
    const host::FillCall& rect = *drawing.Get<host::FillCall>().at(0);
    EXPECT_EQ(rect.mColor, glm::vec4(0.25, 0.5, 0.75, 1));
    EXPECT_FALSE(rect.mWinding);
    EXPECT_EQ(rect.mPath.mSteps.at(0).mPoints[1], glm::vec2(3, 4));
    using Verb = host::DrawingPath::Verb;
    std::vector<Verb> verbs;
    for (const auto& step : drawing.Get<host::FillCall>().at(1)->mPath.mSteps) verbs.push_back(step.mVerb);
    EXPECT_THAT(verbs, ElementsAre(Verb::Move, Verb::Line, Verb::Line, Verb::Close));
    const auto row = [](const host::DrawingImage& image) {
        EXPECT_EQ(image.mWidth, 3);
        return std::vector<std::uint32_t>(image.mPixels.begin(), image.mPixels.begin() + 3);
    };
    EXPECT_THAT(row(*drawing.Get<host::ImageCall>().at(0)->mImage), ElementsAre(0xffff7f00, 0xffff003f, 0xffff003f));
    Begin(false);
}

TEST_F(Graphics, FailuresNameTheCall) {
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
    const std::string supplier = "Failed to call mSuites.supplier_suiteP->";
    const std::string path = "Failed to call mSuites.path_suiteP->";
    const std::string surface = "Failed to call mSuites.surface_suiteP->";
    const struct {
        const char* mFunction;
        std::function<void(GraphicsAE&)> mDraw;
        std::string mText;
    } failures[] = {
        {"PF_AppGetBgColor", [](GraphicsAE& g) { g.GetStandardColor(StandardColor::Background); },
         "Failed to call (*mAppSuite->PF_AppGetBgColor)(&cl)"},
        {"PF_AppGetColor", [](GraphicsAE& g) { g.GetStandardColor(StandardColor::Text); },
         "Failed to call (*mAppSuite->PF_AppGetColor)(appColorType, &cl)"},
        {"NewBrush", brush, supplier + "NewBrush(mSupplier, &drawbotColor, &brush)"},
        {"NewPen", line, supplier + "NewPen( mSupplier, &drawbotColor, thickness, &pen)"},
        {"NewPath", polygon, supplier + "NewPath(mSupplier, &path)"},
        {"MoveTo", line, path + "MoveTo(path, p1.mX, p1.mY)"},
        {"MoveTo", strip, path + "MoveTo(path, it->mX, it->mY)"},
        {"AddRect", rect, path + "AddRect(path, &drawbotRect)"},
        {"AddRect", [](GraphicsAE& g) { g.DrawRect({}, *g.MakePen({}, 1)); }, path + "AddRect(path, &drawbotRect)"},
        {"FillPath", rect, surface + "FillPath( mSurface, drawbotBrush, drawbotPath, kDRAWBOT_FillType_EvenOdd)"},
        {"StrokePath", line, surface + "StrokePath(mSurface, drawbotPen, drawbotPath)"},
        {"LineTo", polygon, path + "LineTo(mPath, p.x, p.y)"},
        {"Close", polygon, path + "Close(mPath)"},
        {"PrefersPixelLayoutARGB", image, "Failed to draw an UI image."},
        {"NewImageFromBuffer", image, "Failed to draw an UI image."},
        {"DrawImage", image, "Failed to draw an UI image."},
        {"SupportsPixelLayoutBGRA", brush, supplier + "SupportsPixelLayoutBGRA( mSupplier, &supportsPixelLayoutBGRA)"},
        {"PF_GetDrawingReference", brush, "PF_GetDrawingReference"},
        {"GetSupplier", brush, "Failed to call mSuites.drawbot_suiteP->GetSupplier(drawRef, &mSupplier)"},
        {"GetSurface", brush, "Failed to call mSuites.drawbot_suiteP->GetSurface(drawRef, &mSurface)"},
    };
    const std::vector<std::size_t> held = mStudio.CountHeld();
    for (const auto& failure : failures) {
        const std::string text = GetFailure(
            [&] {
                GraphicsAE graphics(mExtra);
                failure.mDraw(graphics);
            },
            failure.mFunction, 4);
        EXPECT_THAT(text, HasSubstr(failure.mText)) << failure.mFunction;
        EXPECT_EQ(GetHost().GetCustomUI().GetObjects().Count(), 0U) << failure.mFunction;
        EXPECT_EQ(mStudio.CountHeld(), held) << failure.mFunction;
    }
}

}  // namespace
