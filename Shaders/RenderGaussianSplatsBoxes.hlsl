// A second view of the splat records, which no frame draws.
#include "SplatViewData.hlsli"
#include "ZebBinding.hlsli"

StructuredBuffer<uint> _OrderBuffer : register(t7);
StructuredBuffer<SplatViewData> _SplatViewData : register(t8);

struct Varyings {
    float4 color : COLOR;
    float4 position : SV_Position;
};

// Every vertex of a visible splat lies at the origin with w 0, so that nothing reaches the screen.
Varyings vert(uint vertex : SV_VertexID, uint instance : SV_InstanceID) {
    float w = _SplatViewData[ZEB_ELEMENT(8, _OrderBuffer[ZEB_ELEMENT(7, instance)])].pos[3];
    Varyings output;
    output.color = float4(1.0, 1.0, 1.0, 0.3);
    output.position = float4(0.0, 0.0, 0.0, 0.0);
    if (w <= 0.0) {
        float nan = asfloat(0x7FC00000u);
        output.color = float4(0.0, 0.0, 0.0, 0.0);
        output.position = float4(nan, nan, nan, nan);
    }
    return output;
}

float4 frag(Varyings input) : SV_Target { return float4(input.color.rgb * input.color.a, input.color.a); }
