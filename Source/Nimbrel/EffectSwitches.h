#pragma once

#include "Nimbrel/ShaderConstants.h"

/// Whether an instance's effects are on, by their flags as the programs test them: crops, colour, opacity and size are
/// on at 1 alone, what moves splats at anything but 0. A flag that is on counts whatever the effect's other values are,
/// since rounding makes even a displacement by nothing change bits.
namespace nimbrel {

/// Displacement or noise, which the order of drawing depends on as well.
inline bool MovesSplats(const gpu::NoiseConstants1& noise) {
    return noise.displacement_enabled != 0 || noise.noise_enabled != 0;
}

/// Any effect that stays in the splats' place.
inline bool ChangesLook(const gpu::ModelConstants1& model) {
    return model.model_crop_shape_enabled == 1 || model.model_crop_yPlane_enabled == 1 ||
           model.model_effects_splatColor_enabled == 1 || model.model_effects_splatOpacity_enabled == 1 ||
           model.model_effects_splatScale_enabled == 1;
}

}  // namespace nimbrel
