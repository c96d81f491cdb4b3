#include "Nimbrel/CPU/EffectPosition.h"

#include "Nimbrel/CPU/FastNoise.h"
#include "Nimbrel/CPU/Sine.h"
#include "Render/CPU/Arithmetic.h"

namespace nimbrel::cpu {
namespace {

/// Below this share of the noise none is computed.
constexpr float kLeastNoise = 9.99999975e-05F;

/// A rotation as a quaternion: vector part and scalar part.
struct Rotation {
    glm::vec3 mVector;
    float mScalar;
};

/// Rotation about x, then y, then z, by half angles in radians.
Rotation FromHalfAngles(float x, float y, float z) {
    const float sx = Sine(x);
    const float cx = Cosine(x);
    const float sy = Sine(y);
    const float cy = Cosine(y);
    const float sz = Sine(z);
    const float cz = Cosine(z);
    const float a = -(sy * sz);
    const float b = cz * sy;
    const float c = sz * cy;
    const float w = cz * cy;
    return {{w * sx + cx * a, b * cx + c * sx, c * cx - b * sx}, w * cx - a * sx};
}

}  // namespace

glm::vec3 Displace(const gpu::NoiseConstants1& constants, const CurveTextures& curves, std::uint32_t instance,
                   const glm::vec3& aligned) {
    const glm::vec3 center(constants.displacement_shape_center);
    const float distance = ShapeDistance(constants.displacement_shape_type, aligned, center,
                                         glm::vec3(constants.displacement_shape_halfSize));
    const float g = Feather(distance, constants.displacement_shape_feather);
    const float rotationAmount = SampleRamp(curves, instance, gpu::RampRow::DisplacementRotation, g);
    const float scaleAmount = SampleRamp(curves, instance, gpu::RampRow::DisplacementScale, g);
    const float offsetAmount = SampleRamp(curves, instance, gpu::RampRow::DisplacementOffset, g);

    const glm::vec3 scale = (glm::vec3(constants.displacement_scale) - 1.0F) * scaleAmount + 1.0F;
    const glm::vec3 v = scale * (aligned - center);
    const Rotation rotation = FromHalfAngles(constants.displacement_xRotation * rotationAmount * 0.5F,
                                             constants.displacement_yRotation * rotationAmount * 0.5F,
                                             constants.displacement_zRotation * rotationAmount * 0.5F);
    const glm::vec3 p = 2.0F * zeb::render::cpu::Cross(rotation.mVector, v);
    const glm::vec3 rotated = v + rotation.mScalar * p + zeb::render::cpu::Cross(rotation.mVector, p);
    return center + rotated + glm::vec3(constants.displacement_offset) * offsetAmount;
}

glm::vec3 AddNoise(const gpu::NoiseConstants1& constants, const CurveTextures& curves, std::uint32_t instance,
                   const glm::vec3& displaced) {
    const float distance = ShapeDistance(constants.noise_shape_type, displaced, glm::vec3(constants.noise_shape_center),
                                         glm::vec3(constants.noise_shape_halfSize));
    const float amount =
        SampleRamp(curves, instance, gpu::RampRow::Noise, Feather(distance, constants.noise_shape_feather));
    if (amount < kLeastNoise) return displaced;

    const float seed = (constants.noise_seed + 11.0F) * 123987.0F;
    const glm::vec4 scale = constants.noise_scale * 100.0F;
    const glm::vec4& offset = constants.noise_settings_offset;
    const float evolution = (offset.w + constants.noise_settings_evolution) / scale.w;
    const glm::vec4 plain((offset.x + displaced.x) / scale.x, (offset.y + displaced.y) / scale.y,
                          (offset.z + displaced.z) / scale.z, evolution);
    // The seed on a different axis each time gives three offsets that have nothing to do with each other.
    glm::vec3 noise(0.0F);
    for (int axis = 0; axis < 3; ++axis) {
        glm::vec4 point = plain;
        point[axis] = ((seed + displaced[axis]) + offset[axis]) / scale[axis];
        noise[axis] = FastNoise4(point);
    }
    return displaced + noise * amount * glm::vec3(constants.noise_amplitude);
}

glm::vec3 EffectPosition(const gpu::NoiseConstants1& constants, const CurveTextures& curves, std::uint32_t instance,
                         const glm::vec3& aligned) {
    glm::vec3 position = aligned;
    if (constants.displacement_enabled != 0) position = Displace(constants, curves, instance, position);
    if (constants.noise_enabled != 0) position = AddNoise(constants, curves, instance, position);
    return position;
}

}  // namespace nimbrel::cpu
