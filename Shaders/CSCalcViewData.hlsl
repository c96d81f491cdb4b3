// Projection and colour of the splats of one model instance: all that the draw has not to do.
#include "SplatEffects.hlsli"
#include "SplatPlacement.hlsli"
#include "SplatSH.hlsli"
#include "SplatViewData.hlsli"

#define CAMERA_ORTHOGRAPHIC 1u

cbuffer CalcViewDataConstants : register(b7) {
    float4x4 _MatrixAlign;          // asset space to aligned model space
    float4x4 _MatrixTransform;      // aligned model space to world
    float4x4 _MatrixWorldToObject;  // upper 3 by 3: world directions to those of SH
    float4x4 _MatrixVP;             // world to clip
    float4x4 _MatrixMV;             // asset space to view
    float4x4 _MatrixCamera;         // world to view
    float4x4 _MatrixP;              // view to clip
    float4 _VecScreenParams;        // target's width and height in pixels
    float4 _VecWorldSpaceCameraPos;
    float _SplatScale;
    float _SplatOpacityScale;
    uint _SHOrder;  // compared as signed
    uint _SplatCount;
    uint _CameraType;
    uint _DrawingIndex;  // the instance's rows in the ramp and gradient textures
    uint _DrawZDepth;
    float _ZDepthNear;
    float _ZDepthFar;
};

RWStructuredBuffer<SplatViewData> _SplatViewData : register(u17);

void StoreRecord(uint i, float4 pos, float4 axes, uint2 color) {
    SplatViewData record;
    record.pos[0] = pos.x;
    record.pos[1] = pos.y;
    record.pos[2] = pos.z;
    record.pos[3] = pos.w;
    record.axis1[0] = axes.x;
    record.axis1[1] = axes.y;
    record.axis2[0] = axes.z;
    record.axis2[1] = axes.w;
    record.color[0] = color.x;
    record.color[1] = color.y;
    _SplatViewData[ZEB_ELEMENT(17, i)] = record;
}

void StoreCropped(uint i) { StoreRecord(i, float4(0.0, 0.0, 0.0, 0.0), float4(0.0, 0.0, 0.0, 0.0), uint2(0, 0)); }

float4 ProjectAxes(float3 position, SplatMatrix m, float scale) {
    Covariance sigma = BuildCovariance(m, scale);
    if (_CameraType == 0u)
        return ScreenAxes(sigma, PerspectiveRows(_MatrixMV, _MatrixP, _VecScreenParams.x, position));
    return ScreenAxes(sigma, OrthographicRows(_MatrixMV));
}

// An orthographic camera has no one place to look from: bands above the constant one are left out.
float3 ShadeSplat(uint i, float4 texel, float3 world) {
    float3 color = DecodeColor(i, texel);
    if (_CameraType != 0u) return max(color, 0.0);
    float3 v = _VecWorldSpaceCameraPos.xyz - world;
    float3 d = float3(Dot3(_MatrixWorldToObject[0].xyz, v), Dot3(_MatrixWorldToObject[1].xyz, v),
                      Dot3(_MatrixWorldToObject[2].xyz, v));
    d = d * (1.0 / sqrt(Dot3(d, d)));
    return EvaluateSH(OpenSH(i), color, d, int(_SHOrder));
}

float DepthShade(float3 world) {
    float depth = TransformRow(_MatrixCamera[2], world);
    return saturate(1.0 - (depth - _ZDepthNear) / (_ZDepthFar - _ZDepthNear));
}

// One thread a splat, 256 to a group. Reads the asset's blocks, the curves and the constants of the instance; writes
// record i of _SplatViewData, which is all zeros for a cropped splat and has a pos.w of 0 or less behind the camera.
[numthreads(256, 1, 1)]
void CSCalcViewData(uint3 thread : SV_DispatchThreadID) {
    uint i = thread.x;
    if (i >= _SplatCount) return;
    float3 position = DecodePosition(i);
    float3 aligned = TransformPoint(_MatrixAlign, position);
    if (IsCroppedByShape(aligned)) {
        StoreCropped(i);
        return;
    }
    float3 place = PlaceSplat(aligned, _DrawingIndex);
    float3 world = TransformPoint(_MatrixTransform, place);
    float4 clip = TransformPoint4(_MatrixVP, world);
    float scale = ScaleFactor(place, _DrawingIndex) * _SplatScale;
    if (clip.w <= 0.0 && _CameraType != CAMERA_ORTHOGRAPHIC) {
        StoreRecord(i, clip, float4(0.0, 0.0, 0.0, 0.0), uint2(0, 0));
        return;
    }
    SplatMatrix m = BuildSplatMatrix(DecodeRotation(i), DecodeScale(i));
    if (IsCroppedByPlane(_MatrixAlign[1], position, m)) {
        StoreCropped(i);
        return;
    }
    float4 axes = ProjectAxes(position, m, scale);
    float4 texel = LoadColorTexel(i);
    float3 color = ApplyColorEffect(ShadeSplat(i, texel, world), place, _DrawingIndex);
    if (_DrawZDepth == 1u) {
        float shade = DepthShade(world);
        color = float3(shade, shade, shade);
    }
    float opacity = min(_SplatOpacityScale * DecodeOpacity(i, texel) * OpacityFactor(place, _DrawingIndex), 65000.0);
    StoreRecord(i, clip, axes, uint2(PackHalves(color.g, color.r), PackHalves(opacity, color.b)));
}
