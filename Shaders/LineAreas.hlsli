// Stages that draw lines, from functions that place a vertex. The rule on all devices is that of diamonds: a line takes
// one pixel for each step along its longer axis, those whose diamond it leaves. Most devices draw so themselves. For the
// others there is the form ZEB_LINE_AREAS: six vertices make an area around each line, list or strip, and the pixel stage
// keeps the pixels that the rule takes. Its arithmetic follows that of the CPU device's lines.
#ifndef LINE_AREAS_HLSLI
#define LINE_AREAS_HLSLI

struct LineVertex {
    float4 position;  // in clip space
    float4 color;
};

struct LineVaryings {
    float4 position : SV_Position;
    float4 color : COLOR;
#if defined(ZEB_LINE_AREAS)
    nointerpolation float4 ends : ENDS;  // x and y of both in pixels
#endif
};

#if defined(ZEB_LINE_AREAS)

cbuffer LineAreaConstants : register(b2) {
    float2 _LineTargetSize;  // in pixels
};

// Positive inside. Depth ends where the target's does, the sides lie beyond the target's.
float DistanceInside(float4 p, uint plane) {
    if (plane == 0u) return p.z;
    if (plane == 1u) return p.w - p.z;
    float along = plane < 4u ? p.x : p.y;
    return 2.0 * p.w + ((plane & 1u) == 0u ? along : -along);
}

// On the grid of a 256th of a pixel that corners lie on.
float2 ToLinePixels(float4 p) {
    float inverseW = 1.0 / p.w;
    float2 middle = _LineTargetSize * 0.5;
    float2 pixels = float2(p.x * inverseW * middle.x + middle.x, p.y * inverseW * -middle.y + middle.y);
    return round(pixels * 256.0) / 256.0;
}

LineVaryings LineAreaCorner(LineVertex first, LineVertex second, uint corner) {
    float4 a = first.position;
    float4 b = second.position;
    bool isSeen = true;
    for (uint plane = 0u; plane < 6u; ++plane) {
        float da = DistanceInside(a, plane);
        float db = DistanceInside(b, plane);
        float4 cut = a + (b - a) * (da / (da - db));
        if (da < 0.0 && db < 0.0) isSeen = false;
        if (da < 0.0 && db >= 0.0) a = cut;
        if (db < 0.0 && da >= 0.0) b = cut;
    }
    LineVaryings output;
    output.position = float4(2.0, 2.0, 0.0, 1.0);
    output.color = first.color;
    output.ends = float4(0.0, 0.0, 0.0, 0.0);
    if (!isSeen) return output;
    float2 p = ToLinePixels(a);
    float2 q = ToLinePixels(b);
    output.ends = float4(p, q);
    // Wide and long enough for the middle of every pixel that the line may take.
    float2 along = q - p;
    float size = sqrt(along.x * along.x + along.y * along.y);
    if (size == 0.0) return output;
    along = along * (1.5 / size);
    float2 across = float2(-along.y, along.x);
    bool isFar = corner == 1u || corner == 2u || corner == 4u;
    bool isRight = corner == 2u || corner == 4u || corner == 5u;
    float2 place = (isFar ? q + along : p - along) + (isRight ? across : -across);
    float2 middle = _LineTargetSize * 0.5;
    output.position = float4(place.x / middle.x - 1.0, 1.0 - place.y / middle.y, 0.0, 1.0);
    return output;
}

// `middle` is that of a pixel.
bool IsOnLine(float4 ends, float2 middle) {
    bool isSteep = abs(ends.w - ends.y) > abs(ends.z - ends.x);
    float2 major = isSteep ? ends.yw : ends.xz;
    float2 minor = isSteep ? ends.xz : ends.yw;
    float2 pixel = isSteep ? middle.yx : middle.xy;
    if (major.y < major.x) {
        major = -major;
        pixel.x = -pixel.x;
    }
    if (major.x == major.y) return false;
    // A line just between two pixels takes the upper or left one.
    float crossing = minor.x + (minor.y - minor.x) * (pixel.x - major.x) / (major.y - major.x);
    if (ceil(crossing) - 0.5 != pixel.y) return false;
    // A line leaves a diamond that it starts in, and does not leave the one that it ends in.
    float2 reach = float2(abs(major.x - pixel.x) + abs(minor.x - pixel.y), abs(major.y - pixel.x) + abs(minor.y - pixel.y));
    float2 outer = floor(major) + 0.5;
    bool hasBegun = pixel.x > outer.x || (pixel.x == outer.x && (major.x <= pixel.x || reach.x < 0.5));
    bool goesOn = pixel.x < outer.y || (pixel.x == outer.y && major.y > pixel.x && reach.y >= 0.5);
    return hasBegun && goesOn;
}

float4 LineColor(LineVaryings input) {
    if (!IsOnLine(input.ends, input.position.xy)) discard;
    return input.color;
}

#define LINE_STAGE(name, place, step) \
    LineVaryings name(uint vertex : SV_VertexID, uint instance : SV_InstanceID) { \
        uint first = vertex / 6u * step; \
        return LineAreaCorner(place(first, instance), place(first + 1u, instance), vertex % 6u); \
    }
#define LINE_STRIP_STAGE(name, place) LINE_STAGE(name, place, 1u)
#define LINE_LIST_STAGE(name, place) LINE_STAGE(name, place, 2u)

#else

float4 LineColor(LineVaryings input) { return input.color; }

#define LINE_STRIP_STAGE(name, place) \
    LineVaryings name(uint vertex : SV_VertexID, uint instance : SV_InstanceID) { \
        LineVertex placed = place(vertex, instance); \
        LineVaryings output; \
        output.position = placed.position; \
        output.color = placed.color; \
        return output; \
    }
#define LINE_LIST_STAGE(name, place) LINE_STRIP_STAGE(name, place)

#endif

#endif
