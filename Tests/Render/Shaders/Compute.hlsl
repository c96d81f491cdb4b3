// Programs of the device tests, one entry each. Numbers of registers differ all through the file, since one number
// names one buffer.
#include "ZebBinding.hlsli"

ByteAddressBuffer _RawSource : register(t1);
RWByteAddressBuffer _RawResult : register(u2);

// Scalars only: vectors would be aligned to their own size, and the record would not come to 40 bytes.
struct Record {
    float a, b, c, d, e, f, g, h;
    uint i, j;
};
StructuredBuffer<Record> _RecordSource : register(t3);
RWStructuredBuffer<Record> _RecordResult : register(u4);

RWStructuredBuffer<uint> _Chain : register(u6);

Texture2D<float4> _FirstTexture : register(t7);
Texture2D<float4> _SecondTexture : register(t8);
SamplerState _Sampler : register(s9);
RWStructuredBuffer<float4> _Samples : register(u10);
StructuredBuffer<float4> _Positions : register(t12);

#if defined(ZEB_GAPI_VULKAN)
[[spv::format_rgba32f]]
#endif
RWTexture2D<float4> _Image : register(u13);

cbuffer Numbers : register(b0) {
    uint _Count;
    uint _Addend;
    uint _Unused0;
    uint _Unused1;
    uint4 _More[4];
};

cbuffer Scale : register(b14) {
    uint _Factor;
};

// _RawResult[i] = _RawSource[i] * _Factor + _Addend, in 32-bit words.
[numthreads(64, 1, 1)]
void RawAdd(uint3 id : SV_DispatchThreadID) {
    if (id.x >= _Count) return;
    uint value = _RawSource.Load(ZEB_BYTES(1, id.x * 4));
    _RawResult.Store(ZEB_BYTES(2, id.x * 4), value * _Factor + _Addend);
}

// Copies records of 40 bytes and counts each field up by another number.
[numthreads(64, 1, 1)]
void RecordAdd(uint3 id : SV_DispatchThreadID) {
    if (id.x >= _Count) return;
    Record value = _RecordSource[ZEB_ELEMENT(3, id.x)];
    value.a += 1;
    value.b += 2;
    value.c += 3;
    value.d += 4;
    value.e += 5;
    value.f += 6;
    value.g += 7;
    value.h += 8;
    value.i += _Addend;
    value.j += _More[3].w;
    _RecordResult[ZEB_ELEMENT(4, id.x)] = value;
}

// x -> 3 x + _Addend: the order of dispatches shows in the result.
[numthreads(64, 1, 1)]
void Chain(uint3 id : SV_DispatchThreadID) {
    if (id.x < _Count) _Chain[ZEB_ELEMENT(6, id.x)] = _Chain[ZEB_ELEMENT(6, id.x)] * 3 + _Addend;
}

// Two textures at the positions' x, y and z, w.
[numthreads(64, 1, 1)]
void Sample(uint3 id : SV_DispatchThreadID) {
    if (id.x >= _Count) return;
    float4 position = _Positions[ZEB_ELEMENT(12, id.x)];
    _Samples[ZEB_ELEMENT(10, id.x)] = _FirstTexture.SampleLevel(_Sampler, position.xy, 0) +
                                      100 * _SecondTexture.SampleLevel(_Sampler, position.zw, 0);
}

// Each texel of a 4 by 4 image gets its place.
[numthreads(4, 4, 1)]
void WriteImage(uint3 id : SV_DispatchThreadID) {
    _Image[id.xy] = float4(id.xy, _Addend, 1);
}
