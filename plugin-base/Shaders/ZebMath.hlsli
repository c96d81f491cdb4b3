// Arithmetic with one fixed order of operations. All stages are compiled without contraction, so that a sum of
// products gives the same bits in every program and on the processor.
#ifndef ZEB_MATH_HLSLI
#define ZEB_MATH_HLSLI

float Dot3(float3 a, float3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

float Dot4(float4 a, float4 b) { return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w; }

float3 Cross3(float3 a, float3 b) {
    return float3(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

// Row `row` of a matrix times (p, 1).
float TransformRow(float4 row, float3 p) { return row.x * p.x + row.y * p.y + row.z * p.z + row.w; }

float3 TransformPoint(float4x4 m, float3 p) {
    return float3(TransformRow(m[0], p), TransformRow(m[1], p), TransformRow(m[2], p));
}

float4 TransformPoint4(float4x4 m, float3 p) {
    return float4(TransformRow(m[0], p), TransformRow(m[1], p), TransformRow(m[2], p), TransformRow(m[3], p));
}

float4 TransformVector4(float4x4 m, float4 v) {
    return float4(Dot4(m[0], v), Dot4(m[1], v), Dot4(m[2], v), Dot4(m[3], v));
}

// -1, 0 or +1; 0 for NaN.
float SignOf(float x) { return x > 0.0 ? 1.0 : (x < 0.0 ? -1.0 : 0.0); }

// Bits of the half float nearest to x, ties to even; beyond the range infinity, a NaN stays a quiet NaN. In
// integers, since devices differ in how they round and in what they do with subnormal halves.
uint FloatToHalf(float x) {
    uint bits = asuint(x);
    uint sign = (bits >> 16) & 0x8000u;
    uint magnitude = bits & 0x7FFFFFFFu;
    if (magnitude > 0x7F800000u) return sign | 0x7E00u;
    if (magnitude >= 0x477FF000u) return sign | 0x7C00u;
    if (magnitude >= 0x38800000u) {
        uint rebased = magnitude - 0x38000000u;
        return sign | ((rebased + 0xFFFu + ((rebased >> 13) & 1u)) >> 13);
    }
    // Subnormal: the mantissa with its leading bit, shifted to units of 2^-24.
    uint shift = min(126u - (magnitude >> 23), 31u);
    uint mantissa = (magnitude & 0x7FFFFFu) | 0x800000u;
    uint kept = shift < 25u ? mantissa >> shift : 0u;
    uint tie = 1u << (shift - 1u);
    uint rest = shift < 25u ? mantissa & ((1u << shift) - 1u) : 0u;
    return sign | (kept + ((rest > tie || (rest == tie && (kept & 1u) != 0u)) ? 1u : 0u));
}

float RoundToHalf(float x) { return f16tof32(FloatToHalf(x)); }

uint PackHalves(float low, float high) { return FloatToHalf(low) | (FloatToHalf(high) << 16); }

#endif
