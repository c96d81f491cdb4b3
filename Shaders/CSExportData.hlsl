// Packed splats back to plain floats.
#include "SplatDecodeAll.hlsli"

// Scalar members only: 248 bytes under every interface's packing.
struct ExportSplatData {
    float pos[3];
    float nor[3];
    float dc0[3];
    float shR14[4], shR58[4], shR9C[4], shRDF[3];
    float shG14[4], shG58[4], shG9C[4], shGDF[3];
    float shB14[4], shB58[4], shB9C[4], shBDF[3];
    float opacity;
    float scale[3];
    float rot[4];
};

RWStructuredBuffer<ExportSplatData> _ExportBuffer : register(u18);

cbuffer ExportDataConstants : register(b19) {
    uint _ExportDataSplatCount;
};

float NaturalLog(float x) { return log2(x) * 0.693147182; }

// The decoded colour as a constant SH term.
float ToConstantTerm(uint range, float v) {
    float low = RangeLow(range);
    return ((low - 0.5) + v * (RangeHigh(range) - low)) * 3.54490757;
}

#define STORE_SH(k, suffix, index)                  \
    {                                                \
        float3 coefficient = DecodeSH(source, k);    \
        record.shR##suffix[index] = coefficient.r;   \
        record.shG##suffix[index] = coefficient.g;   \
        record.shB##suffix[index] = coefficient.b;   \
    }
#define STORE3(member, value) \
    record.member[0] = (value).x; \
    record.member[1] = (value).y; \
    record.member[2] = (value).z;

// One thread a splat, 256 to a group. Reads the asset's blocks, writes record i of _ExportBuffer. All fifteen
// coefficients are written whatever the asset's degree; no effect, crop or camera enters.
[numthreads(256, 1, 1)]
void CSExportData(uint3 thread : SV_DispatchThreadID) {
    uint i = thread.x;
    if (i >= _ExportDataSplatCount) return;
    ExportSplatData record;
    float3 position = DecodePosition(i);
    STORE3(pos, position)
    STORE3(nor, float3(0.0, 0.0, 0.0))
    uint chunk = ZEB_ELEMENT(1, i >> 8);
    float4 texel = LoadColorTexel(i);
    float3 dc0 = float3(ToConstantTerm(_SplatChunks[chunk].colR, texel.r),
                        ToConstantTerm(_SplatChunks[chunk].colG, texel.g),
                        ToConstantTerm(_SplatChunks[chunk].colB, texel.b));
    STORE3(dc0, dc0)
    SHSource source = OpenSH(i);
    STORE_SH(0u, 14, 0) STORE_SH(1u, 14, 1) STORE_SH(2u, 14, 2) STORE_SH(3u, 14, 3)
    STORE_SH(4u, 58, 0) STORE_SH(5u, 58, 1) STORE_SH(6u, 58, 2) STORE_SH(7u, 58, 3)
    STORE_SH(8u, 9C, 0) STORE_SH(9u, 9C, 1) STORE_SH(10u, 9C, 2) STORE_SH(11u, 9C, 3)
    STORE_SH(12u, DF, 0) STORE_SH(13u, DF, 1) STORE_SH(14u, DF, 2)
    float opacity = DecodeOpacity(i, texel);
    record.opacity = NaturalLog(opacity / max(0.5 - (opacity - 0.5), 9.99999997e-07));
    float3 scale = DecodeScale(i);
    STORE3(scale, float3(NaturalLog(scale.x), NaturalLog(scale.y), NaturalLog(scale.z)))
    float4 rotation = DecodeRotation(i);
    record.rot[0] = rotation.w;
    record.rot[1] = rotation.x;
    record.rot[2] = rotation.y;
    record.rot[3] = rotation.z;
    _ExportBuffer[ZEB_ELEMENT(18, i)] = record;
}
