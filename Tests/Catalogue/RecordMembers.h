#pragma once

// The members of the records that scripts fill and programs read, but the padding, in order: X(member) for each.
// clang-format off
#define MODEL_MEMBERS(X)                                                                                   \
    X(crop_shape_halfSize) X(splatColor_shape_halfSize) X(splatOpacity_shape_halfSize)                     \
    X(splatScale_shape_halfSize) X(model_showModel) X(model_crop_shape_enabled) X(model_crop_shape_invert) \
    X(model_crop_shape_type) X(model_crop_shape_center) X(model_crop_yPlane_enabled)                       \
    X(model_crop_yPlane_altitude) X(model_effects_splatColor_enabled) X(model_effects_splatColor_blending) \
    X(model_effects_splatColor_shape_type) X(model_effects_splatColor_shape_center)                        \
    X(model_effects_splatColor_shape_feather) X(model_effects_splatOpacity_enabled)                        \
    X(model_effects_splatOpacity_minValue) X(model_effects_splatOpacity_maxValue)                          \
    X(model_effects_splatOpacity_shape_type) X(model_effects_splatOpacity_shape_center)                    \
    X(model_effects_splatOpacity_shape_feather) X(model_effects_splatScale_enabled)                        \
    X(model_effects_splatScale_maxValue) X(model_effects_splatScale_shape_type)                            \
    X(model_effects_splatScale_shape_center) X(model_effects_splatScale_shape_feather)
#define NOISE_MEMBERS(X)                                                                                   \
    X(noise_seed) X(noise_amplitude) X(noise_scale) X(noise_shape_halfSize) X(displacement_scale)          \
    X(displacement_shape_halfSize) X(displacement_enabled) X(displacement_offset) X(displacement_xRotation) \
    X(displacement_yRotation) X(displacement_zRotation) X(displacement_shape_type)                         \
    X(displacement_shape_center) X(displacement_shape_feather) X(noise_enabled) X(noise_settings_offset)   \
    X(noise_settings_evolution) X(noise_shape_type) X(noise_shape_center) X(noise_shape_feather)
// clang-format on
