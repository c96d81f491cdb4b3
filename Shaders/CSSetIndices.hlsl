// Start of the sort's payload.
#include "ZebBinding.hlsli"

cbuffer SetIndicesConstants : register(b10) {
    uint _SetIndiceSplatCount;
};

RWStructuredBuffer<uint> _SplatSortKeys : register(u9);

// One thread for each splat of all instances, 256 to a group; writes _SplatSortKeys. Afterwards it holds the identity.
// More groups than a device takes along x go on in further rows of 65535.
[numthreads(256, 1, 1)]
void CSSetIndices(uint3 thread : SV_DispatchThreadID) {
    uint i = thread.y * (65535u * 256u) + thread.x;
    if (i >= _SetIndiceSplatCount) return;
    _SplatSortKeys[ZEB_ELEMENT(9, i)] = i;
}
