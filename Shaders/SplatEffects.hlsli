// Per-splat effects of the view-data kernel: crops, colour, opacity and size, each over its own soft shape in the
// model's aligned space.
//
// ZEB_NO_EFFECTS: the form "NoEffects" of a kernel, for instances whose effects are off: same bits without the code.
#ifndef SPLAT_EFFECTS_HLSLI
#define SPLAT_EFFECTS_HLSLI

#include "SplatProjection.hlsli"

#if defined(ZEB_NO_EFFECTS)

bool IsCroppedByShape(float3 aligned) { return false; }
bool IsCroppedByPlane(float4 row, float3 position, SplatMatrix m) { return false; }
float ScaleFactor(float3 place, uint instance) { return 1.0; }
float3 ApplyColorEffect(float3 color, float3 place, uint instance) { return color; }
float OpacityFactor(float3 place, uint instance) { return 1.0; }

#else

#include "SplatShapes.hlsli"

#define BLENDING_NORMAL 0
#define BLENDING_ADD 1
#define BLENDING_MULTIPLY 2

Texture2D<float4> _SplatGradients : register(t13);  // one row for each model instance

cbuffer ModelConstants1 : register(b15) {
    float4 crop_shape_halfSize;
    float4 splatColor_shape_halfSize;
    float4 splatOpacity_shape_halfSize;
    float4 splatScale_shape_halfSize;
    int model_showModel;
    int model_crop_shape_enabled;
    int model_crop_shape_invert;
    int model_crop_shape_type;
    float4 model_crop_shape_center;
    int model_crop_yPlane_enabled;
    float model_crop_yPlane_altitude;
    int model_effects_splatColor_enabled;
    int model_effects_splatColor_blending;
    int model_effects_splatColor_shape_type;
    uint padding0;
    uint2 padding1;
    float4 model_effects_splatColor_shape_center;
    float model_effects_splatColor_shape_feather;
    int model_effects_splatOpacity_enabled;
    float model_effects_splatOpacity_minValue;
    float model_effects_splatOpacity_maxValue;
    int model_effects_splatOpacity_shape_type;
    uint padding2;
    uint2 padding3;
    float4 model_effects_splatOpacity_shape_center;
    float model_effects_splatOpacity_shape_feather;
    int model_effects_splatScale_enabled;
    float model_effects_splatScale_maxValue;
    int model_effects_splatScale_shape_type;
    float4 model_effects_splatScale_shape_center;
    float model_effects_splatScale_shape_feather;
};

// Whether the crop shape removes a splat at this aligned position.
bool IsCroppedByShape(float3 aligned) {
    if (model_crop_shape_enabled != 1) return false;
    float t = ShapeDistance(model_crop_shape_type, model_crop_shape_center.xyz, crop_shape_halfSize.xyz, aligned);
    int inside = t < 1.0 ? 1 : 0;
    return inside == model_crop_shape_invert;
}

// Height in aligned space of one corner of the box of twice the splat's axes. `row` is the alignment's second row.
float CornerHeight(float4 row, float3 position, SplatMatrix m, float3 corner) {
    float3 offset = float3(Dot3(m.row0, corner), Dot3(m.row1, corner), Dot3(m.row2, corner));
    return TransformRow(row, position + 2.0 * offset);
}

// Whether the plane removes a splat: only those that lie below it as a whole stay.
bool IsCroppedByPlane(float4 row, float3 position, SplatMatrix m) {
    if (model_crop_yPlane_enabled != 1) return false;
    float largest = -3.40282347e+38;
    [loop] for (uint k = 0u; k < 8u; ++k) {
        float3 corner = float3((k & 1u) != 0u ? 1.0 : -1.0, (k & 2u) != 0u ? 1.0 : -1.0, (k & 4u) != 0u ? 1.0 : -1.0);
        largest = max(largest, CornerHeight(row, position, m, corner));
    }
    return !(largest < model_crop_yPlane_altitude);
}

float ScaleFactor(float3 place, uint instance) {
    if (model_effects_splatScale_enabled != 1) return 1.0;
    float g = ShapeFeather(model_effects_splatScale_shape_type, model_effects_splatScale_shape_center.xyz,
                           splatScale_shape_halfSize.xyz, model_effects_splatScale_shape_feather, place);
    return model_effects_splatScale_maxValue * SampleRamp(instance, RAMP_SCALE, g);
}

float3 ApplyColorEffect(float3 color, float3 place, uint instance) {
    if (model_effects_splatColor_enabled != 1) return color;
    float g = ShapeFeather(model_effects_splatColor_shape_type, model_effects_splatColor_shape_center.xyz,
                           splatColor_shape_halfSize.xyz, model_effects_splatColor_shape_feather, place);
    float width, height;
    _SplatGradients.GetDimensions(width, height);
    float v = (float(instance) + 0.5) / height;
    float3 blended = _SplatGradients.SampleLevel(_LinearSampler, float2(g, v), 0.0).rgb;
    if (model_effects_splatColor_blending == BLENDING_ADD) blended = blended + color;
    if (model_effects_splatColor_blending == BLENDING_MULTIPLY) blended = blended * color;
    return color + (blended - color) * SampleRamp(instance, RAMP_COLOR_AMOUNT, g);
}

float OpacityFactor(float3 place, uint instance) {
    if (model_effects_splatOpacity_enabled != 1) return 1.0;
    float g = ShapeFeather(model_effects_splatOpacity_shape_type, model_effects_splatOpacity_shape_center.xyz,
                           splatOpacity_shape_halfSize.xyz, model_effects_splatOpacity_shape_feather, place);
    float low = model_effects_splatOpacity_minValue;
    return low + (model_effects_splatOpacity_maxValue - low) * SampleRamp(instance, RAMP_OPACITY, g);
}

#endif

#endif
