// The catalogue's contents. Numeric ids are golden: saved projects hold them.
#include <set>
#include <string>

#include <duktape.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "CatalogueManager.h"
#include "PluginBase/Misc/Hash.h"
#include "PluginBase/Script/JSContext.h"

namespace {

using nlohmann::json;

constexpr std::size_t kSlotSize = 148;
constexpr std::size_t kSlotCount = 5;

const json& Parameters() {
    static const json catalogue = json::parse(GetCatalogueText());
    return catalogue.at("parameters");
}

TEST(Catalogue, NumericIdsAreUniqueAndPinned) {
    std::set<int> ids;
    std::string all;
    for (const json& entry : Parameters()) {
        ids.insert(entry.at("uniqueID").get<int>());
        all += fmt::format("{};", entry.at("uniqueID").get<int>());
    }
    EXPECT_EQ(ids.size(), Parameters().size());
    // Over all ids in order. A new value here breaks every saved project.
    EXPECT_EQ(zeb::HashFnv1a(all), 6718439129776229816ULL);
    const std::pair<std::size_t, int> golden[] = {
        {0, 1},     {148, 106}, {296, 211}, {444, 333}, {592, 442}, {2, 3},     {3, 858},   {30, 41},   {37, 321},
        {49, 676},  {84, 750},  {110, 556}, {117, 568}, {134, 551}, {147, 105}, {150, 108}, {298, 213}, {446, 335},
        {594, 444}, {740, 863}, {746, 869}, {747, 316}, {748, 686}, {749, 687}, {752, 320}};
    for (const auto& [index, id] : golden) EXPECT_EQ(Parameters()[index].at("uniqueID"), id) << index;
}

/// Replaces the slot's number and shifts its indices, as if the entry stood in slot 1.
json AsSlot1(json entry, std::size_t slot) {
    const std::string number = std::to_string(slot + 1);
    const auto replace = [&](std::string text, const std::string& prefix, const std::string& suffix) {
        const std::string from = prefix + number + suffix;
        return text.compare(0, from.size(), from) == 0 ? prefix + "1" + suffix + text.substr(from.size()) : text;
    };
    for (const char* key : {"fullName", "hint"}) entry[key] = replace(replace(entry[key], "", " "), "Model ", "");
    for (const char* key : {"fullId", "scriptName"}) entry[key] = replace(entry[key], "Model", "");
    for (const char* key : {"colorIndex", "showControlIndex"}) {
        if (entry.contains(key)) entry[key] = entry[key].get<std::size_t>() - slot * kSlotSize;
    }
    entry.erase("uniqueID");
    return entry;
}

TEST(Catalogue, SlotsAreCopiesOfTheFirst) {
    for (std::size_t slot = 0; slot < kSlotCount; ++slot) {
        std::int32_t depth = 0;
        for (std::size_t i = 0; i < kSlotSize; ++i) {
            const json& entry = Parameters()[slot * kSlotSize + i];
            ASSERT_EQ(AsSlot1(entry, slot), AsSlot1(Parameters()[i], 0)) << slot << " " << i;
            if (entry.at("control") == "GroupBegin") ++depth;
            if (entry.at("control") == "GroupEnd") --depth;
            ASSERT_EQ(depth == 0, i == kSlotSize - 1) << "the slot's group ends with the slot";
        }
    }
    EXPECT_EQ(Parameters()[148].at("fullName"), "Model 2");
    EXPECT_EQ(Parameters()[593].at("fullName"), "5 Show Model");
    EXPECT_EQ(Parameters()[593].at("fullId"), "Model5_showModel");
}

TEST(Catalogue, ScriptNamesEveryParameter) {
    zeb::JSContext context;
    const auto loader = MakeTextFileLoader();
    context.PCompile(*loader, u"Script/PackedParameters.js", 0);
    ASSERT_EQ(duk_pcall(context.Get(), 0), 0) << duk_safe_to_string(context.Get(), -1);
    ASSERT_EQ(duk_peval_string(context.Get(), "[ParamInd, Shape, Blending]"), 0);
    const json read = json::parse(duk_json_encode(context.Get(), -1));
    EXPECT_EQ(read[0].size(), Parameters().size());
    for (std::size_t i = 0; i < Parameters().size(); ++i)
        EXPECT_EQ(read[0].value(Parameters()[i].at("fullId").get<std::string>(), -1), static_cast<int>(i));
    EXPECT_EQ(read[0].at("Model1"), 0);
    EXPECT_EQ(read[0].at("Debug_groupEnd"), 752);
    EXPECT_EQ(read[1], json::parse(R"({"Sphere":0,"Box":1})"));
    EXPECT_EQ(read[2], json::parse(R"({"Normal":0,"Add":1,"Multiply":2})"));
}

}  // namespace
