// Gradient noise in four dimensions, its gradients hashed from sines.
#ifndef SPLAT_NOISE_HLSLI
#define SPLAT_NOISE_HLSLI

#include "SplatSine.hlsli"
#include "ZebMath.hlsli"

float HashComponent(float4 corner, float4 k) {
    float v = Sine(Dot4(corner, k)) * 43758.546875;
    return (v - floor(v)) * 2.0 - 1.0;
}

// Dot product of the gradient at corner i + c and the offset from it.
float NoiseCorner(float4 i, float4 f, float4 c) {
    float4 corner = i + c;
    float4 gradient = float4(HashComponent(corner, float4(127.1, 311.7, 74.7, 212.1)),
                             HashComponent(corner, float4(269.5, 183.3, 246.1, 243.7)),
                             HashComponent(corner, float4(113.5, 271.9, 124.6, 231.8)),
                             HashComponent(corner, float4(209.3, 258.6, 282.6, 107.9)));
    return Dot4(gradient, f - c);
}

float Interpolate(float low, float high, float u) { return low + (high - low) * u; }

// Interpolates the 16 corners along x, then y, z and w. One pair of corners along x a turn: the loop keeps the program
// short, and cheap on devices that run through code without an active lane.
float Noise4(float4 p) {
    float4 i = floor(p);
    float4 f = p - i;
    float4 u = f * f * (3.0 - 2.0 * f);
    float lowY = 0.0, lowZ = 0.0, lowW = 0.0, value = 0.0;
    [loop] for (uint pair = 0u; pair < 8u; ++pair) {
        float3 c = float3(float(pair & 1u), float((pair >> 1) & 1u), float(pair >> 2));
        value = Interpolate(NoiseCorner(i, f, float4(0.0, c)), NoiseCorner(i, f, float4(1.0, c)), u.x);
        if ((pair & 1u) != 0u) value = Interpolate(lowY, value, u.y);
        if ((pair & 3u) == 3u) value = Interpolate(lowZ, value, u.z);
        if (pair == 7u) value = Interpolate(lowW, value, u.w);
        if ((pair & 1u) == 0u) lowY = value;
        if ((pair & 3u) == 1u) lowZ = value;
        if (pair == 3u) lowW = value;
    }
    return value;
}

#endif
