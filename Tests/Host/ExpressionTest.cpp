#include "NimbrelHost/Project/Expression.h"

#include <gmock/gmock.h>

#include <chrono>
#include <set>

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
        {"a = [1, 2]; a[a[0]] += 5; a.n = 2; a['n'] *= a[1]; (a.n) -= 1; a.n", 13},
        {"i = [0, 0]; a = [1, 2]; a[i[0] += 1] += 3; a[0] * 100 + a[1] * 10 + i[0]", 151},
        {"var add = 4, mul = 2; value + add * mul", 11},
        {"[3, 1, 2].sort()[0] + 'abcd'.split('').length + \"x,y\".indexOf(',') + value.toFixed(1).length", 9},
        {"JSON.stringify([1, [2]]).length + Object.keys(thisComp).length", 11},
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
        {"1 + 2 += 3", "nothing can be assigned to what stands before +="},
        {"$$add", "\"$$add\" is not expected there"},
        // No code from texts, and no way round a length.
        {"eval('1')", "identifier 'eval' undefined"},
        {"(0).constructor.constructor('for (;;) {}')()", "TypeError"},
        {"thisComp.layer.constructor('for (;;) {}')()", "TypeError"},
        {"Math.abs.call.constructor('return 1')()", "TypeError"},
        {"Duktape.fin(value, Math.abs)", "identifier 'Duktape' undefined"},
        {"Reflect.construct(Proxy, [])", "identifier 'Reflect' undefined"},
        {"RegExp('(a*)*b')", "identifier 'RegExp' undefined"},
        {"'a'.match('(a*)*b')", "TypeError"},
        {"Object.defineProperty(Math, 'length', Math)", "TypeError"},
        {"a = Object(1); b = Object(2); b.valueOf = Math.abs; a.length = b; [].map.call(a, Math.abs)",
         "must be a number"},
        // The limits.
        {"Array(1e9).join()", "it takes more than 10 million steps"},
        {"JSON.stringify(1, Math.abs, Array(1e9).concat('a'))", "it takes more than 10 million steps"},
        {"a = Array(1e4).join('a').split('a'); f = a.map.bind(a, a.indexOf, a); a.map(a.map.bind(a, f))",
         "10 million steps"},
        {"a = Array(1e6).join('a'); (a + a + a).lastIndexOf(a + 'b')", "it takes more than 10 million steps"},
        {"a = Array(1e6).join(' '); a = [a, a, a, a, a, a, a, a, a]; JSON.stringify([a, a, a, a, a, a, a, a, a])",
         "it takes more than 64 MB of memory"},
        {"a = 'aa'; a.repeat(1e9)", "it takes more than 64 MB of memory"},
        {"a = []; a.toString = Math.max.bind(Math, a); Math.abs(a)", "RangeError"},
    };
    const auto start = std::chrono::steady_clock::now();
    for (const auto& [text, message] : cases) {
        const std::string error = GetScriptError([&, t = text] { RunExpression(t, project, {{3, 0, 0}, false, 0}); });
        EXPECT_THAT(error, HasSubstr(message)) << text;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60)) << "far below what each could take";
    const std::string deep(5000, '(');
    EXPECT_THAT(GetScriptError([&] { TranslateExpression(deep); }), HasSubstr("nested too deeply"));
}

// Copies of a target within another would double the text at each level.
TEST(Expression, AssignmentsOfManyLevelsStayShort) {
    std::string text = "a[0]";
    for (int i = 0; i < 25; ++i) text = "a[" + text + " += 1]";
    EXPECT_LT(TranslateExpression(text).size(), 5000U);
}

TEST(Expression, RandomNumbersComeFromTheSeed) {
    const Project project = MakeProject();
    const auto draw = [&](std::uint64_t seed) {
        return RunExpression("[Math.random(), Math.random(), Math.random()]", project, {{}, true, 0, seed});
    };
    EXPECT_EQ(draw(1), draw(1));
    std::set<double> all;
    for (std::uint64_t seed = 0; seed < 50; ++seed) {
        for (int i = 0; i < 3; ++i) all.insert(draw(seed)[i]);
    }
    EXPECT_EQ(all.size(), 150U);
    EXPECT_TRUE(*all.begin() >= 0 && *all.begin() < 0.1 && *all.rbegin() < 1 && *all.rbegin() > 0.9);
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
    for (const char* const endless :
         {"for (;;);", "try { for (;;); } finally { for (;;); }", "shownDialogs.toJSON = function () { for (;;); }",
          "throw {toString: function () { for (;;); }}"})
        EXPECT_THAT(GetScriptError([&] { RunDialogScript(endless); }), HasSubstr("10 million steps")) << endless;
    EXPECT_THAT(GetScriptError([] { RunDialogScript("a = []; for (;;) a.push([]);"); }), HasSubstr("64 MB"));
    EXPECT_THAT(GetScriptError([] { RunDialogScript("shownDialogs = 1; ''"); }), HasSubstr("replaces"));
}

}  // namespace
}  // namespace nimbrel::host
