#include <cmath>
#include <glm/gtc/type_ptr.hpp>

#include "NimbrelHost/Support/Text.h"
#include "Suites/DrawbotObjects.h"
#include "Suites/SuiteSupport.h"

// The surface that is drawn on: it records.

namespace nimbrel::host {
namespace {

void PushStateStack(Host& host, DRAWBOT_SurfaceRef reference) {
    Surface(host, CustomUI::Role::Surface, reference).Push();
}

void PopStateStack(Host& host, DRAWBOT_SurfaceRef reference) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    if (!surface.Pop()) throw DrawbotError("a state that was pushed");
}

void PaintRect(Host& host, DRAWBOT_SurfaceRef reference, const DRAWBOT_ColorRGBA* color, const DRAWBOT_RectF32* rect) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    Need(color);
    Need(rect);
    const DrawingPath path{{{DrawingPath::Verb::Rect, {{{rect->left, rect->top}, {rect->width, rect->height}, {}}}}}};
    surface.Add(FillCall{path, ReadColor(*color), false});
}

void FillPath(Host& host, DRAWBOT_SurfaceRef reference, DRAWBOT_BrushRef brush, DRAWBOT_PathRef path, A_long fillType) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    const bool known = fillType == kDRAWBOT_FillType_EvenOdd || fillType == kDRAWBOT_FillType_Winding;
    if (!known) throw DrawbotError("a fill type from 0 to 1");
    surface.Add(FillCall{Get<DrawingPath>(host, path), Get<DrawingBrush>(host, brush).mColor,
                         fillType == kDRAWBOT_FillType_Winding});
}

void StrokePath(Host& host, DRAWBOT_SurfaceRef reference, DRAWBOT_PenRef penReference, DRAWBOT_PathRef path) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    const DrawingPen& pen = Get<DrawingPen>(host, penReference);
    surface.Add(StrokeCall{Get<DrawingPath>(host, path), pen.mColor, pen.mWidth, pen.mDashes});
}

DrawingRect ReadRect(const DRAWBOT_Rect32& rect) {
    return {static_cast<float>(rect.left), static_cast<float>(rect.top), static_cast<float>(rect.width),
            static_cast<float>(rect.height)};
}

void Clip(Host& host, DRAWBOT_SurfaceRef reference, DRAWBOT_SupplierRef supplier, const DRAWBOT_Rect32* rect) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    Surface(host, CustomUI::Role::Supplier, supplier);
    Need(rect);
    surface.Clip(ReadRect(*rect));
}

// Whole numbers, outwards, so that what is left out is certainly not seen.
void GetClipBounds(Host& host, DRAWBOT_SurfaceRef reference, DRAWBOT_Rect32* rect) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    Need(rect);
    const DrawingRect clip = surface.GetClip();
    const auto left = static_cast<A_long>(std::floor(clip.mLeft)), top = static_cast<A_long>(std::floor(clip.mTop));
    *rect = {left, top, static_cast<A_long>(std::ceil(clip.mLeft + clip.mWidth)) - left,
             static_cast<A_long>(std::ceil(clip.mTop + clip.mHeight)) - top};
}

void IsWithinClipBounds(Host& host, DRAWBOT_SurfaceRef reference, const DRAWBOT_Rect32* rect, A_Boolean* within) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    Need(rect);
    Need(within);
    const DrawingRect clip = surface.GetClip(), asked = ReadRect(*rect);
    const bool inside = asked.mLeft >= clip.mLeft && asked.mTop >= clip.mTop &&
                        asked.mLeft + asked.mWidth <= clip.mLeft + clip.mWidth &&
                        asked.mTop + asked.mHeight <= clip.mTop + clip.mHeight;
    *within = inside ? 1 : 0;
}

// Rows of the record are for row vectors, like all matrices of the interface: the same memory as columns for columns.
void Transform(Host& host, DRAWBOT_SurfaceRef reference, const DRAWBOT_MatrixF32* matrix) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    Need(matrix);
    const glm::mat3 columns = glm::make_mat3(&matrix->mat[0][0]);
    const bool isAffine = columns[0][2] == 0 && columns[1][2] == 0 && columns[2][2] == 1;
    if (!isAffine || glm::determinant(columns) == 0) throw DrawbotError("an affine transform that can be undone");
    surface.Transform(columns);
}

void DrawString(Host& host, DRAWBOT_SurfaceRef reference, DRAWBOT_BrushRef brush, DRAWBOT_FontRef font,
                const DRAWBOT_UTF16Char* text, const DRAWBOT_PointF32* origin, A_long alignment, A_long truncation,
                float width) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    Need(text);
    Need(origin);
    if (alignment < 0 || alignment > kDRAWBOT_TextAlignment_Right || truncation < 0 ||
        truncation > kDRAWBOT_TextTruncation_PathEllipsis) {
        throw DrawbotError("a known alignment and truncation");
    }
    surface.Add(TextCall{ToUtf8(text),
                         {origin->x, origin->y},
                         Get<DrawingBrush>(host, brush).mColor,
                         Get<DrawingFont>(host, font).mSize,
                         alignment,
                         truncation,
                         width});
}

void DrawImage(Host& host, DRAWBOT_SurfaceRef reference, DRAWBOT_ImageRef image, const DRAWBOT_PointF32* origin,
               float alpha) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    Need(origin);
    // A copy: its scale may change before the next draw.
    const auto copy = std::make_shared<DrawingImage>(*Get<std::shared_ptr<DrawingImage>>(host, image));
    surface.Add(ImageCall{copy, {origin->x, origin->y}, alpha});
}

template <bool IsAntiAlias>
void SetPolicy(Host& host, DRAWBOT_SurfaceRef reference, A_long policy) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    if (policy < 0 || policy > 2) throw DrawbotError("a policy from 0 to 2");
    surface.SetQuality(IsAntiAlias ? policy : surface.GetAntiAlias(),
                       IsAntiAlias ? surface.GetInterpolation() : policy);
}

template <bool IsAntiAlias>
void GetPolicy(Host& host, DRAWBOT_SurfaceRef reference, A_long* policy) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    Need(policy);
    *policy = IsAntiAlias ? surface.GetAntiAlias() : surface.GetInterpolation();
}

void Flush(Host& host, DRAWBOT_SurfaceRef reference) { Surface(host, CustomUI::Role::Surface, reference); }

void GetTransformToScreenScale(Host& host, DRAWBOT_SurfaceRef reference, float* scale) {
    DrawingSurface& surface = Surface(host, CustomUI::Role::Surface, reference);
    Need(scale);
    *scale = surface.GetScale();
}

}  // namespace

void AddDrawbotSurfaceSuite(SuiteRegistry& suites) {
    static const DRAWBOT_SurfaceSuite2 made = [] {
        auto table = MakeTable<DRAWBOT_SurfaceSuite2>(kDRAWBOT_SurfaceSuite, kDrawingCodes);
        NIMBREL_SERVE(table, PushStateStack, PushStateStack);
        NIMBREL_SERVE(table, PopStateStack, PopStateStack);
        NIMBREL_SERVE(table, PaintRect, PaintRect);
        NIMBREL_SERVE(table, FillPath, FillPath);
        NIMBREL_SERVE(table, StrokePath, StrokePath);
        NIMBREL_SERVE(table, Clip, Clip);
        NIMBREL_SERVE(table, GetClipBounds, GetClipBounds);
        NIMBREL_SERVE(table, IsWithinClipBounds, IsWithinClipBounds);
        NIMBREL_SERVE(table, Transform, Transform);
        NIMBREL_SERVE(table, DrawString, DrawString);
        NIMBREL_SERVE(table, DrawImage, DrawImage);
        NIMBREL_SERVE(table, SetInterpolationPolicy, SetPolicy<false>);
        NIMBREL_SERVE(table, GetInterpolationPolicy, GetPolicy<false>);
        NIMBREL_SERVE(table, SetAntiAliasPolicy, SetPolicy<true>);
        NIMBREL_SERVE(table, GetAntiAliasPolicy, GetPolicy<true>);
        NIMBREL_SERVE(table, Flush, Flush);
        NIMBREL_SERVE(table, GetTransformToScreenScale, GetTransformToScreenScale);
        return table;
    }();
    suites.Add(kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2, &made);
}

}  // namespace nimbrel::host
