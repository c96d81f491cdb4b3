#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include "Nimbrel/ShaderConstants.h"

/// The Gaussian of a splat, and its ellipse on the screen (Zwicker et al., "EWA Volume Splatting", 2001).
namespace nimbrel::cpu {

/// Rotation times scale, by rows. Column k is the splat's k-th axis, as long as its standard deviation.
struct SplatAxes {
    glm::vec3 mRows[3];
};

/// A symmetric 3 by 3 matrix.
struct Covariance3 {
    float m00, m01, m02, m11, m12, m22;

    glm::vec3 Multiply(const glm::vec3& v) const;
};

/// The symmetric matrix (a b; b c), in square pixels.
struct Covariance2 {
    float a, b, c;
};

/// Semi-axes of the screen ellipse in pixels, y down; at most 4096 long.
struct ScreenAxes {
    glm::vec2 mMajor;
    glm::vec2 mMinor;
};

/// `rotation` is a quaternion with its vector part first.
SplatAxes MakeSplatAxes(const glm::vec4& rotation, const glm::vec3& scale);

/// Covariance of the splat resized by `size`.
Covariance3 MakeCovariance(const SplatAxes& axes, float size);

/// Projection of the covariance at asset position `position`, linearised there; 0.3 square pixels are added
/// along the diagonal as a low-pass filter.
Covariance2 ProjectCovariance(const gpu::CalcViewDataConstants& constants, const glm::vec3& position,
                              const Covariance3& covariance);

/// Eigenvectors of the ellipse, each sqrt(2 * eigenvalue) long. NaN where b is 0 and a >= c: no direction is found.
ScreenAxes MakeScreenAxes(const Covariance2& covariance);

/// Height of the highest corner of the box of twice the splat's axes around it, in aligned space.
float HighestCorner(const glm::mat4& align, const glm::vec3& position, const SplatAxes& axes);

}  // namespace nimbrel::cpu
