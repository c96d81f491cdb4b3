#include "NimbrelHost/Scene/Camera.h"

#include <glm/geometric.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/trigonometric.hpp>

namespace nimbrel::host {

glm::dmat4 EulerRotation(const glm::dvec3& degrees) {
    const glm::dvec3 angles = glm::radians(degrees);
    glm::dmat4 rotation = glm::rotate(glm::dmat4(1), angles.x, glm::dvec3(1, 0, 0));
    rotation = glm::rotate(rotation, angles.y, glm::dvec3(0, 1, 0));
    return glm::rotate(rotation, angles.z, glm::dvec3(0, 0, 1));
}

glm::dmat4 AimRotation(const glm::dvec3& position, const glm::dvec3& target) {
    const glm::dvec3 direction = target - position;
    const double distance = glm::length(direction);
    if (!(distance > 0)) return glm::dmat4(1);
    const glm::dvec3 z = direction / distance;
    const glm::dvec3 level(z.z, 0, -z.x);  // the world's y axis times z
    const double length = glm::length(level);
    const glm::dvec3 x = length > 1e-12 ? level / length : glm::dvec3(1, 0, 0);
    const glm::dvec3 y = glm::cross(z, x);
    return glm::dmat4(glm::dvec4(x, 0), glm::dvec4(y, 0), glm::dvec4(z, 0), glm::dvec4(0, 0, 0, 1));
}

glm::dmat4 CameraToWorld(const Camera& camera, double seconds) {
    const glm::dvec3 position = Evaluate(camera.mPosition, seconds);
    glm::dmat4 matrix = glm::translate(glm::dmat4(1), position);
    if (camera.mPointOfInterest) matrix *= AimRotation(position, Evaluate(*camera.mPointOfInterest, seconds));
    matrix *= EulerRotation(Evaluate(camera.mOrientation, seconds));
    return matrix * EulerRotation(Evaluate(camera.mRotation, seconds));
}

Camera DefaultCamera(int width, int height) {
    Camera camera;
    camera.mZoom = Animation<double>::Constant(width);
    camera.mPosition = Animation<glm::dvec3>::Constant({width / 2.0, height / 2.0, -width});
    camera.mOrientation = Animation<glm::dvec3>::Constant(glm::dvec3(0));
    camera.mRotation = Animation<glm::dvec3>::Constant(glm::dvec3(0));
    return camera;
}

}  // namespace nimbrel::host
