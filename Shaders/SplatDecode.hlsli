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

// Up to 12 bytes of a raw buffer from any even address on, as words. Only words that hold some of these bytes are read.
#define DECLARE_LOAD(buffer, reg)                                                                     \
    uint3 Load##buffer(uint address, uint size) {                                                     \
        uint word = address & ~3u;                                                                    \
        uint last = (address + size - 1u) & ~3u;                                                      \
        uint w0 = buffer.Load(ZEB_BYTES(reg, word));                                                  \
        uint w1 = 0u, w2 = 0u, w3 = 0u;                                                               \
        if (word + 4u <= last) w1 = buffer.Load(ZEB_BYTES(reg, word + 4u));                           \
        if (word + 8u <= last) w2 = buffer.Load(ZEB_BYTES(reg, word + 8u));                           \
        if (word + 12u <= last) w3 = buffer.Load(ZEB_BYTES(reg, word + 12u));                         \
        if ((address & 2u) == 0u) return uint3(w0, w1, w2);                                           \
        return uint3((w1 << 16) | (w0 >> 16), (w2 << 16) | (w1 >> 16), (w3 << 16) | (w2 >> 16));      \
    }

// Bytes of a packed vector; 0 for an unknown format.
uint VectorSize(uint format) {
    if (format == 0u) return 12u;
    if (format == 1u) return 6u;
    if (format == 2u) return 4u;
    return format == 3u ? 2u : 0u;
}

float3 Unpack11(uint word) {
    return float3(float(word & 2047u) * 0.000488519785, float((word >> 11) & 1023u) * 0.000977517106,
                  float(word >> 21) * 0.000488519785);
}

float3 UnpackVector(uint format, uint3 words) {
    if (format == 0u) return asfloat(words);
    if (format == 1u)
        return float3(float(words.x & 0xFFFFu), float(words.x >> 16), float(words.y & 0xFFFFu)) * 1.52590219e-05;
    if (format == 2u) return Unpack11(words.x);
    if (format == 3u)
        return float3(float(words.x & 63u) * 0.0158730168, float((words.x >> 6) & 31u) * 0.0322580636,
                      float((words.x >> 11) & 31u) * 0.0322580636);
    return float3(0.0, 0.0, 0.0);
}

float RangeLow(uint range) { return f16tof32(range & 0xFFFFu); }
float RangeHigh(uint range) { return f16tof32(range >> 16); }

// Value `v` of 0..1 within a range of two halves.
float Denormalise(uint range, float v) {
    float low = RangeLow(range);
    return low + v * (RangeHigh(range) - low);
}

DECLARE_LOAD(_SplatPos, 2)

// Position of splat i in asset space. Every format goes through its chunk's range.
float3 DecodePosition(uint i) {
    uint format = PositionFormat();
    uint size = VectorSize(format);
    float3 v = float3(0.0, 0.0, 0.0);
    if (size != 0u) v = UnpackVector(format, Load_SplatPos(size * i, size));
    uint chunk = ZEB_ELEMENT(1, i >> 8);
    float2 x = _SplatChunks[chunk].posX;
    float2 y = _SplatChunks[chunk].posY;
    float2 z = _SplatChunks[chunk].posZ;
    return float3(x.x + v.x * (x.y - x.x), y.x + v.y * (y.y - y.x), z.x + v.z * (z.y - z.x));
}

#endif
