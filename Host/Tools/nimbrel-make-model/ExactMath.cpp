#include "ExactMath.h"

#include <algorithm>
#include <cmath>

namespace nimbrel::maker {
namespace {

constexpr double kLog2 = 0.69314718055994530942;

// x^n / n! terms, highest first, of the sine (n odd) or cosine (n even).
double TrigonometricSeries(double x, int highest) {
    double sum = 1.0;
    for (int n = highest; n >= 2; n -= 2) sum = 1.0 - sum * x * x / (n * (n - 1));
    return sum;
}

std::uint64_t Mix(std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
}

double Fraction(double x) { return x - std::floor(x); }

}  // namespace

double Sin(double x) {
    const double turns = std::floor(x / (2.0 * kPi) + 0.5);
    const double r = x - turns * (2.0 * kPi);
    // Half the angle keeps the series short.
    const double h = 0.5 * r;
    return 2.0 * (h * TrigonometricSeries(h, 17)) * TrigonometricSeries(h, 18);
}

double Cos(double x) { return Sin(x + 0.5 * kPi); }

double Exp(double x) {
    if (x < -700.0) return 0.0;
    const double power = std::floor(x / kLog2 + 0.5);
    const double r = x - power * kLog2;
    double sum = 1.0;
    for (int n = 14; n >= 1; --n) sum = 1.0 + sum * r / n;
    return std::ldexp(sum, static_cast<int>(power));
}

double Log(double x) {
    int exponent = 0;
    const double mantissa = std::frexp(x, &exponent);
    const double t = (mantissa - 0.75) / (mantissa + 0.75);
    double sum = 0.0;
    for (int n = 25; n >= 1; n -= 2) sum = sum * t * t + 1.0 / n;
    constexpr double kLogThreeQuarters = -0.28768207245178092744;
    return 2.0 * t * sum + kLogThreeQuarters + exponent * kLog2;
}

double SmoothStep(double from, double to, double x) {
    const double t = std::clamp((x - from) / (to - from), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

Random::Random(std::uint64_t seed, std::uint64_t stream) : mState(Mix(seed * 0x9E3779B97F4A7C15u + 1) ^ Mix(stream)) {}

std::uint64_t Random::Next() { return Mix(mState += 0x9E3779B97F4A7C15u); }

double Random::Uniform() { return static_cast<double>(Next() >> 11) * 0x1p-53; }

double Random::Normal() {
    // The sum of four uniform numbers, brought to unit variance.
    double sum = -2.0;
    for (int i = 0; i < 4; ++i) sum += Uniform();
    return sum * 1.7320508075688772;
}

glm::dvec3 Random::NormalVector() { return glm::dvec3{Normal(), Normal(), Normal()}; }

glm::dvec2 EvenPoint(std::uint64_t index) {
    const auto n = static_cast<double>(index + 1);
    return {Fraction(0.5 + n * 0.7548776662466927), Fraction(0.5 + n * 0.5698402909980532)};
}

}  // namespace nimbrel::maker
