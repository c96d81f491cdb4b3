// Gradient noise in four dimensions, its gradients hashed from sines.
#ifndef SPLAT_NOISE_HLSLI
#define SPLAT_NOISE_HLSLI

#include "ZebMath.hlsli"

float HashComponent(float4 corner, float4 k) {
    float v = sin(Dot4(corner, k)) * 43758.546875;
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

// The square of four corners in x and y at (z, w).
float NoiseSquare(float4 i, float4 f, float4 u, float z, float w) {
    float y0 = Interpolate(NoiseCorner(i, f, float4(0.0, 0.0, z, w)), NoiseCorner(i, f, float4(1.0, 0.0, z, w)), u.x);
    float y1 = Interpolate(NoiseCorner(i, f, float4(0.0, 1.0, z, w)), NoiseCorner(i, f, float4(1.0, 1.0, z, w)), u.x);
    return Interpolate(y0, y1, u.y);
}

float Noise4(float4 p) {
    float4 i = floor(p);
    float4 f = p - i;
    float4 u = f * f * (3.0 - 2.0 * f);
    float w0 = Interpolate(NoiseSquare(i, f, u, 0.0, 0.0), NoiseSquare(i, f, u, 1.0, 0.0), u.z);
    float w1 = Interpolate(NoiseSquare(i, f, u, 0.0, 1.0), NoiseSquare(i, f, u, 1.0, 1.0), u.z);
    return Interpolate(w0, w1, u.w);
}

#endif
