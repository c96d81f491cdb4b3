// Glyph quads in pixel space, tinted by one colour. The third coordinate is the layer of the glyph texture.
#include "ZebBinding.hlsli"
#include "ZebMath.hlsli"

cbuffer cb0 : register(b0) {
    float4 color;
};

cbuffer cb1 : register(b1) {
    float4x4 projection;
};

Texture2DArray<float4> fontTexture : register(t0);
SamplerState fontSampler : register(s0);

struct Varyings {
    float4 position : SV_Position;
    float3 texcoord : TEXCOORD;
};

// Reads the vertex's position in pixels and its texture coordinate.
Varyings VSMain(float4 position : POSITION, float3 texcoord : TEXCOORD) {
    Varyings output;
    output.position = TransformVector4(projection, position);
    output.texcoord = texcoord;
    return output;
}

float4 PSMain(Varyings input) : SV_Target { return fontTexture.Sample(fontSampler, input.texcoord) * color; }
