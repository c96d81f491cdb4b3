#pragma once

#include <cstdint>

#include "Nimbrel/ModelGroup.h"
#include "PluginBase/Parameters/ParameterPacker.h"

/// Settings of a slot's placement as the structure "ModelCpp{}" has them. Angles in radians, positions
/// in pixels, scales as factors.
struct ModelPlacement {
    glm::vec3 alignAnchorPoint{0.0F};
    float alignScale = 1.0F;
    glm::vec3 alignRotation{0.0F};
    glm::vec3 transformPosition{0.0F};
    glm::vec3 transformScale{1.0F};  ///< of all three axes together
    glm::vec3 transformRotation{0.0F};

    static ModelPlacement Read(const zeb::PackedParameters& packed, std::uint32_t modelIndex);
};

/// The slot's instance with its three matrices. The third is the exact inverse of the first two's
/// product, put together from its factors. A scale of 0 gives infinities there.
ModelInstance MakeModelInstance(std::uint32_t modelIndex, const ModelPlacement& placement);
