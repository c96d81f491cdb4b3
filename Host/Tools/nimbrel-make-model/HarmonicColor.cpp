#include "HarmonicColor.h"

#include "ExactMath.h"

namespace nimbrel::maker {
namespace {

constexpr double kConstant = 0.28209479177387814;  // The harmonic of degree 0.

// Nodes of Chebyshev's polynomials on 0..1 by degree of the fit: interpolation there is near to the best fit.
constexpr double kNodes[4][4] = {{0.55},
                                 {0.85355339059327373, 0.14644660940672624},
                                 {0.93301270189221930, 0.5, 0.06698729810778070},
                                 {0.96193976625564337, 0.69134171618254492, 0.30865828381745511, 0.03806023374435663}};

std::array<double, HarmonicColor::kCount> EvaluateBasis(const glm::dvec3& d) {
    const double x = d.x, y = d.y, z = d.z;
    const double xx = x * x, yy = y * y, zz = z * z;
    return {kConstant,
            -0.48860251190291992 * y,
            0.48860251190291992 * z,
            -0.48860251190291992 * x,
            1.0925484305920792 * x * y,
            -1.0925484305920792 * y * z,
            0.31539156525252005 * (2.0 * zz - xx - yy),
            -1.0925484305920792 * x * z,
            0.54627421529603959 * (xx - yy),
            -0.59004358992664352 * y * (3.0 * xx - yy),
            2.8906114426405538 * x * y * z,
            -0.45704579946446572 * y * (4.0 * zz - xx - yy),
            0.37317633259011546 * z * (2.0 * zz - 3.0 * xx - 3.0 * yy),
            -0.45704579946446572 * x * (4.0 * zz - xx - yy),
            1.4453057213202769 * z * (xx - yy),
            -0.59004358992664352 * x * (xx - 3.0 * yy)};
}

// Legendre coefficients of exp(sharpness * (c - 1)), by the midpoint rule.
std::array<double, 4> ProjectHighlight(double sharpness) {
    constexpr int kSteps = 64;
    std::array<double, 4> sums{};
    for (int i = 0; i < kSteps; ++i) {
        const double c = (i + 0.5) * (2.0 / kSteps) - 1.0;
        const double value = Exp(sharpness * (c - 1.0)) / kSteps;
        const std::array<double, 4> polynomials = {1.0, c, 1.5 * c * c - 0.5, (2.5 * c * c - 1.5) * c};
        for (int l = 0; l < 4; ++l) sums[l] += (2 * l + 1) * value * polynomials[l];
    }
    return sums;
}

}  // namespace

void HarmonicColor::Add(const glm::dvec3& color) { mCoefficients[0] += color / kConstant; }

double HarmonicColor::FacingNode(int k) const { return kNodes[mDegree][k]; }

void HarmonicColor::AddFacingSamples(const glm::dvec3& normal, const std::array<glm::dvec3, 4>& samples) {
    // Newton's divided differences, then expanded to powers of c.
    const double* nodes = kNodes[mDegree];
    std::array<glm::dvec3, 4> differences = samples;
    for (int order = 1; order <= mDegree; ++order) {
        for (int k = mDegree; k >= order; --k)
            differences[k] = (differences[k] - differences[k - 1]) / (nodes[k] - nodes[k - order]);
    }
    std::array<glm::dvec3, 4> powers{};
    for (int k = mDegree; k >= 0; --k) {
        for (int j = 3; j >= 1; --j) powers[j] = powers[j - 1] - powers[j] * nodes[k];
        powers[0] = differences[k] - powers[0] * nodes[k];
    }
    const std::array<glm::dvec3, 4> legendre = {powers[0] + powers[2] / 3.0, powers[1] + powers[3] * 0.6,
                                                powers[2] * (2.0 / 3.0), powers[3] * 0.4};
    AddZonal(-normal, legendre);
}

void HarmonicColor::AddHighlight(const glm::dvec3& direction, const glm::dvec3& color, double sharpness) {
    const std::array<double, 4> projected = ProjectHighlight(sharpness);
    std::array<glm::dvec3, 4> legendre;
    for (int l = 0; l < 4; ++l) legendre[l] = color * projected[l];
    AddZonal(-direction, legendre);
}

// Files take directions from the viewer to the splat, so axes point away from the viewer.
void HarmonicColor::AddZonal(const glm::dvec3& axis, const std::array<glm::dvec3, 4>& legendre) {
    const std::array<double, kCount> basis = EvaluateBasis(axis);
    for (int l = 0; l <= mDegree; ++l) {
        const glm::dvec3 weight = legendre[l] * (4.0 * kPi / (2 * l + 1));
        for (int k = l * l; k < (l + 1) * (l + 1); ++k) mCoefficients[k] += weight * basis[k];
    }
}

glm::dvec3 HarmonicColor::GetFileCoefficient(int index) const {
    return index == 0 ? mCoefficients[0] - glm::dvec3(0.5 / kConstant) : mCoefficients[index];
}

}  // namespace nimbrel::maker
