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

#define STORE_SH(k, index, red, green, blue)       \
    {                                              \
        float3 coefficient = DecodeSH(source, k);  \
        record.red[index] = coefficient.r;         \
        record.green[index] = coefficient.g;       \
        record.blue[index] = coefficient.b;        \
    }
#define STORE_THREE_SH(k, red, green, blue)        \
    STORE_SH(k, 0, red, green, blue)               \
    STORE_SH(k + 1u, 1, red, green, blue)          \
    STORE_SH(k + 2u, 2, red, green, blue)
#define STORE_FOUR_SH(k, red, green, blue)         \
    STORE_THREE_SH(k, red, green, blue)            \
    STORE_SH(k + 3u, 3, red, green, blue)
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
    STORE_FOUR_SH(0u, shR14, shG14, shB14)
    STORE_FOUR_SH(4u, shR58, shG58, shB58)
    STORE_FOUR_SH(8u, shR9C, shG9C, shB9C)
    STORE_THREE_SH(12u, shRDF, shGDF, shBDF)
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
