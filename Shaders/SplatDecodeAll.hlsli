// The rest of a packed splat, beside its position: rotation, scale, colour, opacity and SH coefficients.
#ifndef SPLAT_DECODE_ALL_HLSLI
#define SPLAT_DECODE_ALL_HLSLI

#include "SplatDecode.hlsli"

ByteAddressBuffer _SplatOther : register(t3);
ByteAddressBuffer _SplatSH : register(t4);
Texture2D<float4> _SplatColor : register(t5);

DECLARE_LOAD(_SplatOther, 3)
DECLARE_LOAD(_SplatSH, 4)

#define SH_COEFFICIENTS 15

// Bytes of a record of _SplatOther: rotation word, scale vector and, for shared coefficients, a 16-bit index.
uint OtherSize() { return 4u + VectorSize(ScaleFormat()) + (SHFormat() > 3u ? 2u : 0u); }

// Unit quaternion, vector part in xyz, scalar part in w. The word holds three components and which one is left out;
// that one is the positive root.
float4 DecodeRotation(uint i) {
    uint word = Load_SplatOther(OtherSize() * i, 4u).x;
    float a = float(word & 1023u) * 0.00138241798 - 0.707106769;
    float b = float((word >> 10) & 1023u) * 0.00138241798 - 0.707106769;
    float c = float((word >> 20) & 1023u) * 0.00138241798 - 0.707106769;
    float d = sqrt(1.0 - saturate(a * a + b * b + c * c));
    uint dropped = word >> 30;
    if (dropped == 0u) return float4(d, a, b, c);
    if (dropped == 1u) return float4(a, d, b, c);
    if (dropped == 2u) return float4(a, b, d, c);
    return float4(a, b, c, d);
}

// Lengths of the splat's axes: stored as eighth roots.
float3 DecodeScale(uint i) {
    uint size = VectorSize(ScaleFormat());
    float3 v = float3(0.0, 0.0, 0.0);
    if (size != 0u) v = UnpackVector(ScaleFormat(), Load_SplatOther(OtherSize() * i + 4u, size));
    uint chunk = ZEB_ELEMENT(1, i >> 8);
    float3 t = float3(Denormalise(_SplatChunks[chunk].sclX, v.x), Denormalise(_SplatChunks[chunk].sclY, v.y),
                      Denormalise(_SplatChunks[chunk].sclZ, v.z));
    t = t * t;
    t = t * t;
    return t * t;
}

// Texel of splat i: 16 by 16 tiles in Morton order, 128 tiles across.
float4 LoadColorTexel(uint i) {
    uint a = (i & 0x55u) | ((i << 7) & 0x5500u);
    uint b = (a | (a >> 1)) & 0x3333u;
    uint c = b | (b >> 2);
    uint x = (c & 15u) | ((i >> 4) & 2032u);
    uint y = ((c >> 8) & 15u) | ((i >> 15) << 4);
    return _SplatColor.Load(int3(int(x), int(y + _SplatColorYOffset), 0));
}

// Colour with its constant SH term.
float3 DecodeColor(uint i, float4 texel) {
    uint chunk = ZEB_ELEMENT(1, i >> 8);
    return float3(Denormalise(_SplatChunks[chunk].colR, texel.r), Denormalise(_SplatChunks[chunk].colG, texel.g),
                  Denormalise(_SplatChunks[chunk].colB, texel.b));
}

// Opacity: stored as a signed square around one half.
float DecodeOpacity(uint i, float4 texel) {
    uint range = _SplatChunks[ZEB_ELEMENT(1, i >> 8)].colA;
    float low = RangeLow(range);
    float u = ((low - 0.5) + texel.a * (RangeHigh(range) - low)) * 0.5;
    return SignOf(u) * sqrt(abs(u)) + 0.5;
}

uint SHRecordSize(uint format) {
    if (format == 0u) return 192u;
    if (format == 2u) return 60u;
    return format == 3u ? 32u : 96u;
}

uint SHRecordIndex(uint i) {
    if (SHFormat() <= 3u) return i;
    return Load_SplatOther(OtherSize() * (i + 1u) - 2u, 2u).x & 0xFFFFu;
}

// Bytes of one coefficient: halves for formats that share records.
uint SHCoefficientSize(uint format) { return format > 3u ? 6u : VectorSize(format); }

float3 UnpackSH(uint format, uint3 words) {
    if (format == 0u) return asfloat(words);
    if (format == 2u) return Unpack11(words.x);
    if (format == 3u)
        return float3(float(words.x & 31u) * 0.0322580636, float((words.x >> 5) & 63u) * 0.0158730168,
                      float((words.x >> 11) & 31u) * 0.0322580636);
    return float3(f16tof32(words.x & 0xFFFFu), f16tof32(words.x >> 16), f16tof32(words.y & 0xFFFFu));
}

struct SHSource {
    uint format;
    uint address;  // of the splat's record
    uint3 ranges;  // of the chunk: red, green, blue
};

SHSource OpenSH(uint i) {
    uint chunk = ZEB_ELEMENT(1, i >> 8);
    SHSource source;
    source.format = SHFormat();
    source.address = SHRecordSize(source.format) * SHRecordIndex(i);
    source.ranges = uint3(_SplatChunks[chunk].shR, _SplatChunks[chunk].shG, _SplatChunks[chunk].shB);
    return source;
}

// Coefficient k, 0 to 14; formats 1 to 3 are stored relative to the chunk's range.
float3 DecodeSH(SHSource source, uint k) {
    uint size = SHCoefficientSize(source.format);
    float3 v = UnpackSH(source.format, Load_SplatSH(source.address + k * size, size));
    if (source.format == 0u || source.format > 3u) return v;
    return float3(Denormalise(source.ranges.x, v.x), Denormalise(source.ranges.y, v.y),
                  Denormalise(source.ranges.z, v.z));
}

#endif
