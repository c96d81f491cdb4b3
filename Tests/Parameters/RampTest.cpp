#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include <gmock/gmock.h>
#include <glm/geometric.hpp>
#include <glm/vec2.hpp>
#include <nlohmann/json.hpp>

#include "../Failure.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"
#include "TestSupport.h"

namespace {

using test::MessageOf;
using zeb::Ramp;
using Keys = std::map<float, float>;

Ramp MakeRamp(std::int32_t interpolation, Keys keys) {
    Ramp ramp;
    ramp.interpolation = interpolation;
    ramp.keys = std::move(keys);
    return ramp;
}

TEST(Ramp, EvaluatesHandWorkedPoints) {
    const Keys three{{0.0F, 0.2F}, {0.5F, 0.8F}, {1.0F, 0.4F}};
    const Keys falling{{0.0F, 1.0F}, {1.0F, 0.0F}};
    const Keys wide{{0.0F, -1.0F}, {1.0F, 3.0F}};
    struct Case {
        std::int32_t mInterpolation;
        Keys mKeys;
        float mT;
        float mExpected;
    };
    const Case cases[] = {
        {Ramp::kCosine, falling, 0.25F, 0.8535534F},  // 1 - (0.5 - 0.5 cos 45 degrees)
        {Ramp::kCosine, falling, 0.5F, 0.5F},
        {Ramp::kLinear, three, 0.25F, 0.5F},
        {Ramp::kLinear, three, 0.75F, 0.6F},
        {Ramp::kLinear, three, 0.5F, 0.8F},  // a key's own position belongs to the span that it starts
        {Ramp::kLinear, three, 1.0F, 0.4F},
        {Ramp::kLinear, three, -3.0F, 0.2F},
        {Ramp::kLinear, three, 7.0F, 0.4F},
        {Ramp::kStep, three, 0.499F, 0.2F},
        {Ramp::kStep, three, 0.5F, 0.8F},
        {Ramp::kLinear, wide, 0.0F, 0.0F},  // clamped at both ends
        {Ramp::kLinear, wide, 0.4F, 0.6F},
        {Ramp::kLinear, wide, 0.9F, 1.0F},
        {Ramp::kBezier, {{0.0F, 0.0F}, {1.0F, 1.0F}}, 0.5F, 0.5F},  // handles at 0.3 and 0.7: a straight line
        {Ramp::kBezier, {{0.0F, 0.0F}, {1.0F, 1.0F}}, 0.0009F, 0.0F},
        {Ramp::kBezier, {{0.0F, 0.0F}, {1.0F, 1.0F}}, 0.9992F, 1.0F},
        {Ramp::kLinear, {{0.5F, 0.3F}}, 0.1F, 0.3F},
        {Ramp::kLinear, {{0.5F, 0.3F}}, 0.9F, 0.3F},
        {Ramp::kLinear, {}, 0.5F, 1.0F},
        {7, three, 0.25F, 1.0F},  // an unknown interpolation is neutral
    };
    for (const Case& c : cases) {
        EXPECT_NEAR(MakeRamp(c.mInterpolation, c.mKeys).Evaluate(c.mT), c.mExpected, 1e-6F)
            << "interpolation " << c.mInterpolation << ", t " << c.mT;
    }
}

/// The point of a cubic at p by repeated halving of its control polygon (de Casteljau).
glm::dvec2 CasteljauPoint(std::array<glm::dvec2, 4> points, double p) {
    for (std::size_t n = 3; n > 0; --n) {
        for (std::size_t i = 0; i < n; ++i) points[i] = glm::mix(points[i], points[i + 1], p);
    }
    return points[0];
}

TEST(Ramp, BezierFollowsTheExactCurve) {
    const glm::dvec2 p(0.0, 0.1), a(0.2, 0.3), b(0.7, 0.8), n(1.0, 0.6);
    const double length = glm::distance(a, b);
    const double s1 = 0.3 * length / (glm::distance(p, a) + length);
    const double s2 = 0.3 * length / (glm::distance(b, n) + length);
    const std::array<glm::dvec2, 4> control = {a, a + (b - p) * s1, b - (n - a) * s2, b};
    const Ramp ramp = MakeRamp(Ramp::kBezier, {{0.0F, 0.1F}, {0.2F, 0.3F}, {0.7F, 0.8F}, {1.0F, 0.6F}});
    for (int i = 1; i < 100; ++i) {
        const double t = 0.2 + 0.5 * i / 100.0;
        double low = 0.0, high = 1.0;
        for (int step = 0; step < 50; ++step) {
            const double middle = 0.5 * (low + high);
            (CasteljauPoint(control, middle).x > t ? high : low) = middle;
        }
        // The ramp's own search stops within 0.001 in t; the slope here is near 1.
        EXPECT_NEAR(ramp.Evaluate(static_cast<float>(t)), CasteljauPoint(control, low).y, 0.002) << t;
    }
}

TEST(Ramp, BezierOvershootIsClamped) {
    const Ramp ramp = MakeRamp(Ramp::kBezier, {{0.0F, 0.0F}, {0.1F, 1.0F}, {0.9F, 1.0F}, {1.0F, 0.0F}});
    EXPECT_EQ(ramp.Evaluate(0.5F), 1.0F);
    for (int i = 0; i <= 1000; ++i) {
        const float value = ramp.Evaluate(static_cast<float>(i) / 1000.0F);
        ASSERT_GE(value, 0.0F);
        ASSERT_LE(value, 1.0F);
    }
}

TEST(Ramp, ExtremeKeysGiveValuesInRange) {
    constexpr float kMax = std::numeric_limits<float>::max();
    constexpr float kTiny = std::numeric_limits<float>::denorm_min();
    const Keys keys{{-kMax, kMax}, {0.0F, -kMax}, {kTiny, 0.5F}, {2.0F * kTiny, 0.7F}, {0.5F, 1.0F}, {kMax, 0.0F}};
    for (std::int32_t interpolation = 0; interpolation < 4; ++interpolation) {
        const Ramp ramp = MakeRamp(interpolation, keys);
        for (const float t : {-1.0F, 0.0F, kTiny, 1e-30F, 0.25F, 0.5F, 1.0F, 1e30F, std::nanf("")}) {
            const float value = ramp.Evaluate(t);
            EXPECT_TRUE(value >= 0.0F && value <= 1.0F) << interpolation << " " << t << " " << value;
        }
    }
}

TEST(Ramp, FillEqualsEvaluateToTheLastBit) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> unit(-0.2F, 1.2F);
    for (int round = 0; round < 60; ++round) {
        Keys keys;
        for (int i = 0; i < round % 9; ++i) keys[unit(random)] = unit(random);
        const Ramp ramp = MakeRamp(round % 5, keys);
        for (const std::size_t count : {std::size_t{2}, std::size_t{3}, std::size_t{1024}}) {
            std::vector<float> filled(count + 1, 42.0F);
            ramp.Fill(filled.data(), count);
            for (std::size_t i = 0; i < count; ++i) {
                const float expected = ramp.Evaluate(static_cast<float>(i) / static_cast<float>(count - 1));
                ASSERT_EQ(std::memcmp(&filled[i], &expected, sizeof(float)), 0) << "round " << round << ", " << i;
            }
            ASSERT_EQ(filled[count], 42.0F);
        }
    }
    const Ramp ends = MakeRamp(Ramp::kCosine, {{0.0F, 0.125F}, {1.0F, 0.625F}});
    std::array<float, 1024> samples{};
    ends.Fill(samples.data(), samples.size());
    EXPECT_EQ(samples.front(), 0.125F);
    EXPECT_EQ(samples.back(), 0.625F);
    ends.Fill(samples.data(), 0);
    ends.Fill(samples.data(), 1);  // a single sample has no defined position, but a value
    EXPECT_EQ(samples.front(), 0.625F);
}

TEST(Ramp, BinaryFormWithHostileContents) {
    const auto make = [](std::int32_t count, const std::vector<float>& floats) {
        std::vector<unsigned char> bytes(12 + 4 * floats.size());
        std::memcpy(bytes.data() + 8, &count, 4);
        if (!floats.empty()) std::memcpy(bytes.data() + 12, floats.data(), 4 * floats.size());
        return bytes;
    };
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    for (const auto& bytes : {make(std::numeric_limits<std::int32_t>::max(), {0.0F, 1.0F}), make(1, {nan, 1.0F}),
                              make(1, {0.0F, nan}), make(2, {0.0F, 1.0F, infinity, 1.0F})}) {
        Ramp ramp;
        EXPECT_THAT(MessageOf([&] { ramp.FromBin(bytes.size(), bytes.data()); }),
                    testing::HasSubstr("Failed to deserialize a ramp"));
    }
    Ramp ramp;
    const auto negative = make(-1, {});
    ramp.FromBin(negative.size(), negative.data());
    EXPECT_TRUE(ramp.keys.empty());
    const auto repeated = make(2, {0.5F, 0.1F, 0.5F, 0.9F});
    ramp.FromBin(repeated.size(), repeated.data());
    EXPECT_EQ(ramp.keys, (Keys{{0.5F, 0.9F}}));
}

TEST(Ramp, JsonOfAWrongShapeIsRefusedAndChangesNothing) {
    const std::string deep(100000, '[');
    const std::pair<std::string, const char*> cases[] = {
        {"", "parse_error"},
        {"{\"type\":", "parse_error"},
        {"[]", "type_error"},
        {R"({"interpolation":0,"keys":[]})", "type must be number, but is null"},
        {R"({"type":true,"interpolation":0,"keys":[]})", "type must be number, but is boolean"},
        {R"({"type":1,"interpolation":0,"keys":5})", "type must be array, but is number"},
        {R"({"type":1,"interpolation":0,"keys":[5]})", "type must be array, but is number"},
        {R"({"type":1,"interpolation":0,"keys":[[0.1]]})", "An array of 2 elements has 1."},
        {R"({"type":1,"interpolation":0,"keys":[[0.1,"x"]]})", "type must be number, but is string"},
        {R"({"type":1,"interpolation":0,"keys":[[0.1,null]]})", "type must be number, but is null"},
        {R"({"type":1,"interpolation":0,"keys":[[0.1,1e300]]})", "out of the range of a float"},
        {R"({"type":1e99,"interpolation":0,"keys":[]})", "out of the range of an integer"},
        {deep, "nested deeper than"},
    };
    for (const auto& [text, message] : cases) {
        Ramp ramp;
        EXPECT_THAT(MessageOf([&, &json = text] { ramp.FromJSON(json); }), testing::HasSubstr(message))
            << text.substr(0, 80);
        EXPECT_TRUE(ramp.IsEqual(Ramp()));
    }
}

TEST(Ramp, InterpolatesKeyByKey) {
    const auto interpolate = [](const Ramp& a, const Ramp& b, float t) {
        const auto result = a.MakeInterpolated(b, t);
        return dynamic_cast<const Ramp&>(*result);
    };
    const Ramp a = MakeRamp(Ramp::kStep, {{0.0F, 0.0F}, {1.0F, 1.0F}});
    const Ramp b = MakeRamp(Ramp::kLinear, {{0.5F, 1.0F}, {1.0F, 0.0F}, {2.0F, 0.5F}});
    const Ramp blend = interpolate(a, b, 0.25F);
    EXPECT_EQ(blend.keys, (Keys{{0.125F, 0.25F}, {1.0F, 0.75F}, {1.25F, 0.875F}}));  // a's last key stands in
    EXPECT_EQ(blend.interpolation, Ramp::kStep);
    EXPECT_EQ(interpolate(b, a, 0.75F).keys, blend.keys);
    EXPECT_EQ(interpolate(a, MakeRamp(0, {}), 0.25F).keys, (Keys{{0.0F, 0.25F}, {1.0F, 1.0F}}));
    EXPECT_TRUE(interpolate(MakeRamp(0, {}), MakeRamp(0, {}), 0.5F).keys.empty());
    EXPECT_THROW((void)a.MakeInterpolated(b, std::nanf("")), zeb::Exception);
    EXPECT_THROW((void)a.MakeInterpolated(zeb::Gradient(), 0.5F), zeb::Exception);
}

}  // namespace
