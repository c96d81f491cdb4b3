#pragma once

#include <cstdint>

#include "HostInterface/Layout.h"

// Numbers, geometry, colours and times of the interface. Widths are fixed: `long` differs between the systems.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

using A_char = char;
using A_u_char = uint8_t;
using A_Boolean = uint8_t;
using A_short = int16_t;
using A_u_short = uint16_t;
using A_long = int32_t;
using A_u_long = uint32_t;
using A_u_longlong = uint64_t;
using A_intptr_t = int64_t;
using A_HandleSize = uint64_t;
using A_FpShort = float;
using A_FpLong = double;
using A_Fixed = int32_t;  // 16.16
using A_UFixed = uint32_t;
using A_UTF16Char = uint16_t;
using A_Err = A_long;

using PF_Err = A_long;
#ifdef _WIN32
using PF_Boolean = char;
#else
using PF_Boolean = signed char;
#endif
using PF_FpShort = float;
using PF_FpLong = double;
using PF_Fixed = int32_t;  // 16.16
using PF_UFixed = uint32_t;
using PF_Handle = void**;  // *handle is the data
using PF_ConstPtr = const void*;
using PF_ConstHandle = const PF_ConstPtr*;

struct _PF_ProgPtr;
using PF_ProgPtr = _PF_ProgPtr*;

using SPErr = int32_t;
using SPBoolean = int32_t;

struct PF_SpecVersion {
    A_short major;
    A_short minor;
};
NIMBREL_LAYOUT(PF_SpecVersion, 4, 2);
NIMBREL_OFFSET(PF_SpecVersion, minor, 2);

struct PF_Point {
    A_long h;  // x
    A_long v;  // y
};
NIMBREL_LAYOUT(PF_Point, 8, 4);
NIMBREL_OFFSET(PF_Point, v, 4);

struct PF_LRect {
    A_long left, top, right, bottom;
};
using PF_Rect = PF_LRect;
using PF_UnionableRect = PF_LRect;
using A_LRect = PF_LRect;
NIMBREL_LAYOUT(PF_Rect, 16, 4);
NIMBREL_OFFSET(PF_Rect, top, 4);
NIMBREL_OFFSET(PF_Rect, right, 8);
NIMBREL_OFFSET(PF_Rect, bottom, 12);

struct PF_RationalScale {
    A_long num;
    A_u_long den;
};
NIMBREL_LAYOUT(PF_RationalScale, 8, 4);
NIMBREL_OFFSET(PF_RationalScale, den, 4);

struct PF_FixedPoint {
    PF_Fixed x, y;
};
NIMBREL_LAYOUT(PF_FixedPoint, 8, 4);
NIMBREL_OFFSET(PF_FixedPoint, y, 4);

struct PF_FloatMatrix {
    PF_FpLong mat[3][3];
};
NIMBREL_LAYOUT(PF_FloatMatrix, 72, 8);

// Channels are 0 to 255.
struct PF_Pixel {
    A_u_char alpha, red, green, blue;
};
using PF_Pixel8 = PF_Pixel;
using PF_UnionablePixel = PF_Pixel;
NIMBREL_LAYOUT(PF_Pixel, 4, 1);
NIMBREL_OFFSET(PF_Pixel, red, 1);
NIMBREL_OFFSET(PF_Pixel, green, 2);
NIMBREL_OFFSET(PF_Pixel, blue, 3);

// Channels are 0 to 32768.
struct PF_Pixel16 {
    A_u_short alpha, red, green, blue;
};
NIMBREL_LAYOUT(PF_Pixel16, 8, 2);
NIMBREL_OFFSET(PF_Pixel16, red, 2);
NIMBREL_OFFSET(PF_Pixel16, green, 4);
NIMBREL_OFFSET(PF_Pixel16, blue, 6);

// 1.0 is white; values outside 0 to 1 are legal.
struct PF_PixelFloat {
    PF_FpShort alpha, red, green, blue;
};
using PF_Pixel32 = PF_PixelFloat;
NIMBREL_LAYOUT(PF_PixelFloat, 16, 4);
NIMBREL_OFFSET(PF_PixelFloat, red, 4);
NIMBREL_OFFSET(PF_PixelFloat, green, 8);
NIMBREL_OFFSET(PF_PixelFloat, blue, 12);

// Seconds are value / scale.
struct A_Time {
    A_long value;
    A_u_long scale;
};
NIMBREL_LAYOUT(A_Time, 8, 4);
NIMBREL_OFFSET(A_Time, scale, 4);

struct A_Ratio {
    A_long num;
    A_u_long den;
};
NIMBREL_LAYOUT(A_Ratio, 8, 4);
NIMBREL_OFFSET(A_Ratio, den, 4);

struct A_FloatPoint {
    A_FpLong x, y;
};

struct A_FloatRect {
    A_FpLong left, top, right, bottom;
};

// mat[row][column]; vectors are rows, so row 3 is the translation.
struct A_Matrix4 {
    A_FpLong mat[4][4];
};
NIMBREL_LAYOUT(A_Matrix4, 128, 8);

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
