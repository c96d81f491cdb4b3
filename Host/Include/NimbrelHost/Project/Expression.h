#pragma once

#include <cstdint>
#include <glm/vec3.hpp>
#include <string>
#include <string_view>

#include "NimbrelHost/Project/Project.h"

namespace nimbrel::host {

/// What an expression works on.
struct ExpressionInput {
    glm::dvec3 mValue{0};    ///< of the property before the expression; a number is in x
    bool mIsVector = false;  ///< whether the property has three numbers
    double mSeconds = 0;
    std::uint64_t mSeed = 0;  ///< of `Math.random`
};

/// Runs an expression and gives the property's value. Expressions are ECMAScript statements without loops and functions
/// of their own; +, - and * with numbers work on arrays too, part by part. They have `value`, `time`, `thisComp.layer`
/// (by name, or by number from 1), of layers `toWorld`, `toWorldVec`, `fromWorld`, `fromWorldVec` and `transform`
/// (`position`, `scale`, `orientation`, `xRotation`, `yRotation`, `zRotation`), `length`, `normalize`, `dot`, `cross`,
/// `clamp`, `radiansToDegrees`, `degreesToRadians`, `Math`, and of ECMAScript's what makes no code of texts. They are
/// stopped at the limits of RunExpressionScript. Any thread. Throws as that does.
glm::dvec3 RunExpression(const std::string& text, const Project& project, const ExpressionInput& input);

/// The expression as plain ECMAScript: arithmetic becomes calls of functions that know arrays. Throws ScriptError
/// for what expressions here cannot have.
std::string TranslateExpression(std::string_view text);

}  // namespace nimbrel::host
