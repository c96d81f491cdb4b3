#include "NimbrelHost/Scene/Camera.h"

#include <cmath>

#include "TestSupport.h"

namespace nimbrel::host {
namespace {

void ExpectColumns(const glm::dmat4& matrix, const glm::dvec3& x, const glm::dvec3& y, const glm::dvec3& z,
                   const char* what) {
    const glm::dvec3 expected[] = {x, y, z};
    for (int c = 0; c < 3; ++c) {
        for (int r = 0; r < 3; ++r) EXPECT_NEAR(matrix[c][r], expected[c][r], 1e-12) << what << " column " << c;
    }
}

TEST(Camera, RotatesAboutEachAxis) {
    // A quarter turn about x takes y to z, about y takes z to x, about z takes x to y.
    ExpectColumns(EulerRotation({90, 0, 0}), {1, 0, 0}, {0, 0, 1}, {0, -1, 0}, "x");
    ExpectColumns(EulerRotation({0, 90, 0}), {0, 0, -1}, {0, 1, 0}, {1, 0, 0}, "y");
    ExpectColumns(EulerRotation({0, 0, 90}), {0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, "z");
    // Rx * Ry: the y turn comes first for a column vector: z -> x -> x, y -> y -> z.
    ExpectColumns(EulerRotation({90, 90, 0}), {0, 1, 0}, {0, 0, 1}, {1, 0, 0}, "xy");
    // Ry * Rz: x -> y -> y, y -> -x -> z.
    ExpectColumns(EulerRotation({0, 90, 90}), {0, 1, 0}, {0, 0, 1}, {1, 0, 0}, "yz");
}

TEST(Camera, AimsItsZAxisAndStaysLevel) {
    const double h = std::sqrt(0.5);
    const glm::dvec3 at(5, 6, 7);
    ExpectColumns(AimRotation(at, at + glm::dvec3(0, 0, 9)), {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, "ahead");
    ExpectColumns(AimRotation(at, at + glm::dvec3(3, 0, 0)), {0, 0, -1}, {0, 1, 0}, {1, 0, 0}, "right");
    ExpectColumns(AimRotation(at, at + glm::dvec3(0, 4, 4)), {1, 0, 0}, {0, h, -h}, {0, h, h}, "down");
    ExpectColumns(AimRotation(at, at + glm::dvec3(0, 1, 0)), {1, 0, 0}, {0, 0, -1}, {0, 1, 0}, "straight down");
    ExpectColumns(AimRotation(at, at - glm::dvec3(0, 1, 0)), {1, 0, 0}, {0, 0, 1}, {0, -1, 0}, "straight up");
    ExpectColumns(AimRotation(at, at), {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, "nowhere");
}

TEST(Camera, ComposesPositionAimOrientationRotation) {
    Camera camera = DefaultCamera(640, 360);
    const glm::dmat4 rest = CameraToWorld(camera, 0);
    EXPECT_EQ(glm::dvec3(rest[3]), glm::dvec3(320, 180, -640));
    ExpectColumns(rest, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, "default");

    // Aimed right (z to +x), then turned about its own z by the rotation: x, which pointed along -z, goes to y.
    camera.mPosition = Animation<glm::dvec3>::Constant({1, 2, 3});
    camera.mPointOfInterest = Animation<glm::dvec3>::Constant({9, 2, 3});
    camera.mRotation = Animation<glm::dvec3>::Constant({0, 0, 90});
    ExpectColumns(CameraToWorld(camera, 0), {0, 1, 0}, {0, 0, 1}, {1, 0, 0}, "rotated");
    camera.mOrientation = Animation<glm::dvec3>::Constant({0, -90, 0});
    // The orientation turns the aim back ahead before the rotation applies.
    ExpectColumns(CameraToWorld(camera, 0), {0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, "oriented");
}

}  // namespace
}  // namespace nimbrel::host
