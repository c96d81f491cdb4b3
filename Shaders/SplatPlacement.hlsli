// Where a splat is after displacement and noise. The distance kernel and the view-data kernel both take it from
// here, so that the order and the picture see the same bits.
//
// ZEB_NO_EFFECTS: the form "NoEffects" of a kernel, for instances whose effects are off: same bits without the code.
#ifndef SPLAT_PLACEMENT_HLSLI
#define SPLAT_PLACEMENT_HLSLI

#if defined(ZEB_NO_EFFECTS)

float3 PlaceSplat(float3 aligned, uint instance) { return aligned; }

#else

#include "SplatNoise.hlsli"
#include "SplatShapes.hlsli"
#include "SplatSine.hlsli"
#include "ZebMath.hlsli"

cbuffer NoiseConstants1 : register(b11) {
    float noise_seed;
    uint padding4;
    uint2 padding5;
    float4 noise_amplitude;
    float4 noise_scale;  // per axis, and over all in w
    float4 noise_shape_halfSize;
    float4 displacement_scale;
    float4 displacement_shape_halfSize;
    int displacement_enabled;
    uint padding6;
    uint2 padding7;
    float4 displacement_offset;
    float displacement_xRotation;  // radians
    float displacement_yRotation;
    float displacement_zRotation;
    int displacement_shape_type;
    float4 displacement_shape_center;
    float displacement_shape_feather;
    int noise_enabled;
    uint2 padding8;
    float4 noise_settings_offset;
    float noise_settings_evolution;
    int noise_shape_type;
    uint2 padding9;
    float4 noise_shape_center;
    float noise_shape_feather;
};

// Unit quaternion of a rotation about x, then y, then z, by half angles; vector part first.
float4 QuaternionFromHalfAngles(float3 h) {
    float sx = Sine(h.x), sy = Sine(h.y), sz = Sine(h.z);
    float cx = Cosine(h.x), cy = Cosine(h.y), cz = Cosine(h.z);
    float a = -(sy * sz);
    float b = cz * sy;
    float c = sz * cy;
    float w = cz * cy;
    return float4(w * sx + cx * a, b * cx + c * sx, c * cx - b * sx, w * cx - a * sx);
}

float3 RotateByQuaternion(float4 q, float3 v) {
    float3 p = 2.0 * Cross3(q.xyz, v);
    return v + q.w * p + Cross3(q.xyz, p);
}

// Scales and rotates about the shape's centre, then moves; each by its own curve over the shape.
float3 Displace(float3 aligned, uint instance) {
    float3 center = displacement_shape_center.xyz;
    float g = ShapeFeather(displacement_shape_type, center, displacement_shape_halfSize.xyz,
                           displacement_shape_feather, aligned);
    float rotation = SampleRamp(instance, RAMP_DISPLACEMENT_ROTATION, g);
    float scale = SampleRamp(instance, RAMP_DISPLACEMENT_SCALE, g);
    float offset = SampleRamp(instance, RAMP_DISPLACEMENT_OFFSET, g);
    float3 v = ((displacement_scale.xyz - 1.0) * scale + 1.0) * (aligned - center);
    float3 angles = float3(displacement_xRotation, displacement_yRotation, displacement_zRotation);
    float3 rotated = RotateByQuaternion(QuaternionFromHalfAngles(angles * rotation * 0.5), v);
    return center + rotated + displacement_offset.xyz * offset;
}

// Three evaluations of one noise, each with the seed on another axis. A loop keeps the program short.
float3 NoiseOffsets(float3 d) {
    float seed = (noise_seed + 11.0) * 123987.0;
    float4 scale = noise_scale * 100.0;
    float4 o = noise_settings_offset;
    float w = (o.w + noise_settings_evolution) / scale.w;
    float3 plain = (o.xyz + d) / scale.xyz;
    float3 seeded = ((seed + d) + o.xyz) / scale.xyz;
    float3 result = float3(0.0, 0.0, 0.0);
    [loop] for (uint axis = 0u; axis < 3u; ++axis) {
        float n = Noise4(float4(axis == 0u ? seeded.x : plain.x, axis == 1u ? seeded.y : plain.y,
                                axis == 2u ? seeded.z : plain.z, w));
        result = float3(axis == 0u ? n : result.x, axis == 1u ? n : result.y, axis == 2u ? n : result.z);
    }
    return result;
}

// The aligned position after displacement and noise.
float3 PlaceSplat(float3 aligned, uint instance) {
    float3 position = aligned;
    if (displacement_enabled != 0) position = Displace(aligned, instance);
    if (noise_enabled != 0) {
        float g = ShapeFeather(noise_shape_type, noise_shape_center.xyz, noise_shape_halfSize.xyz,
                               noise_shape_feather, position);
        float amount = SampleRamp(instance, RAMP_NOISE, g);
        if (!(amount < 9.99999975e-05)) position = position + NoiseOffsets(position) * amount * noise_amplitude.xyz;
    }
    return position;
}

#endif

#endif
