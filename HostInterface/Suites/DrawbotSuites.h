#pragma once

#include "HostInterface/Drawbot.h"

// Drawing into custom controls.

extern "C" {

#define kDRAWBOT_DrawSuite "DRAWBOT Draw Suite"
#define kDRAWBOT_DrawSuite_Version1 1

struct DRAWBOT_DrawbotSuite1 {
    SPErr (*GetSupplier)(DRAWBOT_DrawRef, DRAWBOT_SupplierRef*);
    SPErr (*GetSurface)(DRAWBOT_DrawRef, DRAWBOT_SurfaceRef*);
};
NIMBREL_SLOTS(DRAWBOT_DrawbotSuite1, 2);
NIMBREL_SLOT(DRAWBOT_DrawbotSuite1, 0, GetSupplier);
NIMBREL_SLOT(DRAWBOT_DrawbotSuite1, 1, GetSurface);

#define kDRAWBOT_SupplierSuite "DRAWBOT Supplier Suite"
#define kDRAWBOT_SupplierSuite_Version1 1

struct DRAWBOT_SupplierSuite1 {
    SPErr (*NewPen)(DRAWBOT_SupplierRef, const DRAWBOT_ColorRGBA*, float size, DRAWBOT_PenRef*);
    SPErr (*NewBrush)(DRAWBOT_SupplierRef, const DRAWBOT_ColorRGBA*, DRAWBOT_BrushRef*);
    SPErr (*SupportsText)(DRAWBOT_SupplierRef, A_Boolean* supports_text);
    SPErr (*GetDefaultFontSize)(DRAWBOT_SupplierRef, float* font_size);
    SPErr (*NewDefaultFont)(DRAWBOT_SupplierRef, float font_size, DRAWBOT_FontRef*);
    SPErr (*NewImageFromBuffer)(DRAWBOT_SupplierRef, A_long width, A_long height, A_long row_bytes, A_long pl,
                                const void*, DRAWBOT_ImageRef*);  // pl = pixel layout
    SPErr (*NewPath)(DRAWBOT_SupplierRef, DRAWBOT_PathRef*);
    SPErr (*SupportsPixelLayoutBGRA)(DRAWBOT_SupplierRef, A_Boolean* supports_bgra);
    SPErr (*PrefersPixelLayoutBGRA)(DRAWBOT_SupplierRef, A_Boolean* prefers_bgra);
    SPErr (*SupportsPixelLayoutARGB)(DRAWBOT_SupplierRef, A_Boolean* supports_argb);
    SPErr (*PrefersPixelLayoutARGB)(DRAWBOT_SupplierRef, A_Boolean* prefers_argb);
    SPErr (*RetainObject)(DRAWBOT_ObjectRef);
    SPErr (*ReleaseObject)(DRAWBOT_ObjectRef);  // for pens, brushes, paths, images, fonts; not for supplier or surface
};
NIMBREL_SLOTS(DRAWBOT_SupplierSuite1, 13);
NIMBREL_SLOT(DRAWBOT_SupplierSuite1, 0, NewPen);
NIMBREL_SLOT(DRAWBOT_SupplierSuite1, 1, NewBrush);
NIMBREL_SLOT(DRAWBOT_SupplierSuite1, 5, NewImageFromBuffer);
NIMBREL_SLOT(DRAWBOT_SupplierSuite1, 6, NewPath);
NIMBREL_SLOT(DRAWBOT_SupplierSuite1, 7, SupportsPixelLayoutBGRA);
NIMBREL_SLOT(DRAWBOT_SupplierSuite1, 10, PrefersPixelLayoutARGB);
NIMBREL_SLOT(DRAWBOT_SupplierSuite1, 12, ReleaseObject);

#define kDRAWBOT_SurfaceSuite "DRAWBOT Surface Suite"
#define kDRAWBOT_SurfaceSuite_Version2 2

struct DRAWBOT_SurfaceSuite2 {
    SPErr (*PushStateStack)(DRAWBOT_SurfaceRef);
    SPErr (*PopStateStack)(DRAWBOT_SurfaceRef);
    SPErr (*PaintRect)(DRAWBOT_SurfaceRef, const DRAWBOT_ColorRGBA*, const DRAWBOT_RectF32*);
    SPErr (*FillPath)(DRAWBOT_SurfaceRef, DRAWBOT_BrushRef, DRAWBOT_PathRef, A_long fill_type);
    SPErr (*StrokePath)(DRAWBOT_SurfaceRef, DRAWBOT_PenRef, DRAWBOT_PathRef);
    SPErr (*Clip)(DRAWBOT_SurfaceRef, DRAWBOT_SupplierRef, const DRAWBOT_Rect32*);
    SPErr (*GetClipBounds)(DRAWBOT_SurfaceRef, DRAWBOT_Rect32*);
    SPErr (*IsWithinClipBounds)(DRAWBOT_SurfaceRef, const DRAWBOT_Rect32*, A_Boolean* within);
    SPErr (*Transform)(DRAWBOT_SurfaceRef, const DRAWBOT_MatrixF32*);
    SPErr (*DrawString)(DRAWBOT_SurfaceRef, DRAWBOT_BrushRef, DRAWBOT_FontRef, const DRAWBOT_UTF16Char* string,
                        const DRAWBOT_PointF32*, A_long alignment_style, A_long truncation_style,
                        float truncation_width);
    SPErr (*DrawImage)(DRAWBOT_SurfaceRef, DRAWBOT_ImageRef, const DRAWBOT_PointF32*, float alpha);
    SPErr (*SetInterpolationPolicy)(DRAWBOT_SurfaceRef, A_long interp);
    SPErr (*GetInterpolationPolicy)(DRAWBOT_SurfaceRef, A_long* interp);
    SPErr (*SetAntiAliasPolicy)(DRAWBOT_SurfaceRef, A_long policy);
    SPErr (*GetAntiAliasPolicy)(DRAWBOT_SurfaceRef, A_long* policy);
    SPErr (*Flush)(DRAWBOT_SurfaceRef);
    SPErr (*GetTransformToScreenScale)(DRAWBOT_SurfaceRef, float* scale);
};
NIMBREL_SLOTS(DRAWBOT_SurfaceSuite2, 17);
NIMBREL_SLOT(DRAWBOT_SurfaceSuite2, 3, FillPath);
NIMBREL_SLOT(DRAWBOT_SurfaceSuite2, 4, StrokePath);
NIMBREL_SLOT(DRAWBOT_SurfaceSuite2, 10, DrawImage);
NIMBREL_SLOT(DRAWBOT_SurfaceSuite2, 16, GetTransformToScreenScale);

#define kDRAWBOT_PathSuite "DRAWBOT Path Suite"
#define kDRAWBOT_PathSuite_Version1 1

struct DRAWBOT_PathSuite1 {
    SPErr (*MoveTo)(DRAWBOT_PathRef, float x, float y);
    SPErr (*LineTo)(DRAWBOT_PathRef, float x, float y);
    SPErr (*BezierTo)(DRAWBOT_PathRef, const DRAWBOT_PointF32*, const DRAWBOT_PointF32*, const DRAWBOT_PointF32*);
    SPErr (*AddRect)(DRAWBOT_PathRef, const DRAWBOT_RectF32*);
    SPErr (*AddArc)(DRAWBOT_PathRef, const DRAWBOT_PointF32*, float radius, float start_angle, float sweep);
    SPErr (*Close)(DRAWBOT_PathRef);
};
NIMBREL_SLOTS(DRAWBOT_PathSuite1, 6);
NIMBREL_SLOT(DRAWBOT_PathSuite1, 0, MoveTo);
NIMBREL_SLOT(DRAWBOT_PathSuite1, 1, LineTo);
NIMBREL_SLOT(DRAWBOT_PathSuite1, 3, AddRect);
NIMBREL_SLOT(DRAWBOT_PathSuite1, 5, Close);

#define kDRAWBOT_PenSuite "DRAWBOT Pen Suite"
#define kDRAWBOT_PenSuite_Version1 1

struct DRAWBOT_PenSuite1 {
    SPErr (*SetDashPattern)(DRAWBOT_PenRef, const float* dashes, A_long count);
};
NIMBREL_SLOTS(DRAWBOT_PenSuite1, 1);

#define kDRAWBOT_ImageSuite "DRAWBOT Image Suite"
#define kDRAWBOT_ImageSuite_Version1 1

struct DRAWBOT_ImageSuite1 {
    SPErr (*SetScaleFactor)(DRAWBOT_ImageRef, float scale);
};
NIMBREL_SLOTS(DRAWBOT_ImageSuite1, 1);

// No part of the binary interface: what a plug-in keeps of the suites it acquired.
struct DRAWBOT_Suites {
    DRAWBOT_DrawbotSuite1* drawbot_suiteP;
    DRAWBOT_SupplierSuite1* supplier_suiteP;
    DRAWBOT_SurfaceSuite2* surface_suiteP;
    DRAWBOT_PathSuite1* path_suiteP;
    DRAWBOT_PenSuite1* pen_suiteP;
    DRAWBOT_ImageSuite1* image_suiteP;
};

}  // extern "C"
