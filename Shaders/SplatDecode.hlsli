// Packed splats and what they decode to. Vector formats: 0 three floats, 1 three 16-bit fields, 2 one word of 11, 10
// and 11 bits, 3 one 16-bit word of 6, 5 and 5 bits. SH formats: 0 floats, 1 halves, 2 words of 11, 10 and 11 bits,
// 3 words of 5, 6 and 5 bits; above 3 the coefficients are halves that splats share by an index.
#ifndef SPLAT_DECODE_HLSLI
#define SPLAT_DECODE_HLSLI

#include "ZebBinding.hlsli"
#include "ZebMath.hlsli"

struct SplatChunkInfo {
    uint colR, colG, colB, colA;  // least and greatest value as halves, the least in the low bits
    float2 posX, posY, posZ;
    uint sclX, sclY, sclZ;
    uint shR, shG, shB;
};

StructuredBuffer<SplatChunkInfo> _SplatChunks : register(t1);
ByteAddressBuffer _SplatPos : register(t2);

cbuffer SplatConstants : register(b6) {
    uint _SplatFormat;        // position format in bits 0-7, scale in 8-15, SH in 16-23
    uint _SplatColorYOffset;  // first row of this asset in the colour texture
};

uint PositionFormat() { return _SplatFormat & 255u; }
uint ScaleFormat() { return (_SplatFormat >> 8) & 255u; }
uint SHFormat() { return (_SplatFormat >> 16) & 255u; }

// Loads from a raw buffer at any even byte address: a word, put together from two where it starts in the middle of
// one, and a 16-bit field.
#define DECLARE_LOADS(buffer, reg)                                                                \
    uint LoadWord##buffer(uint address) {                                                         \
        uint first = buffer.Load(ZEB_BYTES(reg, address & ~3u));                                  \
        if ((address & 2u) == 0u) return first;                                                   \
        return (buffer.Load(ZEB_BYTES(reg, (address & ~3u) + 4u)) << 16) | (first >> 16);         \
    }                                                                                             \
    uint LoadField##buffer(uint address) {                                                        \
        return (buffer.Load(ZEB_BYTES(reg, address & ~3u)) >> ((address & 2u) * 8u)) & 0xFFFFu;   \
    }                                                                                             \
    float3 LoadVector##buffer(uint format, uint address) {                                        \
        if (format == 0u)                                                                         \
            return float3(asfloat(LoadWord##buffer(address)), asfloat(LoadWord##buffer(address + 4u)), \
                          asfloat(LoadWord##buffer(address + 8u)));                               \
        if (format == 1u) {                                                                       \
            uint xy = LoadWord##buffer(address);                                                  \
            return float3(float(xy & 0xFFFFu), float(xy >> 16), float(LoadField##buffer(address + 4u))) * \
                   1.52590219e-05;                                                                \
        }                                                                                         \
        if (format == 2u) return UnpackVector11(LoadWord##buffer(address));                       \
        if (format == 3u) return UnpackVector6(LoadField##buffer(address));                       \
        return float3(0.0, 0.0, 0.0);                                                             \
    }

float3 UnpackVector11(uint word) {
    return float3(float(word & 2047u) * 0.000488519785, float((word >> 11) & 1023u) * 0.000977517106,
                  float(word >> 21) * 0.000488519785);
}

float3 UnpackVector6(uint field) {
    return float3(float(field & 63u) * 0.0158730168, float((field >> 6) & 31u) * 0.0322580636,
                  float((field >> 11) & 31u) * 0.0322580636);
}

uint VectorSize(uint format) {
    if (format == 0u) return 12u;
    if (format == 1u) return 6u;
    if (format == 2u) return 4u;
    return format == 3u ? 2u : 0u;
}

float RangeLow(uint range) { return f16tof32(range & 0xFFFFu); }
float RangeHigh(uint range) { return f16tof32(range >> 16); }

// Value `v` of 0..1 within a range of two halves.
float Denormalise(uint range, float v) {
    float low = RangeLow(range);
    return low + v * (RangeHigh(range) - low);
}

DECLARE_LOADS(_SplatPos, 2)

// Position of splat i in asset space. Every format goes through its chunk's range.
float3 DecodePosition(uint i) {
    uint format = PositionFormat();
    float3 v = LoadVector_SplatPos(format, VectorSize(format) * i);
    uint chunk = ZEB_ELEMENT(1, i >> 8);
    float2 x = _SplatChunks[chunk].posX;
    float2 y = _SplatChunks[chunk].posY;
    float2 z = _SplatChunks[chunk].posZ;
    return float3(x.x + v.x * (x.y - x.x), y.x + v.y * (y.y - y.x), z.x + v.z * (z.y - z.x));
}

#endif
