// The script environment, each binding against the same arithmetic in C++.
#include "PluginBase/Script/JSContext.h"

#include <duktape.h>
#include <gmock/gmock.h>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>
#include <nlohmann/json.hpp>

#include "Parameters/TestSupport.h"

namespace {

using nlohmann::json;

/// Runs the text and returns the JSON of its last expression; an error is its text, "undefined" is null.
json Evaluate(const zeb::JSContext& context, const std::string& code) {
    duk_context* stack = context.Get();
    const duk_idx_t top = duk_get_top(stack);
    json result;
    if (duk_peval_string(stack, code.c_str()) != 0) {
        result = std::string("error: ") + duk_safe_to_string(stack, -1);
    } else if (!duk_is_undefined(stack, -1)) {
        result = json::parse(duk_json_encode(stack, -1));
    }
    duk_set_top(stack, top);
    return result;
}

glm::mat4 EvaluateMatrix(const zeb::JSContext& context, const std::string& code) {
    const json result = Evaluate(context, code);
    EXPECT_TRUE(result.is_array() && result.size() == 16) << code << " gives " << result.dump();
    glm::mat4 matrix(0.0F);
    for (int i = 0; i < 16 && result.is_array(); ++i) matrix[i / 4][i % 4] = result.at(static_cast<std::size_t>(i));
    return matrix;
}

TEST(JSContext, Vectors) {
    const zeb::JSContext context;
    const std::pair<const char*, const char*> cases[] = {
        {"new vec2(1, 2)", "[1.0,2.0]"},
        {"new vec3(1, 2, 3)", "[1.0,2.0,3.0]"},
        {"new vec4(1, 2, 3, 4)", "[1.0,2.0,3.0,4.0]"},
        {"[new vec2(0, 0).length(), new vec3(0, 0, 0).length(), new vec4(0, 0, 0, 0).length()]", "[2,3,4]"},
        {"var v = new vec4(1, 2, 3, 4); v.x = 5; v.y *= 10; v.w = '7'; v", "[5.0,20.0,3.0,7.0]"},
        {"[v.x, v.y, v.z, v.w]", "[5.0,20.0,3.0,7.0]"},
        {"new vec2(1, 2).z === undefined", "true"},
        {"Array.isArray(new vec3(1, 2, 3).toJSON())", "true"},
        {"Object.keys(new vec3(1, 2, 3)).length", "0"},  // the data are hidden
        {"new vec3(1)", "[1.0,null,null]"},
        {"new vec3(1, 2, 3) instanceof vec3", "true"},
        {"delete vec3.prototype.z; new vec3(1, 2, 3).z === undefined", "true"},  // configurable
    };
    for (const auto& [code, expected] : cases) EXPECT_EQ(Evaluate(context, code), json::parse(expected)) << code;
    EXPECT_EQ(Evaluate(context, "new vec2(0.1, 0).x").get<double>(), static_cast<double>(0.1F))
        << "floats, not doubles";
}

TEST(JSContext, WrongUseIsAScriptError) {
    const zeb::JSContext context;
    for (const char* code : {"vec2(1, 2)", "vec3(1, 2, 3)", "vec4(1, 2, 3, 4)", "mat4x4()"})
        EXPECT_THAT(Evaluate(context, code).get<std::string>(), testing::StartsWith("error: TypeError")) << code;
    for (const char* code : {
             "vec3.prototype.length.call(5); vec3.prototype.toJSON.call(5)",
             "vec3.prototype.toJSON.call(new vec2(1, 2))",
             "vec3.prototype.toJSON.call(undefined)",
             "Object.getOwnPropertyDescriptor(vec4.prototype, 'w').get.call(new vec3(1, 2, 3))",
             "new mat4x4().setMul(new mat4x4(), 5)",
             "new mat4x4().mulBy(new vec4(1, 2, 3, 4))",
             "new vec3(1, 2, {valueOf: function() { throw new Error('no'); }})",
             "ParameterCurrentValueGetter.Get(0)",
         })
        EXPECT_THAT(Evaluate(context, code).get<std::string>(), testing::StartsWith("error: ")) << code;
    EXPECT_EQ(Evaluate(context, "1 + 1"), 2);
}

TEST(JSContext, MatricesMatchGlm) {
    const zeb::JSContext context;
    const glm::mat4 identity(1.0F);
    const glm::vec3 v(1.5F, -2.0F, 0.25F), xAxis(1, 0, 0), yAxis(0, 1, 0), zAxis(0, 0, 1);
    const glm::mat4 m = glm::rotate(glm::translate(identity, glm::vec3(1, 2, 3)), 0.5F, yAxis);
    const glm::mat4 s = glm::scale(identity, glm::vec3(2, 3, 4));
    const std::string make =
        "var m = mat4x4.makeTranslate(1, 2, 3); m.rotateY(0.5); var s = mat4x4.makeScale(2, 3, 4); ";
    const std::pair<const char*, glm::mat4> cases[] = {
        {"new mat4x4()", glm::mat4(0.0F)},
        {"mat4x4.makeIdentity()", identity},
        {"mat4x4.makeScale(1.5, -2, 0.25)", glm::scale(identity, v)},
        {"mat4x4.makeTranslate(1.5, -2, 0.25)", glm::translate(identity, v)},
        {"mat4x4.makeRotateX(0.7)", glm::rotate(identity, 0.7F, xAxis)},
        {"mat4x4.makeRotateY(0.7)", glm::rotate(identity, 0.7F, yAxis)},
        {"mat4x4.makeRotateZ(0.7)", glm::rotate(identity, 0.7F, zAxis)},
        {"m", m},
        {"m.scale(2, 3, 4); m", m * s},
        {"m.rotateX(0.3); m", glm::rotate(identity, 0.3F, xAxis)},  // the old contents are lost
        {"m.rotateZ(0.3); m", glm::rotate(m, 0.3F, zAxis)},
        {"m.translate(4, 5, 6); m", glm::translate(m, glm::vec3(4, 5, 6))},
        {"m.setIdentity(); m", identity},
        {"m.setMul(s, m); m", s * m},
        {"m.mulBy(s); m", m * s},
        {"m.mulBy(s)", s},  // the argument comes back
        {"m.mulBy(m); m", m * m},
        {"var c = m.makeCopy(); m.setIdentity(); c", m},
    };
    for (const auto& [code, expected] : cases) {
        const glm::mat4 result = EvaluateMatrix(context, make + code);
        for (int i = 0; i < 16; ++i)
            EXPECT_NEAR(result[i / 4][i % 4], expected[i / 4][i % 4], 1e-6F) << code << " " << i;
    }
    // By hand: column 3 is the translation, and a quarter turn about z takes x to y.
    EXPECT_EQ(EvaluateMatrix(context, "mat4x4.makeTranslate(1, 2, 3)")[3], glm::vec4(1, 2, 3, 1));
    const glm::vec4 turned = EvaluateMatrix(context, "mat4x4.makeRotateZ(Math.PI / 2)") * glm::vec4(1, 0, 0, 1);
    EXPECT_NEAR(turned.x, 0.0F, 1e-6F);
    EXPECT_NEAR(turned.y, 1.0F, 1e-6F);
    EXPECT_EQ(Evaluate(context, "m.length()"), 16);
    EXPECT_EQ(Evaluate(context, "m.scale(1, 1, 1)"), json());
}

TEST(JSContext, CollectedGettersFreeWhatTheyHold) {
    const test::TextManager manager(test::Catalogue({test::Entry("Checkbox", 1)}));
    zeb::JSContext context;
    for (int i = 0; i < 1000; ++i) {  // a sanitizer sees what is not freed
        context.PushGetter(manager.GetDefaultValueGetter());
        duk_pop(context.Get());
    }
    duk_gc(context.Get(), 0);
    EXPECT_EQ(duk_get_top(context.Get()), 0);
}

}  // namespace
