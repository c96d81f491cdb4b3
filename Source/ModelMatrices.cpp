#include "ModelMatrices.h"

#include <string>

#include <fmt/format.h>
#include <glm/ext/matrix_transform.hpp>

namespace {

/// Model space is file units times 1000, the host's pixels.
constexpr float kGlobalScale = 1000.0F;
constexpr float kGlobalInvScale = 0.001F;

// Offsets in "ModelCpp{}".
constexpr std::size_t kAlignAnchorPoint = 16;
constexpr std::size_t kAlignScale = 32;
constexpr std::size_t kAlignRotation = 36;
constexpr std::size_t kTransformPosition = 80;
constexpr std::size_t kTransformScale = 96;
constexpr std::size_t kTransformUniformScale = 100;
constexpr std::size_t kTransformAxisScales = 104;
constexpr std::size_t kTransformRotation = 116;

glm::mat4 Scale(const glm::vec3& factors) { return glm::scale(glm::mat4(1.0F), factors); }
glm::mat4 Translate(const glm::vec3& offset) { return glm::translate(glm::mat4(1.0F), offset); }
glm::mat4 RotateX(float angle) { return glm::rotate(glm::mat4(1.0F), angle, glm::vec3(1.0F, 0.0F, 0.0F)); }
glm::mat4 RotateY(float angle) { return glm::rotate(glm::mat4(1.0F), angle, glm::vec3(0.0F, 1.0F, 0.0F)); }
glm::mat4 RotateZ(float angle) { return glm::rotate(glm::mat4(1.0F), angle, glm::vec3(0.0F, 0.0F, 1.0F)); }

glm::mat4 Rotate(const glm::vec3& angles) { return RotateX(angles.x) * RotateY(angles.y) * RotateZ(angles.z); }
glm::mat4 RotateBack(const glm::vec3& angles) { return RotateZ(-angles.z) * RotateY(-angles.y) * RotateX(-angles.x); }

}  // namespace

ModelPlacement ModelPlacement::Read(const zeb::PackedParameters& packed, std::uint32_t modelIndex) {
    const std::string name = fmt::format("ModelCpp{}", modelIndex);
    ModelPlacement placement;
    placement.alignAnchorPoint = packed.Read<glm::vec3>(name, kAlignAnchorPoint);
    placement.alignScale = packed.Read<float>(name, kAlignScale);
    placement.alignRotation = packed.Read<glm::vec3>(name, kAlignRotation);
    placement.transformPosition = packed.Read<glm::vec3>(name, kTransformPosition);
    placement.transformScale = glm::vec3(packed.Read<float>(name, kTransformScale));
    if (packed.Read<std::int32_t>(name, kTransformUniformScale) != 1)
        placement.transformScale *= packed.Read<glm::vec3>(name, kTransformAxisScales);
    placement.transformRotation = packed.Read<glm::vec3>(name, kTransformRotation);
    return placement;
}

ModelInstance MakeModelInstance(std::uint32_t modelIndex, const ModelPlacement& placement) {
    ModelInstance instance;
    instance.modelIndex = modelIndex;
    instance.localMatrix = Rotate(placement.alignRotation) * Scale(glm::vec3(placement.alignScale)) *
                           Translate(-placement.alignAnchorPoint) * Scale(glm::vec3(kGlobalScale));
    instance.modelMatrix =
        Translate(placement.transformPosition) * Rotate(placement.transformRotation) * Scale(placement.transformScale);
    const glm::mat4 transformInverse = Scale(1.0F / placement.transformScale) *
                                       RotateBack(placement.transformRotation) *
                                       Translate(-placement.transformPosition);
    const glm::mat4 alignInverse = Scale(glm::vec3(kGlobalInvScale)) * Translate(placement.alignAnchorPoint) *
                                   Scale(glm::vec3(1.0F / placement.alignScale)) * RotateBack(placement.alignRotation);
    instance.thirdMatrix = alignInverse * transformInverse;
    return instance;
}
