#pragma once

#include <cstdint>
#include <vector>

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include "Nimbrel/ModelGroup.h"
#include "PluginBase/Parameters/ParameterPacker.h"

/// One wireframe aid. `center` and `halfSize` are in pixels of aligned model space.
struct ShapeEntry {
    glm::mat4 transform;  ///< aligned model space to world
    glm::vec4 color;      ///< straight RGBA
    glm::vec3 center;
    glm::vec3 halfSize;
};

/// The wireframe aids of one frame, by the program that draws them.
struct ShapesInfo {
    std::vector<ShapeEntry> mSpheres;
    std::vector<ShapeEntry> mBoxes;
    std::vector<ShapeEntry> mPoints;
    std::vector<ShapeEntry> mYGrids;  ///< no setting asks for one so far

    /// The shapes whose switches are on, over all instances in the frame's order. Reads "ModelCpp{}",
    /// "ModelConstants{}" and "NoiseConstants{}". Throws zeb::Exception on a shape type it does not know.
    static ShapesInfo Collect(const zeb::PackedParameters& packed, const std::vector<ModelGroup>& models);

    /// `type`: 0 sphere, 1 box.
    void AddShape(std::int32_t type, const ShapeEntry& shape);

    bool IsEmpty() const { return mSpheres.empty() && mBoxes.empty() && mPoints.empty() && mYGrids.empty(); }

private:
    void AddInstance(const zeb::PackedParameters& packed, const ModelInstance& instance);
};
