#pragma once

#include "HostInterface/Events.h"

// Drawing into custom controls: references and values.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

using DRAWBOT_UTF16Char = uint16_t;
using DRAWBOT_Boolean = uint8_t;

struct DRAWBOT_Object;
using DRAWBOT_ObjectRef = DRAWBOT_Object*;
struct DRAWBOT_Supplier;
using DRAWBOT_SupplierRef = DRAWBOT_Supplier*;
struct DRAWBOT_Surface;
using DRAWBOT_SurfaceRef = DRAWBOT_Surface*;
struct DRAWBOT_Path;
using DRAWBOT_PathRef = DRAWBOT_Path*;
struct DRAWBOT_Pen;
using DRAWBOT_PenRef = DRAWBOT_Pen*;
struct DRAWBOT_Brush;
using DRAWBOT_BrushRef = DRAWBOT_Brush*;
struct DRAWBOT_Font;
using DRAWBOT_FontRef = DRAWBOT_Font*;
struct DRAWBOT_Image;
using DRAWBOT_ImageRef = DRAWBOT_Image*;

// Alpha is last, unlike everywhere else.
struct DRAWBOT_ColorRGBA {
    float red, green, blue, alpha;
};
NIMBREL_LAYOUT(DRAWBOT_ColorRGBA, 16, 4);
NIMBREL_OFFSET(DRAWBOT_ColorRGBA, green, 4);
NIMBREL_OFFSET(DRAWBOT_ColorRGBA, blue, 8);
NIMBREL_OFFSET(DRAWBOT_ColorRGBA, alpha, 12);

struct DRAWBOT_PointF32 {
    float x, y;
};
NIMBREL_LAYOUT(DRAWBOT_PointF32, 8, 4);
NIMBREL_OFFSET(DRAWBOT_PointF32, y, 4);

struct DRAWBOT_RectF32 {
    float left, top, width, height;
};
NIMBREL_LAYOUT(DRAWBOT_RectF32, 16, 4);
NIMBREL_OFFSET(DRAWBOT_RectF32, top, 4);
NIMBREL_OFFSET(DRAWBOT_RectF32, width, 8);
NIMBREL_OFFSET(DRAWBOT_RectF32, height, 12);

struct DRAWBOT_Rect32 {
    A_long left, top, width, height;
};
NIMBREL_LAYOUT(DRAWBOT_Rect32, 16, 4);
NIMBREL_OFFSET(DRAWBOT_Rect32, top, 4);
NIMBREL_OFFSET(DRAWBOT_Rect32, width, 8);
NIMBREL_OFFSET(DRAWBOT_Rect32, height, 12);

struct DRAWBOT_MatrixF32 {
    float mat[3][3];
};
NIMBREL_LAYOUT(DRAWBOT_MatrixF32, 36, 4);

using DRAWBOT_FillType = A_long;
enum : DRAWBOT_FillType {
    kDRAWBOT_FillType_EvenOdd = 0,
    kDRAWBOT_FillType_Winding = 1,
};

using DRAWBOT_PixelLayout = A_long;
enum : DRAWBOT_PixelLayout {
    kDRAWBOT_PixelLayout_24RGB = 0,
    kDRAWBOT_PixelLayout_24BGR = 1,
    kDRAWBOT_PixelLayout_32RGB = 2,
    kDRAWBOT_PixelLayout_32BGR = 3,
    kDRAWBOT_PixelLayout_32ARGB_Straight = 4,
    kDRAWBOT_PixelLayout_32ARGB_Premul = 5,
    kDRAWBOT_PixelLayout_32BGRA_Straight = 6,
    kDRAWBOT_PixelLayout_32BGRA_Premul = 7,
};

using DRAWBOT_TextAlignment = A_long;
enum : DRAWBOT_TextAlignment {
    kDRAWBOT_TextAlignment_Left = 0,
    kDRAWBOT_TextAlignment_Center = 1,
    kDRAWBOT_TextAlignment_Right = 2,
};

using DRAWBOT_TextTruncation = A_long;
enum : DRAWBOT_TextTruncation {
    kDRAWBOT_TextTruncation_None = 0,
    kDRAWBOT_TextTruncation_End = 1,
    kDRAWBOT_TextTruncation_EndEllipsis = 2,
    kDRAWBOT_TextTruncation_PathEllipsis = 3,
};

using DRAWBOT_InterpolationPolicy = A_long;
enum : DRAWBOT_InterpolationPolicy {
    kDRAWBOT_InterpolationPolicy_None = 0,
    kDRAWBOT_InterpolationPolicy_Med = 1,
    kDRAWBOT_InterpolationPolicy_High = 2,
};

using DRAWBOT_AntiAliasPolicy = A_long;
enum : DRAWBOT_AntiAliasPolicy {
    kDRAWBOT_AntiAliasPolicy_None = 0,
    kDRAWBOT_AntiAliasPolicy_Med = 1,
    kDRAWBOT_AntiAliasPolicy_High = 2,
};

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
