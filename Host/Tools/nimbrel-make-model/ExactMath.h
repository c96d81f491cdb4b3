#pragma once

#include <cstdint>

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

/// Arithmetic that gives the same bits everywhere: only + - * / and square roots, no library functions.
/// Compilers may evaluate the operands of one expression in any order, so no two random numbers are drawn
/// in one expression, but for lists in braces.
namespace nimbrel::maker {

inline constexpr double kPi = 3.14159265358979323846;

/// Within 1e-13 for arguments of everyday size.
double Sin(double x);
double Cos(double x);
double Exp(double x);
double Log(double x);

/// 0 up to `from`, 1 from `to` on, smooth between.
double SmoothStep(double from, double to, double x);

/// Numbers that follow from their seed alone (splitmix64; Steele, Lea, Flood, "Fast Splittable Pseudorandom
/// Number Generators", 2014).
class Random {
public:
    Random(std::uint64_t seed, std::uint64_t stream);

    double Uniform();  ///< 0 to below 1.
    double Between(double low, double high) { return low + (high - low) * Uniform(); }
    double Normal();  ///< Near to a unit normal, never beyond 3.5.
    glm::dvec3 NormalVector();

private:
    std::uint64_t Next();

    std::uint64_t mState;
};

/// Member `index` of an evenly spread sequence over the unit square (M. Roberts, "The Unreasonable
/// Effectiveness of Quasirandom Sequences", 2018).
glm::dvec2 EvenPoint(std::uint64_t index);

}  // namespace nimbrel::maker
