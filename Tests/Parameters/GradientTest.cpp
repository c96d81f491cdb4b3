#include <cstring>
#include <random>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "../Failure.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"
#include "TestSupport.h"

namespace {

using test::MessageOf;
using zeb::Gradient;

const glm::vec3 kRed(1.0F, 0.0F, 0.0F);
const glm::vec3 kBlue(0.0F, 0.0F, 1.0F);

TEST(Gradient, ColoursByKeyType) {
    struct Case {
        std::int32_t mType;
        float mT;
        float mBlue;  ///< share of blue; red has the rest
    };
    const Case cases[] = {
        {Gradient::kLinear, 0.25F, 0.25F}, {Gradient::kSmooth, 0.25F, 0.7F * 0.1464466F + 0.075F},
        {Gradient::kSmooth, 0.5F, 0.5F},   {Gradient::kStep, 0.999F, 0.0F},
        {Gradient::kStep, 1.0F, 1.0F},     {Gradient::kLinear, -1.0F, 0.0F},
        {Gradient::kLinear, 2.0F, 1.0F},   {9, 0.25F, 0.25F},  // an unknown type runs linearly
    };
    for (const Case& c : cases) {
        const glm::vec3 color = Gradient(c.mType, kRed, kBlue).GetColor(c.mT);
        EXPECT_NEAR(color.z, c.mBlue, 1e-6F) << c.mType << " at " << c.mT;
        EXPECT_NEAR(color.x, 1.0F - c.mBlue, 1e-6F);
        EXPECT_EQ(color.y, 0.0F);
    }
    Gradient empty;
    empty.keys.clear();
    EXPECT_EQ(empty.GetColor(0.5F), glm::vec3(0.0F));
}

TEST(Gradient, EachSpanFollowsTheTypeOfItsFirstKey) {
    Gradient gradient(Gradient::kLinear, kRed, kBlue);
    gradient.keys[0.5F] = {Gradient::kStep, glm::vec3(0.0F, 1.0F, 0.0F)};
    EXPECT_EQ(gradient.GetColor(0.25F), glm::vec3(0.5F, 0.5F, 0.0F));
    EXPECT_EQ(gradient.GetColor(0.5F), glm::vec3(0.0F, 1.0F, 0.0F));
    EXPECT_EQ(gradient.GetColor(0.75F), glm::vec3(0.0F, 1.0F, 0.0F));
    EXPECT_EQ(gradient.GetColor(1.0F), kBlue);
}

TEST(Gradient, FillEqualsGetColorToTheLastBit) {
    std::mt19937 random(11);
    std::uniform_real_distribution<float> unit(0.0F, 1.0F);
    for (int round = 0; round < 20; ++round) {
        Gradient gradient;
        gradient.keys.clear();
        for (int i = 0; i < round % 7; ++i)
            gradient.keys[unit(random)] = {i % 3, glm::vec3(unit(random), unit(random), unit(random))};
        constexpr std::size_t kCount = 1024;
        std::vector<float> filled(4 * kCount);
        gradient.Fill(filled.data(), kCount);
        for (std::size_t i = 0; i < kCount; ++i) {
            const glm::vec3 color = gradient.GetColor(static_cast<float>(i) / static_cast<float>(kCount - 1));
            ASSERT_EQ(std::memcmp(&filled[4 * i], &color, sizeof(color)), 0) << round << " " << i;
            ASSERT_EQ(filled[4 * i + 3], 1.0F);
        }
    }
}

TEST(Gradient, SelectedKeyIsKeptAsJson) {
    Gradient gradient;
    EXPECT_EQ(gradient.GetSelectedKey(), -1);
    EXPECT_FALSE(nlohmann::json::parse(gradient.ToJSON()).contains("interactInfo"));
    gradient.SetSelectedKey(2);
    Gradient read;
    read.FromJSON(gradient.ToJSON());
    EXPECT_EQ(read.GetSelectedKey(), 2);
    read.SetSelectedKey(-1);
    EXPECT_TRUE(read.interactInfo.empty());
    read.interactInfo = "\"two\"";
    EXPECT_THAT(MessageOf([&] { (void)read.GetSelectedKey(); }),
                testing::HasSubstr("type must be number, but is string"));
}

TEST(Gradient, JsonOfAWrongShapeIsRefusedAndChangesNothing) {
    const std::pair<std::string, const char*> cases[] = {
        {"{", "parse_error"},
        {"{}", "type must be array, but is null"},
        {R"({"keys":{}})", "type must be array, but is object"},
        {R"({"keys":[[0,5]]})", "type_error"},
        {R"({"keys":[[0,{"color":[1,1],"type":1}]]})", "An array of 3 elements has 2."},
        {R"({"keys":[[0,{"color":[1,1,"x"],"type":1}]]})", "type must be number, but is string"},
        {R"({"keys":[[0,{"color":[1,1,1]}]]})", "type must be number, but is null"},
        {R"({"keys":[[false,{"color":[1,1,1],"type":1}]]})", "type must be number, but is boolean"},
        {R"({"keys":[],"interactInfo":)" + std::string(5000, '[') + std::string(5000, ']') + "}", "nested deeper than"},
    };
    for (const auto& [text, message] : cases) {
        Gradient gradient;
        EXPECT_THAT(MessageOf([&, &json = text] { gradient.FromJSON(json); }), testing::HasSubstr(message))
            << text.substr(0, 80);
        EXPECT_TRUE(gradient.IsEqual(Gradient()));
    }
}

TEST(Gradient, InterpolatesKeyByKey) {
    Gradient a(Gradient::kStep, kRed, kRed);
    a.SetSelectedKey(1);
    Gradient b(Gradient::kLinear, kBlue, kBlue);
    b.keys.erase(1.0F);
    const auto result = a.MakeInterpolated(b, 0.25F);
    const auto& blend = dynamic_cast<const Gradient&>(*result);
    ASSERT_EQ(blend.keys.size(), 2U);
    EXPECT_EQ(blend.keys.at(0.0F).color, glm::vec3(0.75F, 0.0F, 0.25F));
    EXPECT_EQ(blend.keys.at(0.75F).color, glm::vec3(0.75F, 0.0F, 0.25F));
    EXPECT_EQ(blend.keys.at(0.75F).type, Gradient::kStep);
    EXPECT_TRUE(blend.interactInfo.empty());
    EXPECT_THROW((void)a.MakeInterpolated(zeb::Ramp(), 0.5F), zeb::Exception);
}

}  // namespace
