#include "Nimbrel/CPU/SplatShape.h"

#include <cmath>

#include "Render/CPU/Arithmetic.h"

namespace nimbrel::cpu {
namespace {

using namespace zeb::render::cpu;

constexpr float kLowPass = 0.3F;
constexpr float kLeastMinorEigenvalue = 0.1F;
constexpr float kLongestAxis = 4096.0F;
/// Beyond this share of the half angle of view the linearisation point stays put.
constexpr float kViewLimit = 1.3F;

glm::vec3 Row3(const glm::mat4& matrix, int row) { return {matrix[0][row], matrix[1][row], matrix[2][row]}; }

Covariance2 Project(const Covariance3& covariance, const glm::vec3& t0, const glm::vec3& t1) {
    const glm::vec3 v0 = covariance.Multiply(t0);
    const glm::vec3 v1 = covariance.Multiply(t1);
    return {Dot(t0, v0) + kLowPass, Dot(t0, v1), Dot(t1, v1) + kLowPass};
}

}  // namespace

glm::vec3 Covariance3::Multiply(const glm::vec3& v) const {
    return {m00 * v.x + m01 * v.y + m02 * v.z, m01 * v.x + m11 * v.y + m12 * v.z, m02 * v.x + m12 * v.y + m22 * v.z};
}

SplatAxes MakeSplatAxes(const glm::vec4& rotation, const glm::vec3& scale) {
    const float x = rotation.x;
    const float y = rotation.y;
    const float z = rotation.z;
    const float w = rotation.w;
    return {{{scale.x * (1.0F - 2.0F * (y * y + z * z)), scale.y * (2.0F * (x * y - w * z)),
              scale.z * (2.0F * (x * z + w * y))},
             {scale.x * (2.0F * (x * y + w * z)), scale.y * (1.0F - 2.0F * (x * x + z * z)),
              scale.z * (2.0F * (y * z - w * x))},
             {scale.x * (2.0F * (x * z - w * y)), scale.y * (2.0F * (y * z + w * x)),
              scale.z * (1.0F - 2.0F * (x * x + y * y))}}};
}

Covariance3 MakeCovariance(const SplatAxes& axes, float size) {
    const float squared = size * size;
    const auto element = [&](int i, int j) { return Dot(squared * axes.mRows[i], axes.mRows[j]); };
    return {element(0, 0), element(0, 1), element(0, 2), element(1, 1), element(1, 2), element(2, 2)};
}

Covariance2 ProjectCovariance(const gpu::CalcViewDataConstants& constants, const glm::vec3& position,
                              const Covariance3& covariance) {
    const glm::mat4& modelView = constants._MatrixMV;
    const glm::vec3 w0 = Row3(modelView, 0);
    const glm::vec3 w1 = Row3(modelView, 1);
    if (constants._CameraType != 0) return Project(covariance, w0, w1);

    const glm::vec3 w2 = Row3(modelView, 2);
    const glm::vec3 view = TransformPoint(modelView, position);
    const float p00 = constants._MatrixP[0][0];
    const float p11 = constants._MatrixP[1][1];
    const float limitX = kViewLimit / p00;
    const float limitY = kViewLimit / ((p00 / p11) * p11);
    const float focal = (constants._VecScreenParams.x * 0.5F) * p00;
    const float tx = Clamp(view.x / view.z, -limitX, limitX);
    const float ty = Clamp(view.y / view.z, -limitY, limitY);
    const float j02 = -(focal * view.z * tx) / (view.z * view.z);
    const float j12 = -(focal * view.z * ty) / (view.z * view.z);
    const float j = focal / view.z;
    return Project(covariance, j * w0 + j02 * w2, j * w1 + j12 * w2);
}

ScreenAxes MakeScreenAxes(const Covariance2& covariance) {
    const float a = covariance.a;
    const float b = covariance.b;
    const float c = covariance.c;
    const float mid = (a + c) * 0.5F;
    const float half = (a - c) * 0.5F;
    const float radius = std::sqrt(half * half + b * b);
    const float l1 = mid + radius;
    const float l2 = Max(mid - radius, kLeastMinorEigenvalue);
    const float e = l1 - a;
    const float r = 1.0F / std::sqrt(b * b + e * e);
    const float dx = r * b;
    const float dy = -(r * e);  // screen y runs opposite to clip y
    const float m1 = Min(std::sqrt(2.0F * l1), kLongestAxis);
    const float m2 = Min(std::sqrt(2.0F * l2), kLongestAxis);
    return {{m1 * dx, m1 * dy}, {m2 * dy, -(m2 * dx)}};
}

float HighestCorner(const glm::mat4& align, const glm::vec3& position, const SplatAxes& axes) {
    const glm::vec4 heightRow = Row(align, 1);
    float highest = -3.40282347e+38F;
    for (int corner = 0; corner < 8; ++corner) {
        const glm::vec3 c((corner & 1) != 0 ? 1.0F : -1.0F, (corner & 2) != 0 ? 1.0F : -1.0F,
                          (corner & 4) != 0 ? 1.0F : -1.0F);
        const glm::vec3 offset(Dot(axes.mRows[0], c), Dot(axes.mRows[1], c), Dot(axes.mRows[2], c));
        highest = Max(highest, Dot(heightRow, glm::vec4(position + 2.0F * offset, 1.0F)));
    }
    return highest;
}

}  // namespace nimbrel::cpu
