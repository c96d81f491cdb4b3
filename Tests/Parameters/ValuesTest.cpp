// Saving, loading and resetting the values of a group.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "../Failure.h"
#include "TestSupport.h"

namespace {

using nlohmann::json;
using test::Catalogue;
using test::Entry;
using test::kRange;
using test::MessageOf;

/// A group (1 to 10) with one parameter of each kind and a group within it, and a parameter outside (11).
const std::string kCatalogue = Catalogue({
    Entry("Checkbox", 100),
    Entry("GroupBegin", 101),
    Entry("IntSlider", 102, kRange + R"(,"default":{"value":3})"),
    Entry("GroupBegin", 103),
    Entry("FloatSlider", 104, kRange + R"(,"flags":["DisplayPercent"],"default":{"value":25})"),
    Entry("GroupEnd", 105),
    Entry("Angle", 106, R"("default":{"value":90})"),
    Entry("Point3", 107, R"("defaultX":{"value":0.5})"),
    Entry("FilePath", 108),
    Entry("Popup", 109, R"("enum":{"value":["A","B"]},"default":{"value":1})"),
    Entry("Custom", 110, R"("valueType":"Ramp","showControlIndex":0,"default":{"type":0,"interpolation":0,"keys":[]})"),
    Entry("Checkbox", 111, R"("skipAPI":["AE"])"),
    Entry("Button", 112),
    Entry("GroupEnd", 113),
    Entry("Color", 114, R"("defaultRed":{"value":1})"),
});

test::Values SomeValues() {
    test::Values values;
    values.mInts = {{2, -7}, {9, 0}};
    values.mDoubles = {{4, 1.0 / 3.0}, {6, 0.125}};
    values.mVec3s = {{7, glm::vec3(1.5F, -0.1F, 1e7F)}};
    values.mStrings = {{8, u"C:\\modèle \U0001F600.ply"}};
    values.mCustoms = {{10, R"({"interpolation":2,"keys":[[0.5,0.25]],"type":1})"}};
    return values;
}

TEST(Values, SaveAndLoadOfAGroupRestoresEveryValue) {
    const test::TextManager manager(kCatalogue);
    const test::Values values = SomeValues();
    const json saved = manager.SaveValues(test::ValuesGetter(manager, values), 1);
    std::vector<int> ids;
    for (const json& element : saved) ids.push_back(element.at("id"));
    EXPECT_EQ(ids, (std::vector<int>{102, 104, 106, 107, 108, 109, 110}))
        << "this group, what has a value, not the skipped";
    EXPECT_EQ(saved[6].at("value").at("keys"), json::parse("[[0.5,0.25]]"));
    EXPECT_EQ(saved[4].at("value"), "C:\\modèle 😀.ply");

    test::Values loaded;
    test::ValuesSetter setter(manager, loaded);
    manager.LoadValues(setter, json::parse(saved.dump()));
    EXPECT_EQ(loaded.mInts, values.mInts);
    EXPECT_EQ(loaded.mDoubles, values.mDoubles);
    EXPECT_EQ(loaded.mVec3s, values.mVec3s);
    EXPECT_EQ(loaded.mStrings, values.mStrings);
    EXPECT_EQ(loaded.mCustoms, values.mCustoms);
    EXPECT_EQ(loaded.mCustomTypes[10], "Ramp");
    EXPECT_TRUE(loaded.mBools.empty());
}

TEST(Values, SaveOfTheWholeTableAndOfASingleParameter) {
    const test::TextManager manager(kCatalogue);
    const test::Values values;
    const test::ValuesGetter getter(manager, values);
    EXPECT_EQ(manager.SaveValues(getter, -1).size(), 9U);
    EXPECT_EQ(manager.SaveValues(getter, 3), json::parse(R"([{"id":104,"value":0.25}])"));
    EXPECT_EQ(manager.SaveValues(getter, 14), json::parse(R"([{"id":114,"value":[1.0,0.0,0.0]}])"));
    EXPECT_TRUE(manager.SaveValues(getter, 99).empty());
}

TEST(Values, UnknownIdsArePassedOver) {
    const test::TextManager manager(kCatalogue);
    test::Values loaded;
    test::ValuesSetter setter(manager, loaded);
    manager.LoadValues(setter,
                       json::parse(R"([{"id":9999,"value":1},{"id":-3,"value":1},{"id":1e99},{"id":101,"value":1},
        {"id":111,"value":true},{"id":102,"value":5}])"));
    EXPECT_EQ(loaded.mInts, (std::map<std::int32_t, std::int32_t>{{2, 5}}));
    EXPECT_TRUE(loaded.mBools.empty()) << "a parameter that the host never sees is not written";
}

TEST(Values, LoadRefusesWrongTypes) {
    const test::TextManager manager(kCatalogue);
    test::Values loaded;
    test::ValuesSetter setter(manager, loaded);
    const std::string deep = std::string(500, '[') + std::string(500, ']');
    const std::pair<std::string, const char*> cases[] = {
        {"null", "type must be array, but is null"},
        {"[5]", "type_error"},
        {"[{}]", "key 'id' not found"},
        {R"([{"id":"102"}])", "type must be number, but is string"},
        {R"([{"id":102}])", "type must be number, but is null"},
        {R"([{"id":102,"value":3e9}])", "out of the range of an integer"},
        {R"([{"id":100,"value":1}])", "type must be boolean, but is number"},
        {R"([{"id":107,"value":[1,2]}])", "An array of 3 elements has 2."},
        {R"([{"id":108,"value":5}])", "type must be string, but is number"},
        {R"([{"id":109,"value":2}])", "Parameter \"N109\" has 2 choices, but the value is 2"},
        {R"([{"id":109,"value":-1}])", "has 2 choices"},
        {R"([{"id":110,"value":)" + deep + "}]", "nested deeper than"},
    };
    for (const auto& [text, message] : cases)
        EXPECT_THAT(MessageOf([&, &values = text] { manager.LoadValues(setter, json::parse(values)); }),
                    testing::HasSubstr(message))
            << text.substr(0, 60);
}

TEST(Values, ResetWritesTheDefaultsOfTheGroupInLogicUnits) {
    const test::TextManager manager(kCatalogue);
    test::Values values;
    test::ValuesSetter setter(manager, values);
    manager.ResetValues(setter, 1);
    EXPECT_EQ(values.mInts, (std::map<std::int32_t, std::int32_t>{{2, 3}, {9, 1}}));
    EXPECT_EQ(values.mDoubles.at(4), 0.25);
    EXPECT_NEAR(values.mDoubles.at(6), 1.5707963267948966, 1e-15);
    EXPECT_EQ(values.mVec3s.at(7), glm::vec3(1.0F, 0.0F, 0.0F)) << "written in the form relative to the layer";
    EXPECT_EQ(values.mStrings.at(8), u"<cleared>");
    EXPECT_EQ(values.mCustoms.at(10), R"({"interpolation":0,"keys":[],"type":0})");
    EXPECT_TRUE(values.mBools.empty());
    EXPECT_EQ(values.mVec3s.size(), 1U) << "the colour lies outside the group";
}

}  // namespace
