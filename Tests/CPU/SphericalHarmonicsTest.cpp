#include <cmath>
#include <numbers>
#include <random>
#include <utility>

#include <gtest/gtest.h>
#include <glm/geometric.hpp>

#include "Nimbrel/CPU/SphericalHarmonics-inl.h"

namespace nimbrel::cpu {
namespace {

glm::vec3 Evaluate(const glm::vec3& color, const glm::vec3* sh, const glm::vec3& direction, std::int32_t order) {
    using namespace HWY_NAMESPACE;
    const auto from = [](const glm::vec3& v) { return Vec3<float>{v.x, v.y, v.z}; };
    const Vec3<float> seen = EvaluateSH(
        from(color), [&](int i) { return from(sh[i]); }, from(direction), order);
    return {seen.x, seen.y, seen.z};
}

/// Real spherical harmonic with the Condon-Shortley phase, from its definition by associated Legendre functions.
double RealHarmonic(int degree, int order, double theta, double phi) {
    const int m = std::abs(order);
    double factorials = 1.0;
    for (int i = degree - m + 1; i <= degree + m; ++i) factorials /= i;
    const double norm = std::sqrt((2 * degree + 1) / (4.0 * std::numbers::pi) * factorials);
    const double phase = m % 2 == 0 ? 1.0 : -1.0;
    const double legendre =
        phase * std::assoc_legendre(static_cast<unsigned>(degree), static_cast<unsigned>(m), std::cos(theta));
    if (order == 0) return norm * legendre;
    return std::sqrt(2.0) * norm * legendre * (order > 0 ? std::cos(m * phi) : std::sin(m * phi));
}

TEST(SphericalHarmonics, AreThoseOfTheDefinitionSeenFromTheSplat) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int round = 0; round < 50; ++round) {
        // The definition's direction runs from the camera to the splat, the program's the other way.
        const double theta = unit(random) * std::numbers::pi;
        const double phi = unit(random) * 2.0 * std::numbers::pi;
        const glm::vec3 direction(-std::sin(theta) * std::cos(phi), -std::sin(theta) * std::sin(phi), -std::cos(theta));
        int index = 0;
        for (int degree = 1; degree <= 3; ++degree) {
            for (int order = -degree; order <= degree; ++order, ++index) {
                glm::vec3 sh[15] = {};
                sh[index] = {1.0F, -1.0F, 0.5F};
                const double y = RealHarmonic(degree, order, theta, phi);
                const glm::vec3 color = Evaluate(glm::vec3(2.0F), sh, direction, 3);
                EXPECT_NEAR(color.x, 2.0 + y, 2e-6) << degree << " " << order;
                EXPECT_NEAR(color.y, 2.0 - y, 2e-6) << degree << " " << order;
                EXPECT_NEAR(color.z, 2.0 + 0.5 * y, 2e-6) << degree << " " << order;
            }
        }
    }
}

TEST(SphericalHarmonics, OrderSelectsDegrees) {
    glm::vec3 sh[15];
    for (glm::vec3& coefficient : sh) coefficient = glm::vec3(1.0F);
    const glm::vec3 up(0.0F, 0.0F, -1.0F);
    // Along -z only the order-0 harmonics answer: 0.4886, 0.6308 and 0.7464 for degree 1 to 3.
    const float sums[] = {1.0F, 1.48860F, 2.11939F, 2.86574F};
    for (const auto& [order, degrees] : {std::pair(-5, 0), {0, 0}, {1, 1}, {2, 2}, {3, 3}, {9, 3}}) {
        EXPECT_NEAR(Evaluate(glm::vec3(1.0F), sh, up, order).x, sums[degrees], 1e-5) << order;
    }
}

TEST(SphericalHarmonics, NegativeLightIsCut) {
    const glm::vec3 sh[15] = {};
    EXPECT_EQ(Evaluate({-0.5F, 0.25F, -0.0F}, sh, {0.0F, 0.0F, 1.0F}, 3), glm::vec3(0.0F, 0.25F, 0.0F));
}

}  // namespace
}  // namespace nimbrel::cpu
