// Lays the splats' depth picture over black, with full alpha.
#include "ZebBinding.hlsli"

Texture2D<float4> tex : register(t0);
SamplerState samplerState : register(s1);

struct Varyings {
    float4 position : SV_Position;
    float2 uv : TEXCOORD;
};

// Six vertices, two triangles over the whole target, no vertex data.
Varyings VSMain(uint vertex : SV_VertexID) {
    float2 position = float2(0.0, 0.0);
    float2 uv = float2(0.0, 0.0);
    if (vertex == 0u) {
        position = float2(-1.0, -1.0);
        uv = float2(0.0, 1.0);
    } else if (vertex == 1u || vertex == 4u) {
        position = float2(-1.0, 1.0);
    } else if (vertex == 2u || vertex == 3u) {
        position = float2(1.0, -1.0);
        uv = float2(1.0, 1.0);
    } else if (vertex == 5u) {
        position = float2(1.0, 1.0);
        uv = float2(1.0, 0.0);
    }
    Varyings output;
    output.position = float4(position, 0.0, 1.0);
    output.uv = uv;
    return output;
}

float4 PSMain(Varyings input) : SV_Target {
    float4 texel = tex.Sample(samplerState, input.uv);
    return float4(texel.rgb * texel.a, 1.0);
}
