#include "Placement.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include <glm/geometric.hpp>
#include <glm/matrix.hpp>
#include <glm/vec3.hpp>

#include "NimbrelConvert/Errors.h"

namespace nimbrel::convert {
namespace {

using Matrix7 = std::array<std::array<double, 7>, 7>;

/// The real spherical harmonics of one band, in the order and with the signs of PLY files.
void EvaluateBand(int band, const glm::dvec3& d, double* to) {
    const double x = d.x, y = d.y, z = d.z;
    if (band == 1) {
        const double c = 0.4886025119029199;
        to[0] = -c * y, to[1] = c * z, to[2] = -c * x;
    } else if (band == 2) {
        const double c = 1.0925484305920792;
        to[0] = c * x * y, to[1] = -c * y * z;
        to[2] = 0.31539156525252005 * (2 * z * z - x * x - y * y);
        to[3] = -c * x * z, to[4] = c / 2 * (x * x - y * y);
    } else {
        const double a = 0.5900435899266435, b = 2.890611442640554, c = 0.4570457994644658;
        to[0] = -a * y * (3 * x * x - y * y);
        to[1] = b * x * y * z;
        to[2] = -c * y * (4 * z * z - x * x - y * y);
        to[3] = 0.3731763325901154 * z * (2 * z * z - 3 * x * x - 3 * y * y);
        to[4] = -c * x * (4 * z * z - x * x - y * y);
        to[5] = b / 2 * z * (x * x - y * y);
        to[6] = -a * x * (x * x - 3 * y * y);
    }
}

/// Solves left * X = right for all columns at once, by elimination with the largest pivot; right becomes X.
void Solve(Matrix7& left, Matrix7& right, std::size_t size) {
    for (std::size_t column = 0; column < size; ++column) {
        std::size_t pivot = column;
        for (std::size_t row = column + 1; row < size; ++row) {
            if (std::abs(left[row][column]) > std::abs(left[pivot][column])) pivot = row;
        }
        std::swap(left[column], left[pivot]);
        std::swap(right[column], right[pivot]);
        for (std::size_t row = 0; row < size; ++row) {
            if (row == column) continue;
            const double factor = left[row][column] / left[column][column];
            for (std::size_t k = 0; k < size; ++k) {
                left[row][k] -= factor * left[column][k];
                right[row][k] -= factor * right[column][k];
            }
        }
    }
    for (std::size_t row = 0; row < size; ++row) {
        for (std::size_t k = 0; k < size; ++k) right[row][k] /= left[row][row];
    }
}

/// Directions in which the functions of any band up to 3 are independent.
constexpr double kDirections[7][3] = {{0.6, 0.64, 0.48},   {-0.48, 0.8, 0.36}, {0.8, -0.36, -0.48}, {0.0, 0.6, -0.8},
                                      {-0.96, -0.28, 0.0}, {0.28, 0.0, 0.96},  {-0.36, -0.48, 0.8}};

// What is seen in direction d after a turn was seen in the direction that the turn brought there.
Matrix7 MakeBand(int band, const glm::dmat3& turn) {
    const auto size = static_cast<std::size_t>(2 * band + 1);
    Matrix7 after{}, before{};
    for (std::size_t i = 0; i < size; ++i) {
        const glm::dvec3 direction(kDirections[i][0], kDirections[i][1], kDirections[i][2]);
        EvaluateBand(band, direction, after[i].data());
        EvaluateBand(band, glm::transpose(turn) * direction, before[i].data());
    }
    Solve(after, before, size);
    return before;
}

}  // namespace

Placement::Placement(const glm::dmat4& matrix) : mMatrix(matrix) {
    const glm::dmat3 linear(matrix);
    const double determinant = glm::determinant(linear);
    const double scale = std::cbrt(std::abs(determinant));
    constexpr double kTolerance = 1e-3;
    bool isGood = std::isfinite(scale) && scale > 1e-12;
    for (int a = 0; a < 3 && isGood; ++a) {
        for (int b = 0; b < 3; ++b) {
            const double product = glm::dot(linear[a], linear[b]) / (scale * scale);
            isGood = isGood && std::abs(product - (a == b ? 1.0 : 0.0)) < kTolerance;
        }
    }
    if (!isGood) {
        throw FormatError(
            "it places splats by a node that scales its axes differently, shears or flattens; apply that in the tool "
            "that wrote it");
    }
    const glm::dmat3 turn = linear / scale;
    mRotation = glm::normalize(glm::quat_cast(determinant < 0 ? -turn : turn));
    mLogScale = static_cast<float>(std::log(scale));
    for (int band = 1; band <= 3; ++band) {
        const Matrix7 mixed = MakeBand(band, turn);
        for (std::size_t i = 0; i < 7; ++i) {
            for (std::size_t k = 0; k < 7; ++k) mBands[band - 1][i][k] = static_cast<float>(mixed[i][k]);
        }
    }
}

void Placement::Apply(RowLayout layout, float* row) const {
    const glm::dvec4 place = mMatrix * glm::dvec4(row[0], row[1], row[2], 1);
    for (int a = 0; a < 3; ++a) row[a] = static_cast<float>(place[a]);
    for (std::size_t a = 0; a < 3; ++a) row[layout.Scale() + a] += mLogScale;
    float* const q = row + layout.Rotation();
    const glm::dquat rotation = mRotation * glm::dquat(q[0], q[1], q[2], q[3]);
    q[0] = static_cast<float>(rotation.w);
    q[1] = static_cast<float>(rotation.x);
    q[2] = static_cast<float>(rotation.y);
    q[3] = static_cast<float>(rotation.z);
    TurnHarmonics(layout, row + RowLayout::kRest);
}

void Placement::TurnHarmonics(RowLayout layout, float* rest) const {
    for (std::size_t c = 0; c < 3; ++c) {
        float* values = rest + c * layout.Coefficients();
        for (int band = 1; band <= layout.mDegree; ++band) {
            const auto size = static_cast<std::size_t>(2 * band + 1);
            float turned[7] = {};
            for (std::size_t i = 0; i < size; ++i) {
                for (std::size_t k = 0; k < size; ++k) turned[i] += mBands[band - 1][i][k] * values[k];
            }
            std::copy_n(turned, size, values);
            values += size;
        }
    }
}

}  // namespace nimbrel::convert
