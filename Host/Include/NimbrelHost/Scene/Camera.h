#pragma once

#include <glm/mat4x4.hpp>
#include <optional>

#include "NimbrelHost/Scene/Animation.h"

namespace nimbrel::host {

/// A camera layer. World space is pixels, x right, y down, z into the picture; angles are degrees.
struct Camera {
    enum class Type { Perspective, Orthographic };

    Type mType = Type::Perspective;
    Animation<double> mZoom;  ///< distance to the image plane in pixels of the composition
    Animation<glm::dvec3> mPosition;
    std::optional<Animation<glm::dvec3>> mPointOfInterest;  ///< present: a two-node camera
    Animation<glm::dvec3> mOrientation;
    Animation<glm::dvec3> mRotation;
};

/// Rx * Ry * Rz for column vectors, `degrees` about x, y, z.
glm::dmat4 EulerRotation(const glm::dvec3& degrees);

/// Rotation that points z from `position` at `target`, with x level and y leaning towards +y. Looking straight along
/// y, x stays the world's; a target at the position turns nothing.
glm::dmat4 AimRotation(const glm::dvec3& position, const glm::dvec3& target);

/// Camera-to-world for column vectors: T(position) * Aim * R(orientation) * R(rotation).
glm::dmat4 CameraToWorld(const Camera& camera, double seconds);

/// The camera at rest: looks along z at the layer's centre from `width` pixels before it, where the layer just fills
/// the picture.
Camera DefaultCamera(int width, int height);

}  // namespace nimbrel::host
