// The panel: which rows it has and where, what its numbers say, and the effect's control among them.
#include "NimbrelHost/Panel/Panel.h"

#include <gmock/gmock.h>

#include "EffectFixture.h"
#include "NimbrelHost/Drawing/Theme.h"
#include "Panel/PanelLayout.h"
#include "Panel/PanelText.h"
#include "Studio.h"

namespace nimbrel::host {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using namespace panel;

std::vector<std::string> ListNames(const std::vector<Row>& rows) {
    std::vector<std::string> names;
    for (const Row& row : rows) names.push_back(row.mParameter->mName);
    return names;
}

TEST(Panel, ShowsWhatIsNotHidden) {
    Effect effect;
    Host& host = *effect.mHost;
    const auto list = [&](const PanelOptions& options) { return ListNames(ListRows(host, options).at(0)); };
    EXPECT_THAT(list({}), ElementsAre("Level", "Count", "Tint", "Press", "Group", "Fault"));
    effect.Get("Level").mIsHidden = true;
    effect.Get("Count").mDefinition.ui_flags |= PF_PUI_INVISIBLE;
    effect.Get("Fault").mDefinition.ui_flags |= PF_PUI_NO_ECW_UI;
    effect.Get("#9005").mIsHidden = true;
    EXPECT_THAT(list({}), ElementsAre("Tint", "Press"));
    const auto fail = [&](const PanelOptions& options) { return UsageMessage([&] { list(options); }); };
    EXPECT_THAT(fail({.mGroups = {"Gruop"}}),
                HasSubstr("--panel-group: expected a group of controls, but there is no"));
    EXPECT_THAT(fail({.mSlot = 2}),
                HasSubstr("--panel-slot: expected a group of controls, but there is no \"Model 2\""));
    effect.Get("#9005").mIsHidden = false;
    EXPECT_THAT(list({.mGroups = {"Group"}}), ElementsAre("Group"));
    EXPECT_THAT(fail({.mGroups = {"Gruop"}}), HasSubstr("(did you mean \"Group\"?)"));
}

TEST(Panel, FlowsIntoColumnsOfLikeHeight) {
    Parameter group, slider;
    group.mDefinition.param_type = PF_Param_GROUP_START;
    slider.mDefinition.param_type = PF_Param_SLIDER;
    for (const int count : {1, 30, 200, 900}) {
        std::vector<Row> rows;
        for (int i = 0; i < count; ++i) {
            const bool isGroup = i % 7 == 0;
            Row row{isGroup ? &group : &slider, {}, isGroup ? kGroupHeight : kRowHeight, 0};
            if (!isGroup) row.mGroups = {&group};
            rows.push_back(row);
        }
        const std::vector<Column> columns = FlowColumns({rows});
        std::size_t shown = 0;
        for (const Column& column : columns) {
            int height = column.mTrail.empty() ? 0 : kTrailHeight;
            for (const Row& row : column.mRows) {
                EXPECT_EQ(row.mTop, height);
                EXPECT_EQ(row.mParameter, rows[shown++].mParameter);
                height += row.mHeight;
            }
            EXPECT_EQ(column.mHeight, height);
            if (&column == &columns.back()) continue;
            EXPECT_FALSE(column.mRows.back().IsGroup());
            EXPECT_GT(column.mHeight, columns[0].mHeight - 4 * kRowHeight);
        }
        EXPECT_EQ(shown, rows.size());
        const double aspect = static_cast<double>(columns.size()) * kColumnWidth / columns[0].mHeight;
        if (columns.size() > 2) {
            EXPECT_NEAR(aspect, 1.5, 0.6) << count;
        }
    }
    EXPECT_EQ(FlowColumns({{{&slider, {}, 23, 0}}, {{&slider, {}, 23, 0}}}).size(), 2U) << "a column for each section";
}

TEST(Panel, FormatsValuesAsAUserReadsThem) {
    Parameter angle, plain, percent, integer, point;
    angle.mDefinition.param_type = PF_Param_ANGLE;
    plain.mDefinition.param_type = percent.mDefinition.param_type = PF_Param_FLOAT_SLIDER;
    plain.mDefinition.u.fs_d.precision = 3;
    percent.mDefinition.u.fs_d.display_flags = PF_ValueDisplayFlag_PERCENT;
    percent.mDefinition.u.fs_d.precision = 1;
    percent.mDefinition.u.fs_d.slider_max = 200;
    integer.mDefinition.param_type = PF_Param_SLIDER;
    point.mDefinition.param_type = PF_Param_POINT_3D;
    const std::tuple<Parameter&, double, const char*> cases[] = {
        {plain, 0.0005, "0.001"},
        {plain, -0.0001, "0.000"},
        {percent, 12.34, "12.3 %"},
        {percent, 1e6, "1000000.0 %"},
        {integer, -7, "-7"},
        {angle, 0, "0x +0.0\xc2\xb0"},
        {angle, 405, "1x +45.0\xc2\xb0"},
        {angle, -30, "0x -30.0\xc2\xb0"},
        {angle, -765, "-2x -45.0\xc2\xb0"},
        {point, 960, "960.0"},
    };
    for (const auto& [parameter, number, text] : cases) EXPECT_EQ(FormatNumber(parameter, number), text);
    EXPECT_EQ(FormatColor({0, 0.5, 2}), "#0080ff");
    EXPECT_EQ(GetSliderPlace(percent, 50), 0.25);
    EXPECT_EQ(GetSliderPlace(percent, 500), 1);
    EXPECT_LT(GetSliderPlace(plain, 1), 0) << "no range";
}

/// Pixels of a colour.
int Count(const Frame& frame, Rgb color) {
    int count = 0;
    for (std::size_t at = 0; at < frame.mPixels.size(); at += 4) {
        const auto pixel =
            static_cast<Rgb>(frame.mPixels[at + 1] << 16 | frame.mPixels[at + 2] << 8 | frame.mPixels[at + 3]);
        count += pixel == color ? 1 : 0;
    }
    return count;
}

TEST(Panel, DrawsControlsAndDimsWhatIsSwitchedOff) {
    endtoend::Studio studio({{"composition", {{"width", 64}, {"height", 36}}}}, "panel",
                            {NIMBREL_EFFECT_FILE, "cpu", {}});
    const Rgb bar = FindAppColor(PF_App_Color_TEXT).value();
    for (const int scale : {1, 2}) {
        Parameter& control = studio.Get("Model1_effects_splatOpacity_ramp");
        const auto draw = [&] {
            return DrawPanel(*studio.mHost, {.mGroups = {"Model1_effects_splatOpacity"}, .mScale = scale});
        };
        const Frame open = draw();
        EXPECT_EQ(open.mWidth, (kColumnWidth + 2 * kPadding) * scale);
        EXPECT_GT(Count(open, bar), 50 * 50 * scale * scale) << "the area under the curve";
        control.mDefinition.ui_flags |= PF_PUI_DISABLED;
        EXPECT_LT(Count(draw(), bar), Count(open, bar) / 10);
        control.mDefinition.ui_flags &= ~PF_PUI_DISABLED;
    }
    // All that an effect can have: its tint is 255, 128, 0.
    EXPECT_GT(Count(DrawPanel(*studio.mHost, {}), theme::kRaised), 1000) << "buttons";
    studio.Finish();
    Effect effect;
    EXPECT_GT(Count(DrawPanel(*effect.mHost, {}), 0xff8000), 100);
}

}  // namespace
}  // namespace nimbrel::host
