#include "NimbrelHost/Project/Expression.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <glm/matrix.hpp>

#include "NimbrelHost/Project/ScriptEngine.h"

namespace nimbrel::host {
namespace {

// Matrices come as 16 numbers by columns. A vector may lack its z.
constexpr const char* kPrelude = R"(
var value = data.value, time = data.time;
function isList(a) { return a instanceof Array; }
function parts(a, b, f) {
    if (!isList(a) && !isList(b)) return f(a, b);
    if (!isList(a) || !isList(b)) throw new Error("an array and a number cannot be added");
    var r = [];
    for (var i = 0; i < Math.max(a.length, b.length); ++i) r.push(f(i < a.length ? a[i] : 0, i < b.length ? b[i] : 0));
    return r;
}
function add(a, b) { return parts(a, b, function (x, y) { return x + y; }); }
function sub(a, b) { return parts(a, b, function (x, y) { return x - y; }); }
function mul(a, b) {
    if (isList(a) && isList(b)) throw new Error("two arrays cannot be multiplied");
    if (isList(b)) return $$mul(b, a);
    return isList(a) ? a.map(function (x) { return x * b; }) : a * b;
}
function div(a, b) {
    if (isList(b)) throw new Error("nothing can be divided by an array");
    return isList(a) ? a.map(function (x) { return x / b; }) : a / b;
}
function dot(a, b) { var s = 0; for (var i = 0; i < a.length; ++i) s += a[i] * b[i]; return s; }
function cross(a, b) {
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]];
}
function length(a, b) {
    var v = b === undefined ? a : sub(b, a);
    return isList(v) ? Math.sqrt(dot(v, v)) : Math.abs(v);
}
function normalize(a) { return div(a, length(a)); }
function clamp(x, low, high) { return Math.min(Math.max(x, low), high); }
function radiansToDegrees(x) { return x * 180 / Math.PI; }
function degreesToRadians(x) { return x * Math.PI / 180; }
function apply(m, v, w) {
    var r = [];
    for (var i = 0; i < 3; ++i) r.push(m[i] * v[0] + m[i + 4] * v[1] + m[i + 8] * (v[2] || 0) + m[i + 12] * w);
    return r;
}
// What operators become; a script that has its own meaning for the names above changes nothing here.
var $$add = add, $$sub = sub, $$mul = mul, $$div = div;
data.layers.forEach(function (layer) {
    layer.toWorld = function (p) { return apply(layer.matrix, p, 1); };
    layer.toWorldVec = function (v) { return apply(layer.matrix, v, 0); };
    layer.fromWorld = function (p) { return apply(layer.inverse, p, 1); };
    layer.fromWorldVec = function (v) { return apply(layer.inverse, v, 0); };
    layer.position = layer.transform.position;
    layer.scale = layer.transform.scale;
});
var thisComp = {
    width: data.width, height: data.height, numLayers: data.layers.length,
    layer: function (which) {
        for (var i = 0; i < data.layers.length; ++i)
            if (data.layers[i].name === which || i + 1 === which) return data.layers[i];
        throw new Error("there is no layer " + JSON.stringify(which));
    }
};
)";

// Far beyond what anybody writes; what is longer would cost memory before any limit counts.
constexpr std::size_t kMaxText = 1'000'000;

Json ToJson(const glm::dvec3& vector) { return Json::array({vector.x, vector.y, vector.z}); }

Json ToJson(const glm::dmat4& matrix) {
    Json json = Json::array();
    for (int i = 0; i < 16; ++i) json.push_back(matrix[i / 4][i % 4]);
    return json;
}

// A layer scaled to nothing has no way back: everything comes to the origin.
Json DescribeLayer(const Layer& layer, double seconds) {
    const glm::dmat4 matrix = layer.ToWorld(seconds);
    const bool invertible = std::abs(glm::determinant(matrix)) > 1e-30;
    const Pose pose = layer.GetPose(seconds);
    return {{"name", layer.mName},
            {"matrix", ToJson(matrix)},
            {"inverse", ToJson(invertible ? glm::inverse(matrix) : glm::dmat4(0))},
            {"transform",
             {{"position", ToJson(pose.mPosition)},
              {"scale", ToJson(pose.mScale)},
              {"orientation", ToJson(pose.mOrientation)},
              {"xRotation", pose.mRotation.x},
              {"yRotation", pose.mRotation.y},
              {"zRotation", pose.mRotation.z}}}};
}

}  // namespace

glm::dvec3 RunExpression(const std::string& text, const Project& project, const ExpressionInput& input) {
    if (text.size() > kMaxText) throw ScriptError(fmt::format("it is longer than {} characters", kMaxText));
    Json data = {{"time", input.mSeconds},
                 {"width", project.GetComposition().mWidth},
                 {"height", project.GetComposition().mHeight},
                 {"layers", Json::array()}};
    data["value"] = input.mIsVector ? ToJson(input.mValue) : Json(input.mValue.x);
    for (const auto& layer : project.GetLayers()) data["layers"].push_back(DescribeLayer(*layer, input.mSeconds));
    const auto result = RunExpressionScript(kPrelude, data, TranslateExpression(text), input.mSeed);

    glm::dvec3 value = input.mValue;
    const std::size_t count = result ? result->mNumbers.size() : 0;
    if (!input.mIsVector) {
        if (count != 1 || result->mIsList || !std::isfinite(result->mNumbers.front()))
            throw ScriptError("it gives no number");
        value.x = result->mNumbers.front();
        return value;
    }
    if (count < 2 || !result->mIsList) throw ScriptError("it gives no point");
    for (std::size_t i = 0; i < count; ++i) {
        if (!std::isfinite(result->mNumbers[i])) throw ScriptError("it gives no point");
        value[static_cast<int>(i)] = result->mNumbers[i];
    }
    return value;
}

}  // namespace nimbrel::host
