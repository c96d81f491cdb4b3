#pragma once

#include <array>

#include <glm/vec3.hpp>

namespace nimbrel::maker {

/// A splat's colour over all directions as real spherical harmonics up to degree 3, in the basis and with
/// the signs of splat files. Built from parts that are symmetric about an axis, by the addition theorem.
class HarmonicColor {
public:
    static constexpr int kCount = 16;

    explicit HarmonicColor(int degree) : mDegree(degree) {}

    void Add(const glm::dvec3& color);

    /// Adds `color(c)`, c being the cosine between the surface's normal and the direction to the viewer.
    /// The fit is to what a viewer in front of the surface sees, as well as the degree allows.
    template <class Function>
    void AddFacing(const glm::dvec3& normal, const Function& color) {
        std::array<glm::dvec3, 4> samples;
        for (int k = 0; k <= mDegree; ++k) samples[k] = color(FacingNode(k));
        AddFacingSamples(normal, samples);
    }

    /// Adds a highlight seen from `direction` (from the splat, unit length), of a width of about 1 / sqrt(sharpness).
    void AddHighlight(const glm::dvec3& direction, const glm::dvec3& color, double sharpness);

    /// Coefficient as files hold it: the constant one is f_dc, which the reader adds to one half.
    glm::dvec3 GetFileCoefficient(int index) const;

private:
    double FacingNode(int k) const;
    void AddFacingSamples(const glm::dvec3& normal, const std::array<glm::dvec3, 4>& samples);
    void AddZonal(const glm::dvec3& axis, const std::array<glm::dvec3, 4>& legendre);

    int mDegree;
    std::array<glm::dvec3, kCount> mCoefficients{};
};

}  // namespace nimbrel::maker
