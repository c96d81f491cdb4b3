// Stands in for the effects of the splat kernels, and for their constants and curves, with what each comes to when it
// is off: the kernels of Shaders/ are built with it a second time, to see what effects cost that are there but off.
#include "SplatProjection.hlsli"
#include "ZebMath.hlsli"
#define SPLAT_EFFECTS_HLSLI
#define SPLAT_PLACEMENT_HLSLI

float3 PlaceSplat(float3 aligned, uint instance) { return aligned; }
bool IsCroppedByShape(float3 aligned) { return false; }
bool IsCroppedByPlane(float4 row, float3 position, SplatMatrix m) { return false; }
float ScaleFactor(float3 place, uint instance) { return 1.0; }
float3 ApplyColorEffect(float3 color, float3 place, uint instance) { return color; }
float OpacityFactor(float3 place, uint instance) { return 1.0; }
