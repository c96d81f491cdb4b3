// Sort keys of one model instance.
#include "SplatDecode.hlsli"
#include "SplatPlacement.hlsli"

RWStructuredBuffer<uint> _SplatSortDistances : register(u8);

cbuffer CalcDistancesConstants : register(b16) {
    float4x4 _CalcDistancesMatrixAlign;
    float4x4 _CalcDistancesMatrixVP;  // aligned space to view; its third row gives the depth
    uint _CalcDistancesSplatCount;
    uint _CalcDistancesInstanceIndex;
};

// One thread a splat, 256 to a group. Reads _SplatChunks and _SplatPos, writes element i of _SplatSortDistances:
// the depth's bits, turned so that their unsigned order is the numeric order of depths.
[numthreads(256, 1, 1)]
void CSCalcDistances(uint3 thread : SV_DispatchThreadID) {
    uint i = thread.x;
    if (i >= _CalcDistancesSplatCount) return;
    float3 aligned = TransformPoint(_CalcDistancesMatrixAlign, DecodePosition(i));
    float3 place = PlaceSplat(aligned, _CalcDistancesInstanceIndex);
    uint bits = asuint(TransformRow(_CalcDistancesMatrixVP[2], place));
    uint key = bits ^ (uint(int(bits) >> 31) | 0x80000000u);
    _SplatSortDistances[ZEB_ELEMENT(8, i)] = key;
}
