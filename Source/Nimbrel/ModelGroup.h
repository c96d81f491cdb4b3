#pragma once

#include <cstdint>
#include <vector>

#include <glm/mat4x4.hpp>

class GaussianSplatAsset;

/// One slot that shows an asset. Matrices multiply column vectors.
struct ModelInstance {
    std::uint32_t modelIndex = 0;  ///< slot 1 to 5, the number in the names of its constant structures
    glm::mat4 localMatrix{1.0F};   ///< asset space (file units) to aligned model space (pixels)
    glm::mat4 modelMatrix{1.0F};   ///< aligned model space to world
    glm::mat4 thirdMatrix{1.0F};   ///< world to asset space
};

/// All instances of one distinct asset, in slot order. The asset is borrowed for the length of a draw.
struct ModelGroup {
    const GaussianSplatAsset* asset = nullptr;
    std::vector<ModelInstance> instances;
};
