#include "NimbrelHost/Scene/AnimationJson.h"

#include "TestSupport.h"

namespace nimbrel::host {
namespace {

Animation<double> Read(const std::string& text) {
    const Json json = ParseJson(text, "t");
    return ReadAnimation<double>(JsonView(json, "t"), [](const JsonView& view) { return view.Number(); });
}

TEST(Animation, HoldsOutsideAndMixesInside) {
    const Animation<double> linear = Read(R"({"keyframes": [[1, 10], [2, 20], [4, 0]]})");
    const Animation<double> held = Read(R"({"keyframes": [[1, 10], [2, 20], [4, 0]], "interpolation": "hold"})");
    const struct {
        double mSeconds, mLinear, mHeld;
    } cases[] = {{-5, 10, 10}, {1, 10, 10},  {1.25, 12.5, 10}, {2, 20, 20},
                 {3, 10, 20},  {3.5, 5, 20}, {4, 0, 0},        {9, 0, 0}};
    for (const auto& [seconds, expectedLinear, expectedHeld] : cases) {
        EXPECT_DOUBLE_EQ(Evaluate(linear, seconds), expectedLinear) << seconds;
        EXPECT_DOUBLE_EQ(Evaluate(held, seconds), expectedHeld) << seconds;
    }
    EXPECT_EQ(Evaluate(Read("7"), 123), 7);
}

TEST(Animation, WritesWhatItReads) {
    for (const char* text : {"3.5", R"({"keyframes":[[0.0,1.0],[2.0,5.0]]})",
                             R"({"keyframes":[[0.0,1.0],[2.0,5.0]],"interpolation":"hold"})"}) {
        EXPECT_EQ(WriteAnimation(Read(text), [](double value) { return Json(value); }).dump(), text);
    }
}

}  // namespace
}  // namespace nimbrel::host
