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

}  // namespace
