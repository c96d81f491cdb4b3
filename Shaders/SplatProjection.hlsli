// From a splat's rotation and scale to the two semi-axes of its ellipse on the screen: the covariance is carried
// through the affine approximation of the projection (EWA splatting, Zwicker et al. 2001).
#ifndef SPLAT_PROJECTION_HLSLI
#define SPLAT_PROJECTION_HLSLI

#include "ZebMath.hlsli"

// Rotation times scale, by rows.
struct SplatMatrix {
    float3 row0, row1, row2;
};

SplatMatrix BuildSplatMatrix(float4 q, float3 s) {
    float x = q.x, y = q.y, z = q.z, w = q.w;
    SplatMatrix m;
    m.row0 = float3(s.x * (1.0 - 2.0 * (y * y + z * z)), s.y * (2.0 * (x * y - w * z)), s.z * (2.0 * (x * z + w * y)));
    m.row1 = float3(s.x * (2.0 * (x * y + w * z)), s.y * (1.0 - 2.0 * (x * x + z * z)), s.z * (2.0 * (y * z - w * x)));
    m.row2 = float3(s.x * (2.0 * (x * z - w * y)), s.y * (2.0 * (y * z + w * x)), s.z * (1.0 - 2.0 * (x * x + y * y)));
    return m;
}

// Symmetric 3 by 3 matrix.
struct Covariance {
    float s00, s01, s02, s11, s12, s22;
};

Covariance BuildCovariance(SplatMatrix m, float scale) {
    float s2 = scale * scale;
    Covariance sigma;
    sigma.s00 = Dot3(s2 * m.row0, m.row0);
    sigma.s01 = Dot3(s2 * m.row0, m.row1);
    sigma.s02 = Dot3(s2 * m.row0, m.row2);
    sigma.s11 = Dot3(s2 * m.row1, m.row1);
    sigma.s12 = Dot3(s2 * m.row1, m.row2);
    sigma.s22 = Dot3(s2 * m.row2, m.row2);
    return sigma;
}

float3 ApplyCovariance(Covariance sigma, float3 v) {
    return float3(Dot3(float3(sigma.s00, sigma.s01, sigma.s02), v), Dot3(float3(sigma.s01, sigma.s11, sigma.s12), v),
                  Dot3(float3(sigma.s02, sigma.s12, sigma.s22), v));
}

// Rows of the 2 by 3 matrix that takes asset space to the screen around the splat.
struct ScreenRows {
    float3 t0, t1;
};

// `modelView` takes asset space to view, `p` is the splat's undisplaced position: the shape follows the asset.
ScreenRows PerspectiveRows(float4x4 modelView, float4x4 projection, float screenWidth, float3 p) {
    float3 v = TransformPoint(modelView, p);
    float p00 = projection[0][0];
    float p11 = projection[1][1];
    float limX = 1.3 / p00;
    float limY = 1.3 / ((p00 / p11) * p11);
    float focal = (screenWidth * 0.5) * p00;
    float tx = clamp(v.x / v.z, -limX, limX);
    float ty = clamp(v.y / v.z, -limY, limY);
    float j00 = focal / v.z;
    float j02 = -(focal * v.z * tx) / (v.z * v.z);
    float j12 = -(focal * v.z * ty) / (v.z * v.z);
    ScreenRows rows;
    rows.t0 = j00 * modelView[0].xyz + j02 * modelView[2].xyz;
    rows.t1 = j00 * modelView[1].xyz + j12 * modelView[2].xyz;
    return rows;
}

ScreenRows OrthographicRows(float4x4 modelView) {
    ScreenRows rows;
    rows.t0 = modelView[0].xyz;
    rows.t1 = modelView[1].xyz;
    return rows;
}

// Semi-axes in pixels: axis1 in xy, axis2 in zw. Screen y runs opposite to clip y.
float4 ScreenAxes(Covariance sigma, ScreenRows rows) {
    float3 s0 = ApplyCovariance(sigma, rows.t0);
    float3 s1 = ApplyCovariance(sigma, rows.t1);
    float a = Dot3(rows.t0, s0) + 0.3;
    float c = Dot3(rows.t1, s1) + 0.3;
    float b = Dot3(rows.t0, s1);
    float mid = (a + c) * 0.5;
    float halfDifference = (a - c) * 0.5;
    float radius = sqrt(halfDifference * halfDifference + b * b);
    float l1 = mid + radius;
    float l2 = max(mid - radius, 0.1);
    float e = l1 - a;
    float r = 1.0 / sqrt(b * b + e * e);
    float dx = r * b;
    float dy = -(r * e);
    float m1 = min(sqrt(2.0 * l1), 4096.0);
    float m2 = min(sqrt(2.0 * l2), 4096.0);
    return float4(m1 * dx, m1 * dy, m2 * dy, -(m2 * dx));
}

#endif
