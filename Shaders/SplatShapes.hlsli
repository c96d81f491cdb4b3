// Shapes with soft edges, and the curves that say what an effect does at a place in them.
#ifndef SPLAT_SHAPES_HLSLI
#define SPLAT_SHAPES_HLSLI

#define RAMP_ROWS 7
#define RAMP_COLOR_AMOUNT 0
#define RAMP_OPACITY 1
#define RAMP_DISPLACEMENT_OFFSET 2
#define RAMP_DISPLACEMENT_SCALE 3
#define RAMP_DISPLACEMENT_ROTATION 4
#define RAMP_SCALE 5
#define RAMP_NOISE 6

Texture2D<float> _SplatRamps : register(t12);  // RAMP_ROWS rows for each model instance
SamplerState _LinearSampler : register(s14);

// Distance from the centre, below 1 inside. Type 0 is an ellipsoid, 1 a box; any other type has no outside.
float ShapeDistance(int type, float3 center, float3 halfSize, float3 q) {
    float3 d = abs(q - center) / halfSize;
    if (type == 0) return sqrt(d.y * d.y + d.x * d.x + d.z * d.z);
    if (type == 1) return max(max(d.x, d.y), d.z);
    return 0.0;
}

// 0 in the middle of the shape to 1 at its edge and outside; the rise takes the outermost part `feather` of it.
float Feather(float t, float feather) {
    float s = SignOf(feather);
    float s2 = s * s;
    float f = feather - 1.0;
    float u = saturate((f + t) * (s2 / (f + s2)));
    return (1.0 - u) * (t < 1.0 ? 0.0 : 1.0) + u;
}

float ShapeFeather(int type, float3 center, float3 halfSize, float feather, float3 q) {
    return Feather(ShapeDistance(type, center, halfSize, q), feather);
}

// The curve in row `row` of an instance at g, 0 inside the shape to 1 outside.
float SampleRamp(uint instance, uint row, float g) {
    float width, height;  // not integers, which Wine's Direct3D answers wrongly
    _SplatRamps.GetDimensions(width, height);
    float v = (float(RAMP_ROWS * instance + row) + 0.5) / height;
    return _SplatRamps.SampleLevel(_LinearSampler, float2(g, v), 0.0);
}

#endif
