// Colour of a splat from a direction by real spherical harmonics of degree 1 to 3.
#ifndef SPLAT_SH_HLSLI
#define SPLAT_SH_HLSLI

#include "SplatDecodeAll.hlsli"

// `color` holds the constant term; `d` is the unit direction; bands up to `order` are added. Clamped at 0.
float3 EvaluateSH(SHSource source, float3 color, float3 d, int order) {
    float3 res = color;
    float x = d.x, y = d.y, z = d.z;
    if (order > 0) {
        res += 0.488602489 * (DecodeSH(source, 0u) * y - DecodeSH(source, 1u) * z + DecodeSH(source, 2u) * x);
    }
    float xx = x * x, yy = y * y, zz = z * z, xy = x * y;
    if (order > 1) {
        res += DecodeSH(source, 3u) * (1.09254837 * xy);
        res += DecodeSH(source, 4u) * (-1.09254837 * z * y);
        res += DecodeSH(source, 5u) * (0.3153916 * (2.0 * zz - xx - yy));
        res += DecodeSH(source, 6u) * (-1.09254837 * z * x);
        res += DecodeSH(source, 7u) * (0.546274185 * (xx - yy));
    }
    if (order > 2) {
        res += DecodeSH(source, 8u) * (0.590043604 * y * (3.0 * xx - yy));
        res += DecodeSH(source, 9u) * (-2.89061141 * z * xy);
        res += DecodeSH(source, 10u) * (0.457045794 * y * (4.0 * zz - xx - yy));
        res += DecodeSH(source, 11u) * (-0.373176306 * z * (2.0 * zz - 3.0 * xx - 3.0 * yy));
        res += DecodeSH(source, 12u) * (0.457045794 * x * (4.0 * zz - xx - yy));
        res += DecodeSH(source, 13u) * (-1.44530571 * z * (xx - yy));
        res += DecodeSH(source, 14u) * (0.590043604 * x * (xx - 3.0 * yy));
    }
    return max(res, 0.0);
}

#endif
