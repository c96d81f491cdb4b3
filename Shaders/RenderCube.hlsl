// Coloured geometry from a vertex buffer.
#include "ZebBinding.hlsli"
#include "ZebMath.hlsli"

cbuffer VertexShaderConstants : register(b0) {
    float4x4 modelViewProjection;
};

struct Varyings {
    float4 position : SV_Position;
    float4 color : COLOR;
};

// Reads the vertex's position, all four components, and its colour.
Varyings VSMain(float4 position : POSITION, float4 color : COLOR) {
    Varyings output;
    output.position = TransformVector4(modelViewProjection, position);
    output.color = color;
    return output;
}

float4 PSMain(Varyings input) : SV_Target { return input.color; }
