// The splat draw: a quad for each splat, near ones first, blended under what is there.
#include "SplatViewData.hlsli"
#include "ZebBinding.hlsli"

StructuredBuffer<uint> _OrderBuffer : register(t7);
StructuredBuffer<SplatViewData> _SplatViewData : register(t8);

cbuffer TextureConstants : register(b9) {
    float2 _ScreenParams;  // target's size in pixels
    int _StartIndex;
    int _Count;
#if defined(ZEB_VIEW_WINDOWS)
    uint _WindowSize;
#endif
};

// ZEB_VIEW_WINDOWS is the form for more records than a device binds at once: windows of one buffer, of _WindowSize
// records each, begin at t8 and go on at t10. Those that a frame does not need repeat the first.
#if defined(ZEB_VIEW_WINDOWS)
#define DECLARE_WINDOW(n) StructuredBuffer<SplatViewData> _SplatViewData##n : register(t##n);
DECLARE_WINDOW(10)
DECLARE_WINDOW(11)
DECLARE_WINDOW(12)
DECLARE_WINDOW(13)
DECLARE_WINDOW(14)
DECLARE_WINDOW(15)
DECLARE_WINDOW(16)
DECLARE_WINDOW(17)
DECLARE_WINDOW(18)
DECLARE_WINDOW(19)

SplatViewData LoadRecord(uint i) {
    uint window = i / _WindowSize;
    uint k = i % _WindowSize;
    if (window == 0u) return _SplatViewData[k];
    if (window == 1u) return _SplatViewData10[k];
    if (window == 2u) return _SplatViewData11[k];
    if (window == 3u) return _SplatViewData12[k];
    if (window == 4u) return _SplatViewData13[k];
    if (window == 5u) return _SplatViewData14[k];
    if (window == 6u) return _SplatViewData15[k];
    if (window == 7u) return _SplatViewData16[k];
    if (window == 8u) return _SplatViewData17[k];
    if (window == 9u) return _SplatViewData18[k];
    return _SplatViewData19[k];
}

#else

SplatViewData LoadRecord(uint i) { return _SplatViewData[ZEB_ELEMENT(8, i)]; }

#endif

struct Varyings {
    float4 color : COLOR;
    float2 corner : TEXCOORD;
    float4 position : SV_Position;
};

float4 DroppedPosition() {
    float nan = asfloat(0x7FC00000u);
    return float4(nan, nan, nan, nan);
}

// Vertices 0 to 3 of an instance are the corners of its splat's quad, two semi-axes from the centre each way. Reads
// _OrderBuffer and _SplatViewData. A splat with pos.w of 0 or less gets no place.
Varyings vert(uint vertex : SV_VertexID, uint instance : SV_InstanceID) {
    SplatViewData record = LoadRecord(_OrderBuffer[ZEB_ELEMENT(7, instance)]);
    Varyings output;
    float w = record.pos[3];
    if (w <= 0.0) {
        output.color = float4(0.0, 0.0, 0.0, 0.0);
        output.corner = float2(0.0, 0.0);
        output.position = DroppedPosition();
        return output;
    }
    output.color = float4(f16tof32(record.color[0] >> 16), f16tof32(record.color[0] & 0xFFFFu),
                          f16tof32(record.color[1] >> 16), f16tof32(record.color[1] & 0xFFFFu));
    float2 q = float2(float(vertex & 1u) * 4.0 - 2.0, float((vertex >> 1) & 1u) * 4.0 - 2.0);
    float2 offset = float2(record.axis1[0] * q.x + record.axis2[0] * q.y, record.axis1[1] * q.x + record.axis2[1] * q.y);
    output.position = float4(record.pos[0] + (2.0 * offset.x / _ScreenParams.x) * w,
                             record.pos[1] + (2.0 * offset.y / _ScreenParams.y) * w, record.pos[2], w);
    output.corner = q;
    return output;
}

// Premultiplied colour of a splat at a place of its quad. A negative opacity, or NaN, gives a highlighted look.
float4 frag(Varyings input) : SV_Target {
    float d = input.corner.x * input.corner.x + input.corner.y * input.corner.y;
    float p = exp2(d * -1.44269502);
    float3 color = input.color.rgb;
    float alpha;
    if (input.color.a >= 0.0) {
        alpha = saturate(p * input.color.a);
    } else {
        if (p > 0.0274509806 && p < 0.0392156877) {
            color = float3(1.0, 0.0, 1.0);
            p = 1.0;
        }
        alpha = p > 0.0274509806 ? saturate(p + 0.3) : p;
        color = float3(color.r + (1.0 - color.r) * 0.5, color.g * 0.5, color.b + (1.0 - color.b) * 0.5);
    }
    if (alpha < 0.00392156886) discard;
    return float4(color * alpha, alpha);
}
