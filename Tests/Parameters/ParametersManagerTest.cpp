#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "../Failure.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "TestSupport.h"

namespace {

using test::Catalogue;
using test::Entry;
using test::MessageOf;
using test::TextManager;
using zeb::ParameterFlag;

const std::string kRampKeys =
    R"("valueType":"Ramp","showControlIndex":1,"default":{"type":0,"interpolation":0,"keys":[[0.0,1.0]]})";
const std::string kGradientKeys =
    R"("valueType":"Gradient","showControlIndex":1,"colorIndex":2,"default":{"keys":[],"interactInfo":0})";

TEST(ParametersManager, HostIndicesLeaveOutSkippedParameters) {
    const TextManager manager(Catalogue({
        Entry("Checkbox", 10),
        Entry("Checkbox", 11, R"("skipAPI":["FxPlug","AE","AE"],"skipConfigs":["Release"])"),
        Entry("Checkbox", 12, R"("skipAPI":["OpenFX","FxPlug"])"),
        Entry("Checkbox", 13, R"("skipConfigs":["Release"])"),
        Entry("Checkbox", 14),
    }));
#ifdef NIMBREL_RELEASE
    const std::vector<std::int32_t> expected = {1, -1, 2, -1, 3};
#else
    const std::vector<std::int32_t> expected = {1, -1, 2, 3, 4};
#endif
    std::vector<std::int32_t> indices;
    for (const auto& description : manager.GetTable()) indices.push_back(description.mParameterIndex);
    EXPECT_EQ(indices, expected);
    EXPECT_EQ(manager.GetTable()[1].mFlags, std::vector<ParameterFlag>{ParameterFlag::Skip}) << "added once";
    EXPECT_EQ(manager.FindIndexByParameterIndex(2), 2);
    EXPECT_EQ(manager.FindIndexByParameterIndex(99), -1);
    EXPECT_EQ(manager.GetDescriptionByNumId(11).mIndex, 1) << "a skipped parameter keeps its place";
    EXPECT_EQ(manager.FindIndexByNumId(14), 4);
    EXPECT_EQ(manager.FindIndexByNumId(77), -1);
    EXPECT_THAT(MessageOf([&] { (void)manager.GetDescriptionByNumId(77); }),
                testing::HasSubstr("Failed to find a parameter description by a parameter numeric id 77"));
}

TEST(ParametersManager, ASourceClipAtTheFrontIsHostIndexZero) {
    const TextManager manager(Catalogue({Entry("SourceClip", 1), Entry("Checkbox", 2)}));
    EXPECT_EQ(manager.GetTable()[0].mParameterIndex, 0);
    EXPECT_EQ(manager.GetTable()[1].mParameterIndex, 1);
    EXPECT_TRUE(TextManager(Catalogue({})).GetTable().empty());
}

TEST(ParametersManager, ReadsSettingsAndDefaults) {
    zeb::ParametersManagerOptions options;
    options.mCompleteCustomSettings = [](zeb::ParameterCustomSettings& settings) { settings.valueType += "!"; };
    const std::string catalogue = Catalogue({
        Entry("FloatSlider", 1,
              R"("flags":["DisplayPercent","NotAnimatable"],"displayMin":{"value":0},"displayMax":{"value":100},
                 "validMin":{"value":-5.5},"precision":{"value":null},"default":{"value":50})"),
        Entry("IntSlider", 2, R"("displayMin":{"value":1},"displayMax":{"value":9},"default":{"value":7})"),
        Entry("Angle", 3, R"("default":{"value":180})"),
        Entry("Color", 4, R"("defaultRed":{"value":0.25},"defaultBlue":{"value":1})"),
        Entry("Point3", 5, R"("defaultX":{"value":0.5},"absolutePosition":{"value":true})"),
        Entry("Checkbox", 6, R"("label":{"value":"On"},"default":{"value":true})"),
        Entry("Popup", 7, R"("enum":{"value":["A","B"]},"default":{"value":1})"),
        Entry("Custom", 8, kRampKeys),
        Entry("Checkbox", 9),
    });
    const TextManager manager(catalogue, options);
    const auto& slider = manager.GetTable()[0].GetSettings<zeb::ParameterFloatSliderSettings>();
    EXPECT_EQ(slider.validMin, -5.5);
    EXPECT_EQ(slider.validMax, std::numeric_limits<double>::max());
    EXPECT_EQ(slider.displayMax, 100.0);
    EXPECT_EQ(slider.precision, 1);
    EXPECT_EQ(manager.GetTable()[0].mFlags, (std::vector{ParameterFlag::DisplayPercent, ParameterFlag::NotAnimatable}));
    const auto& integer = manager.GetTable()[1].GetSettings<zeb::ParameterIntSliderSettings>();
    EXPECT_EQ(integer.validMin, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(integer.displayMin, 1);
    EXPECT_TRUE(manager.GetTable()[4].GetSettings<zeb::ParameterPointSettings>().absolutePosition);
    EXPECT_EQ(manager.GetTable()[5].GetSettings<zeb::ParameterButtonCheckboxSettings>().label, "On");
    EXPECT_EQ(manager.GetTable()[6].GetSettings<zeb::ParameterPopupSettings>().choices,
              (std::vector<std::string>{"A", "B"}));
    EXPECT_EQ(manager.GetTable()[7].GetSettings<zeb::ParameterCustomSettings>().valueType, "Ramp!")
        << "completed by the host";
    EXPECT_EQ(manager.GetTable()[7].mInteractInfo->mShowControlIndex, 1);
    EXPECT_EQ(manager.GetTable()[7].mInteractInfo->mHeight, 140);
    EXPECT_THROW((void)manager.GetTable()[0].GetSettings<zeb::ParameterPopupSettings>(), zeb::Exception);

    const auto& defaults = manager.GetDefaultValueGetter();
    EXPECT_EQ(defaults.GetDouble(0), 0.5) << "percent as a fraction";
    EXPECT_EQ(defaults.GetInt(1), 7);
    EXPECT_EQ(defaults.GetDouble(2), 180.0) << "the default of an angle stays in degrees";
    EXPECT_EQ(defaults.GetVec3(3), glm::vec3(0.25F, 0.0F, 1.0F));
    EXPECT_EQ(defaults.GetRawVec3(4), glm::vec3(0.5F, 0.0F, 0.0F));
    EXPECT_TRUE(defaults.GetBool(5));
    EXPECT_FALSE(defaults.GetBool(8));
    EXPECT_EQ(defaults.GetPopup(6), 1);
    EXPECT_EQ(defaults.GetCustom(7), R"({"interpolation":0,"keys":[[0.0,1.0]],"type":0})");
    EXPECT_EQ(defaults.GetString(0), u"");
    EXPECT_THROW((void)defaults.GetInt(9), std::out_of_range);
    EXPECT_THROW((void)defaults.GetInt(-1), std::out_of_range);
}

std::string Packs(const std::string& packs) { return fmt::format(R"({{"parameters":[],"packs":[{}]}})", packs); }

TEST(ParametersManager, RefusesABadCatalogue) {
    const std::pair<std::string, const char*> cases[] = {
        {"{", "parse_error"},
        {"{}", "type must be array, but is null"},
        {Catalogue({"5"}), "type_error"},
        {Catalogue({"{}"}), "type must be string, but is null"},
        {Catalogue({Entry("Knob", 1)}), "Failed to get a control type from string Knob"},
        {Catalogue({Entry("Checkbox", 1, R"("flags":["Loud"])")}), "Failed to get a parameter flag from string Loud"},
        {Catalogue({Entry("Checkbox", 1, R"("default":{"value":1})")}), "type must be boolean, but is number"},
        {Catalogue({Entry("FloatSlider", 1)}), "type must be number, but is null"},
        {Catalogue({Entry("Popup", 1)}), "type must be array, but is null"},
        {Catalogue({Entry("Custom", 1, R"("valueType":"Curve")")}),
         "Failed to find custom parameter of type \"Curve\""},
        {Catalogue({Entry("Custom", 1, R"("valueType":"Ramp","showControlIndex":0)")}),
         "type must be object, but is null"},
        {Packs(R"({"name":"P","sizeInBytes":8,"members":[{"name":"m","offset":0,"type":"Half"}]})"),
         "Unknown member type of Half"},
        {Packs(R"({"name":"P","sizeInBytes":8,"members":[{"name":"m","offset":4,"type":"Vec2"}]})"),
         "Member m of struct P ends behind the structure."},
        {Packs(R"({"name":"P","sizeInBytes":8,"members":[]},{"name":"P","sizeInBytes":8,"members":[]})"),
         "Struct P is described twice."},
    };
    for (const auto& [text, message] : cases)
        EXPECT_THAT(MessageOf([&catalogue = text] { TextManager manager(catalogue); }), testing::HasSubstr(message))
            << text;
}

zeb::ParametersManagerOptions WithColorParameter() {
    zeb::ParametersManagerOptions options;
    options.mUsesInteractColorPicker = false;
    return options;
}

const std::vector<std::string> kWithColor = {Entry("Custom", 1, kGradientKeys), Entry("Checkbox", 2),
                                             Entry("Color", 3)};

TEST(ParametersManager, ColorParameterEditsTheSelectedKey) {
    TextManager manager(Catalogue(kWithColor), WithColorParameter());
    test::Values values;
    zeb::Gradient gradient;
    gradient.SetSelectedKey(1);
    values.mCustoms[0] = gradient.ToJSON();
    values.mVec3s[2] = glm::vec3(0.25F, 0.5F, 0.75F);
    test::Values written;
    test::ValuesSetter setter(manager, written);
    manager.OnParameterChanged(test::ValuesGetter(manager, values), setter, 2);
    ASSERT_TRUE(written.mCustoms.contains(0));
    zeb::Gradient changed;
    changed.FromJSON(written.mCustoms[0]);
    EXPECT_EQ(changed.keys.at(1.0F).color, glm::vec3(0.25F, 0.5F, 0.75F));
    EXPECT_EQ(changed.keys.at(0.0F).color, glm::vec3(1.0F));
    EXPECT_EQ(written.mCustomTypes[0], "Gradient");

    // A selection behind the keys, or none, changes nothing.
    for (const std::int32_t selected : {-1, 2, 99}) {
        gradient.SetSelectedKey(selected);
        values.mCustoms[0] = gradient.ToJSON();
        written.mCustoms.clear();
        manager.OnParameterChanged(test::ValuesGetter(manager, values), setter, 2);
        EXPECT_TRUE(written.mCustoms.empty());
    }
}

TEST(ParametersManager, ColorParameterIsShownWithTheEditor) {
    const TextManager manager(Catalogue(kWithColor), WithColorParameter());
    const auto properties = manager.MakeInitialProperties();
    const auto& color = manager.GetTable()[2];
    EXPECT_FALSE(properties->IsVisible(color));
    EXPECT_EQ(properties->GetName(color), "N3");
    test::Values values;
    values.mBools[1] = true;
    zeb::Gradient gradient;
    for (const std::int32_t selected : {-1, 0}) {
        gradient.SetSelectedKey(selected);
        values.mCustoms[0] = gradient.ToJSON();
        manager.UpdateUI(test::ValuesGetter(manager, values), *properties);
        EXPECT_TRUE(properties->IsVisible(color));
        EXPECT_EQ(properties->IsEnabled(color), selected == 0);
    }
}

TEST(ParametersManager, OneColorParameterServesOneGradient) {
    std::vector<std::string> entries = kWithColor;
    entries.push_back(Entry("Custom", 4, kGradientKeys));
    const std::string catalogue = Catalogue(entries);
    EXPECT_THAT(MessageOf([&] { TextManager manager(catalogue, WithColorParameter()); }),
                testing::HasSubstr("UpdateUI handler for parameter 2 already registered"));
    EXPECT_EQ(MessageOf([&] { TextManager manager(catalogue); }), "") << "with the host's picker there are no handlers";
}

TEST(ParameterBase, NeedsAGetter) {
    EXPECT_THAT(MessageOf([] { (void)zeb::ParameterBase().GetCurrentValueGetter(); }),
                testing::HasSubstr("Failed to get the current value getter."));
}

}  // namespace
