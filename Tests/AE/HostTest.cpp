// The wrappers of the host's objects and of its drawing suites, against those of the headless host.
#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>

#include "../Parameters/TestSupport.h"
#include "AE/Parameters/ParameterConversionAE.h"
#include "ControlSession.h"
#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Support/Errors.h"
#include "PluginBase/AE/AEGPObjects.h"
#include "PluginBase/AE/CommandDispatch.h"
#include "PluginBase/AE/GraphicsAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/TextAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace {

using nimbrel::host::Drawing;
using testing::ElementsAre;
using testing::HasSubstr;
using zeb::ui::Color;
using zeb::ui::GraphicsAE;
namespace host = nimbrel::host;
using Made = zeb::UniquePtr<zeb::PluginBaseAE>;

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

TEST_F(InHost, ValuesCrossInLogicUnits) {
    const test::TextManager manager(
        test::Catalogue({test::Entry("FloatSlider", 1, test::kRange + R"(,"flags":["DisplayPercent"])"),
                         test::Entry("Angle", 2), test::Entry("Color", 3), test::Entry("Point3", 4),
                         test::Entry("Point3", 5, R"("absolutePosition":{"value":true})")}));
    const auto& table = manager.GetTable();
    const zeb::ParameterDescription &percent = table[0], &angle = table[1], &color = table[2], &relative = table[3],
                                    &absolute = table[4];
    // A layer of 64 by 36 at half resolution in x and a third in y.
    mCommand.In().downsample_x = {1, 2};
    mCommand.In().downsample_y = {1, 3};
    const auto near = [](const glm::vec3& value, const glm::vec3& expected) {
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(value[i], expected[i], 1e-5F) << i;
    };
    PF_ParamDef def{};
    zeb::SetDoubleInDef(percent, 0.25, def);
    EXPECT_EQ(def.u.fs_d.value, 25.0);
    EXPECT_EQ(zeb::GetDoubleFromDef(percent, def), 0.25);
    zeb::SetDoubleInDef(angle, 3.14159265358979323846 * (1.0 + 0.7 / 65536.0 / 180.0), def);
    EXPECT_EQ(def.u.ad.value, 180 * 65536 + 1) << "rounded";
    EXPECT_NEAR(zeb::GetDoubleFromDef(angle, def), 3.14159265358979323846, 1e-6);
    zeb::SetVec3InDef(color, {-1.0F, 0.999F, 0.2F}, def);
    EXPECT_EQ(def.u.cd.value.green, 254) << "254.7, truncated";
    near(zeb::GetVec3FromDef(color, def), {0.0F, 254.0F / 255.0F, 0.2F});
    zeb::SetRawVec3InDef(relative, {0.25F, 0.5F, 0.5F}, def);
    near({def.u.point3d_d.x_value, def.u.point3d_d.y_value, def.u.point3d_d.z_value}, {8.0F, 6.0F, 9.0F});
    near(zeb::GetVec3FromDef(relative, def), {16.0F, 18.0F, 18.0F});
    near(zeb::GetRawVec3FromDef(relative, def, zeb::DepthUnit::LayerHeight), {0.25F, 0.5F, 0.5F});
    near(zeb::GetRawVec3FromDef(relative, def, zeb::DepthUnit::LayerWidth), {0.25F, 0.5F, 18.0F / 64.0F});
    near(zeb::GetRawVec3FromDef(absolute, def, zeb::DepthUnit::LayerHeight), {16.0F, 18.0F, 18.0F});
    EXPECT_THROW(zeb::SetDoubleInDef(color, 1.0, def), zeb::Exception);
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

TEST_F(InHost, LayersMoveRightBelowAnother) {
    host::Project& project = GetHost().GetProject();
    for (const char* name : {"a", "b", "c"}) project.AddNull(name);
    const auto wrap = [](host::Layer* layer) {
        return zeb::AEGP::Layer(reinterpret_cast<AEGP_LayerH>(static_cast<void*>(layer)));
    };
    for (const char* moved : {"a", "b", "c"}) {
        for (const char* reference : {"b", "c", "a"}) {
            host::Layer *const layer = project.FindLayerByName(moved), *const above =
                                                                           project.FindLayerByName(reference);
            if (layer == above) continue;
            zeb::AEGP::MoveLayerBelow(wrap(layer), wrap(above));
            EXPECT_EQ(project.GetIndex(layer), project.GetIndex(above) + 1) << moved << " below " << reference;
        }
    }
}

/// No exception of any kind crosses to the host.
TEST_F(InHost, EveryFailureBecomesACodeAndAMessage) {
    const struct {
        zeb::PluginFactory mThrow;
        PF_Err mCode;
        const char* mMessage;
    } rows[] = {
        {[]() -> Made { ZEB_THROW(517, "stopped"); }, 517, "with message \"stopped\" and code PF_Interrupt_CANCEL"},
        {[]() -> Made { throw std::out_of_range(std::string(600, 'z')); }, 512,
         "Unexpected exception with message \"zzz"},
        {[]() -> Made { throw 514; }, 514, "Unexpected exception with code PF_Err_UNRECOGNIZED_PARAM_TYPE"},
        {[]() -> Made { throw 99; }, 99, "Unexpected exception with code 99"},
        {[]() -> Made { throw 'c'; }, 512, "Unexpected exception"},
    };
    PF_OutData out{};
    const auto run = [&](PF_Cmd command, zeb::PluginFactory create) {
        PF_InData in = mCommand.In();
        in.global_data = nullptr;
        out = {};
        return zeb::RunCommand(command, &in, &out, nullptr, nullptr, create);
    };
    for (const auto& row : rows) {
        EXPECT_EQ(run(PF_Cmd_GLOBAL_SETUP, row.mThrow), row.mCode);
        EXPECT_THAT(out.return_msg, HasSubstr(row.mMessage));
        EXPECT_NE(out.out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
    }
    for (const PF_Cmd unserved : {-1, 2, 9, 12, 17, 21, 29, 31, 1000}) EXPECT_EQ(run(unserved, nullptr), 0) << unserved;
    EXPECT_EQ(run(PF_Cmd_PARAMS_SETUP, nullptr), 512);
    EXPECT_THAT(out.return_msg, HasSubstr("The effect was not set up"));
    EXPECT_EQ(zeb::RunCommand(PF_Cmd_GLOBAL_SETUP, nullptr, nullptr, nullptr, nullptr, rows[0].mThrow), 512);
}

TEST(Message, TheFirstWinsAndIsCutBetweenCharacters) {
    PF_OutData out{};
    EXPECT_TRUE(zeb::SetMessage(&out, std::string(300, 'x')));
    zeb::ReportError(&out, "second");
    EXPECT_EQ(std::string(out.return_msg), std::string(255, 'x'));
    out.return_msg[0] = '\0';
    zeb::ReportError(&out, std::string(254, 'y') + "\xC3\xA9");
    EXPECT_EQ(std::string(out.return_msg), std::string(254, 'y'));
    EXPECT_FALSE(zeb::SetMessage(nullptr, "nobody"));
}

TEST(Text, CrossesBothWays) {
    EXPECT_EQ(zeb::ToUtf8(u"a\u00e9\U0001F600"), "a\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(zeb::ToUtf16("a\xC3\xA9\xF0\x9F\x98\x80"), u"a\u00e9\U0001F600");
    EXPECT_EQ(zeb::ToUtf8(std::u16string(1, char16_t{0xD800}) + u"b"), std::string("\xEF\xBF\xBD") + "b");
    EXPECT_EQ(zeb::ToUtf16(std::string("\xFF") + "b"), std::u16string(u"\uFFFD") + u"b");
    EXPECT_EQ(zeb::EscapeForScript("a\"b\\c\td\ne\b"), "a\\\"b\\\\c\\td\\ne\\b");
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

}  // namespace
