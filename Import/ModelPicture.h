#pragma once

#include <optional>

#include <glm/vec3.hpp>

#include "Nimbrel/GaussianSplatAsset.h"
#include "Nimbrel/PLYFileReader.h"
#include "Picture.h"

namespace nimbrel::importer {

/// An axis-aligned box in file units.
struct Box {
    glm::vec3 mMin{0.0F};
    glm::vec3 mMax{0.0F};
};

/// The box that a picture of these splats has to hold, as the headless host frames models; without splats nothing.
std::optional<Box> MeasureSample(const PLYFileData& sample);

/// The model as the effect draws it through the default camera, framed so that the near face of `box` fills nine
/// tenths of the picture, over the background. Each splat is drawn `splatScale` times as large as it is. The same
/// bits for the same asset.
Picture DrawModel(const GaussianSplatAsset& asset, const Box& box, float splatScale, int width, int height);

}  // namespace nimbrel::importer
