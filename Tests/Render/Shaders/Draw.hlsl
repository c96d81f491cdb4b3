// Drawing programs of the device tests.
#include "ZebBinding.hlsli"

cbuffer Quad : register(b0) {
    float4 _Rectangle;  // left, bottom, right, top in clip space
    float4 _Color;
    float _Depth;
};
StructuredBuffer<float4> _Colors : register(t1);
Texture2D<float4> _Texture : register(t2);
SamplerState _Sampler : register(s3);

struct Varying {
    float4 position : SV_Position;
    float4 color : COLOR;
};

// Two triangles, clockwise on the screen.
float2 Corner(uint vertex) {
    uint corner = vertex < 3 ? vertex : (vertex == 3 ? 2 : (vertex == 4 ? 1 : 3));
    return float2(corner & 1, corner >> 1);
}

Varying QuadVertex(uint vertex : SV_VertexID) {
    Varying result;
    float2 corner = Corner(vertex);
    result.position = float4(lerp(_Rectangle.x, _Rectangle.z, corner.x), lerp(_Rectangle.w, _Rectangle.y, corner.y),
                             _Depth, 1);
    result.color = _Color;
    return result;
}

// Instance n is a column of a quarter of the target's width, in the colour of element n.
Varying ColumnVertex(uint vertex : SV_VertexID, uint instance : SV_InstanceID) {
    Varying result;
    float2 corner = Corner(vertex);
    result.position = float4((corner.x + instance) * 0.5 - 1, 1 - 2 * corner.y, 0.5, 1);
    result.color = _Colors[ZEB_ELEMENT(1, instance)];
    return result;
}

float4 ColorPixel(Varying input) : SV_Target { return input.color; }

float4 TexturePixel(Varying input) : SV_Target {
    return _Texture.SampleLevel(_Sampler, float2(0.5, 0.5), 0) + input.color;
}
