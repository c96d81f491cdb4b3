// Passes that copy a picture texel by texel into another target, as a strip of four vertices.
#include "ZebBinding.hlsli"

cbuffer Constants : register(b0) {
    float2 size;  // of the picture, in pixels
};

Texture2D<float4> sourceTexture : register(t0);

struct Varyings {
    float4 position : SV_Position;
    float2 texel : TEXCOORD;
};

// Four vertices, no vertex data; the coordinate runs over the picture in pixels.
Varyings VSMain(uint vertex : SV_VertexID) {
    float right = float(vertex & 1u);
    float bottom = float(vertex >> 1);
    Varyings output;
    output.position = float4(right * 2.0 - 1.0, 1.0 - bottom * 2.0, 0.0, 1.0);
    output.texel = float2(right * size.x, bottom * size.y);
    return output;
}

// The texel as it stands.
float4 PSConvertNone(Varyings input) : SV_Target {
    return sourceTexture.Load(int3(int(input.texel.x), int(input.texel.y), 0));
}

// Premultiplied to straight colour. Nearly transparent texels keep their colour and lose their alpha.
float4 PSConvertUnmultiply(Varyings input) : SV_Target {
    float4 texel = sourceTexture.Load(int3(int(input.texel.x), int(input.texel.y), 0));
    if (texel.a < 0.00100000005) return float4(texel.rgb, 0.0);
    return float4(texel.rgb / texel.a, texel.a);
}
