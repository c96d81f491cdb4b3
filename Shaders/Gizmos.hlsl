// Wireframe aids: rings, boxes, crosses and grids, as lines without vertex data. A vertex stage finds its place from
// the instance number, which says which shape and which ring or arm of it, and the vertex number.
#include "LineAreas.hlsli"
#include "ZebBinding.hlsli"
#include "ZebMath.hlsli"

// Scalar members only: 108 bytes under every interface's packing.
struct ShapeInfo {
    float transform[16];  // by columns, shape space to world
    float color[4];
    float center[3];
    float halfSize[3];
    float crossRadius;
};

cbuffer VertexShaderConstants : register(b0) {
    float4x4 viewProjection;
    uint circleDotsCount;
    uint gridCellsX;
    uint gridCellsZ;
};

StructuredBuffer<ShapeInfo> Shapes : register(t1);

float3 CenterOf(ShapeInfo shape) { return float3(shape.center[0], shape.center[1], shape.center[2]); }
float3 HalfSizeOf(ShapeInfo shape) { return float3(shape.halfSize[0], shape.halfSize[1], shape.halfSize[2]); }
float4 ColorOf(ShapeInfo shape) { return float4(shape.color[0], shape.color[1], shape.color[2], shape.color[3]); }

// World place of a point of shape space, all four components.
float4 ToWorld(ShapeInfo shape, float3 p) {
    float4 row0 = float4(shape.transform[0], shape.transform[4], shape.transform[8], shape.transform[12]);
    float4 row1 = float4(shape.transform[1], shape.transform[5], shape.transform[9], shape.transform[13]);
    float4 row2 = float4(shape.transform[2], shape.transform[6], shape.transform[10], shape.transform[14]);
    float4 row3 = float4(shape.transform[3], shape.transform[7], shape.transform[11], shape.transform[15]);
    return float4(TransformRow(row0, p), TransformRow(row1, p), TransformRow(row2, p), TransformRow(row3, p));
}

LineVertex MakeVertex(float4 world, float4 color) {
    LineVertex output;
    output.position = TransformVector4(viewProjection, world);
    output.color = color;
    return output;
}

// Reddish, greenish and bluish for rings and arms 0, 1 and 2, a little transparent.
float4 TintByAxis(uint axis, float4 color) {
    float3 tint = axis == 0u ? float3(1.0, 0.4, 0.4) : (axis == 1u ? float3(0.4, 1.0, 0.4) : float3(0.4, 0.4, 1.0));
    return float4(tint * color.rgb, color.a * 0.7);
}

// Three rings a shape, as strips: ring 0 about x, 1 about y, 2 about z.
LineVertex SphereVertex(uint vertex, uint instance) {
    ShapeInfo shape = Shapes[ZEB_ELEMENT(1, instance / 3u)];
    uint ring = instance % 3u;
    float angle = float(vertex) * 6.28318548 / float(circleDotsCount);
    float3 c = CenterOf(shape);
    float3 h = HalfSizeOf(shape);
    float3 p = float3(cos(angle) * h.x + c.x, sin(angle) * h.y + c.y, c.z);
    if (ring == 0u) p = float3(c.x, cos(angle) * h.y + c.y, sin(angle) * h.z + c.z);
    if (ring == 1u) p = float3(cos(angle) * h.x + c.x, c.y, sin(angle) * h.z + c.z);
    return MakeVertex(ToWorld(shape, p), TintByAxis(ring, ColorOf(shape)));
}

// Signs of the corner at end `e` of edge k: four edges around z = -1, four around z = 1, then four along z.
float3 BoxCorner(uint k, uint e) {
    if (k >= 8u) return float3((k == 9u || k == 10u) ? 1.0 : -1.0, k >= 10u ? 1.0 : -1.0, e == 0u ? -1.0 : 1.0);
    uint corner = ((k & 3u) + e) & 3u;
    return float3((corner == 1u || corner == 2u) ? 1.0 : -1.0, corner >= 2u ? 1.0 : -1.0, k < 4u ? -1.0 : 1.0);
}

// A line list of 12 edges, 24 vertices, one instance a shape.
LineVertex BoxVertex(uint vertex, uint instance) {
    ShapeInfo shape = Shapes[ZEB_ELEMENT(1, instance)];
    float3 p = BoxCorner(vertex >> 1, vertex & 1u) * HalfSizeOf(shape) + CenterOf(shape);
    return MakeVertex(float4(ToWorld(shape, p).xyz, 1.0), ColorOf(shape));
}

// Three arms a shape, two vertices each.
LineVertex CrossVertex(uint vertex, uint instance) {
    ShapeInfo shape = Shapes[ZEB_ELEMENT(1, instance / 3u)];
    uint axis = instance % 3u;
    float d = shape.crossRadius * (2.0 * float(vertex) - 1.0);
    float3 c = CenterOf(shape);
    float3 p = float3(axis == 0u ? c.x + d : c.x, axis == 1u ? c.y + d : c.y, axis == 2u ? c.z + d : c.z);
    return MakeVertex(ToWorld(shape, p), TintByAxis(axis, ColorOf(shape)));
}

// A flat grid at the centre's height, one instance a shape: lines along z first, then lines along x. Their running
// number goes on from the first family's, so the second comes in rotated order when the cell counts differ.
LineVertex YGridVertex(uint vertex, uint instance) {
    ShapeInfo shape = Shapes[ZEB_ELEMENT(1, instance)];
    float3 c = CenterOf(shape);
    float3 h = HalfSizeOf(shape);
    uint k = vertex >> 1;
    float e = float(vertex & 1u);
    float cellsX = float(gridCellsX);
    float cellsZ = float(gridCellsZ);
    float stepX = h.x * 2.0 / cellsX;
    float stepZ = h.z * 2.0 / cellsZ;
    float x = stepX * e * cellsX;
    float z = float(k % (gridCellsZ + 1u)) * stepZ;
    if (vertex < (gridCellsX + 1u) * 2u) {
        x = float(k % (gridCellsX + 1u)) * stepX;
        z = stepZ * e * cellsZ;
    }
    return MakeVertex(ToWorld(shape, float3(c.x + (x - h.x), c.y, (z - h.z) + c.z)), ColorOf(shape));
}

LINE_STRIP_STAGE(VSSphereMain, SphereVertex)
LINE_LIST_STAGE(VSBoxMain, BoxVertex)
LINE_STRIP_STAGE(VSCrossMain, CrossVertex)
LINE_LIST_STAGE(VSYGridMain, YGridVertex)

float4 PSMain(LineVaryings input) : SV_Target { return LineColor(input); }
