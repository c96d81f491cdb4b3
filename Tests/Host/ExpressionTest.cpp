#include "NimbrelHost/Project/Expression.h"

#include <gmock/gmock.h>

#include "HostInterface/HostInterface.h"
#include "NimbrelHost/Project/ScriptEngine.h"
#include "TestSupport.h"

namespace nimbrel::host {
namespace {

using ::testing::HasSubstr;

Project MakeProject() {
    Project project(Composition{}, std::nullopt);
    NullSetting null{"n", {}, {}, {}};
    null.mTransform.mPosition.mKeys = {{0, {10, 20, 30}}, {1, {20, 20, 30}}};
    null.mTransform.mRotation = Animation<glm::dvec3>::Constant({0, 0, 90});
    null.mTransform.mScale = Animation<glm::dvec3>::Constant({200, 100, 50});
    NullSetting flat{"nothing", {}, {}, {}};
    flat.mTransform.mScale = Animation<glm::dvec3>::Constant({0, 0, 0});
    project.AddNulls({null, flat});
    return project;
}

std::string GetScriptError(const std::function<void()>& action) {
    try {
        action();
    } catch (const ScriptError& error) {
        return error.what();
    }
    return "none";
}

TEST(Expression, Computes) {
    const Project project = MakeProject();
    const struct {
        const char* mText;
        double mExpected;
    } cases[] = {
        {"value", 3},
        {"value * 0.01 * 50", 1.5},
        {"2 - 1 - 1", 0},
        {"8 / 4 / 2", 1},
        {"1 + 2 * 3 % 4", 3},
        {"-(2 + 1) * -2", 6},
        {"(1 < 2 && 2 >= 2) ? 4 : 5", 4},
        {"1 == 1 || nowhere", 1},
        {"a = 4; b = a + 1; b *= 2; b", 10},
        {"var x = [1, 2], y = 5; x[1] + y", 7},
        {"if (value > 2) { 7 } else { 8 }", 7},
        {"if (value > 5)\n{\n  7\n}\nelse if (value > 2)\n{\n  v = 9\n  v + 1\n}\nelse 0", 10},
        {"// nothing\n/* more */ 'a' == \"a\"", 1},
        {"length([3, 4])", 5},
        {"length([1, 1, 1], [1, 1, 3])", 2},
        {"dot(normalize([0, 5, 0]), [1, 2, 3])", 2},
        {"cross([1, 0, 0], [0, 1, 0])[2]", 1},
        {"radiansToDegrees(Math.atan2(1, 1))", 45},
        {"clamp(7, 0, 5) + time", 5.5},
        {"thisComp.layer(\"n\").transform.scale[0]", 200},
        {"thisComp.layer(1).transform.zRotation", 90},
        {"thisComp.width + thisComp.layer(\"n\").toWorld([0, 0, 0])[0]", 1935},
        // x of the null, twice as long, is the world's y.
        {"thisComp.layer(\"n\").toWorldVec([1, 0, 0])[1]", 2},
        {"thisComp.layer(\"n\").fromWorldVec([0, 2, 0])[0]", 1},
        {"length(thisComp.layer(\"nothing\").fromWorldVec([1, 0, 0]))", 0},
        {"([1, 2, 3] * 2 + [1, 0])[0]", 3},
        {"(2 * [1, 2, 3] / 4 - [0, 1, 0])[2]", 1.5},
    };
    for (const auto& [text, expected] : cases) {
        try {
            EXPECT_NEAR(RunExpression(text, project, {{3, 0, 0}, false, 0.5}).x, expected, 1e-12) << text;
        } catch (const ScriptError& error) {
            ADD_FAILURE() << text << ": " << error.what();
        }
    }
    EXPECT_EQ(RunExpression("pos = [1, 1, 1];\nvalue + [pos[0] - 2, 0, 5];", project, {{1, 2, 3}, true, 0}),
              glm::dvec3(0, 2, 8));
    EXPECT_EQ(RunExpression("[7, 8]", project, {{1, 2, 3}, true, 0}), glm::dvec3(7, 8, 3)) << "z stays";
}

TEST(Expression, SaysWhyItFails) {
    const Project project = MakeProject();
    const struct {
        const char* mText;
        const char* mMessage;
    } cases[] = {
        {"thisComp.layer(\"gone\")", "there is no layer \"gone\""},
        {"value + [1]", "an array and a number cannot be added"},
        {"[1] * [2]", "two arrays cannot be multiplied"},
        {"[1, 2]", "it gives no number"},
        {"0 / 0", "it gives no number"},
        {"", "it gives no number"},
        {"nothing", "ReferenceError"},
        {"1 +", "it ends too early"},
        {"{ 1", "it ends too early"},
        {"1 2", "\"2\" is not expected there"},
        {"(1", "it ends too early"},
        {"while (true) {}", "\"while\" is not expected there"},
        {"for (;;) {}", "\"for\" is not expected there"},
        {"a = function () {}", "\"function\" is not expected there"},
        {"'abc", "a text has no end"},
        {"1 /* x", "a comment has no end"},
        {"@", "\"@\" is not expected there"},
    };
    for (const auto& [text, message] : cases) {
        const std::string error = GetScriptError([&, t = text] { RunExpression(t, project, {{3, 0, 0}, false, 0}); });
        EXPECT_THAT(error, HasSubstr(message)) << text;
    }
    const std::string deep(5000, '(');
    EXPECT_THAT(GetScriptError([&] { TranslateExpression(deep); }), HasSubstr("nested too deeply"));
}

TEST(DialogScript, ShowsItsTexts) {
    const ScriptOutcome outcome = RunDialogScript(
        "var w = new Window(\"dialog\", \"A \\\"title\\\"\", undefined, { resizeable : true })\n"
        "var h = w.add('edittext {properties: {multiline: true}}')\nh.text = \"one\\ntwo\"\n"
        "w.add(\"button\", undefined, \"OK\")\nw.layout.layout()\nw.show()");
    ASSERT_EQ(outcome.mDialogs.size(), 1U);
    EXPECT_EQ(outcome.mDialogs[0].mTitle, "A \"title\"");
    EXPECT_EQ(outcome.mDialogs[0].mText, "one\ntwo") << "buttons are no text";
    EXPECT_EQ(outcome.mResult, "1");
    EXPECT_THAT(GetScriptError([] { RunDialogScript("app.quit()"); }), HasSubstr("ReferenceError"));
    EXPECT_THAT(GetScriptError([] { RunDialogScript("var ="); }), HasSubstr("SyntaxError"));
}

}  // namespace
}  // namespace nimbrel::host
