#include <fmt/format.h>

#include <cmath>
#include <glm/gtc/type_ptr.hpp>
#include <utility>

#include "NimbrelHost/Text.h"
#include "Suites/DrawbotObjects.h"
#include "Suites/SuiteSupport.h"

// The suites of drawing: the reference, the supplier of things to draw with, and the surface. The surface records.

namespace nimbrel::host {
namespace {

constexpr float kDefaultFontSize = 11;

SPErr GetSupplier(DRAWBOT_DrawRef reference, DRAWBOT_SupplierRef* supplier) {
    return Drawn("GetSupplier", [&] {
        Surface(CustomUI::Role::Draw, reference);
        Need(supplier);
        *supplier = static_cast<DRAWBOT_SupplierRef>(TheUI().GetReference(CustomUI::Role::Supplier));
    });
}

SPErr GetSurface(DRAWBOT_DrawRef reference, DRAWBOT_SurfaceRef* surface) {
    return Drawn("GetSurface", [&] {
        Surface(CustomUI::Role::Draw, reference);
        Need(surface);
        *surface = static_cast<DRAWBOT_SurfaceRef>(TheUI().GetReference(CustomUI::Role::Surface));
    });
}

/// Makes an object and hands its reference out, which holds one count.
template <class Value, class Reference>
SPErr Make(const char* function, DRAWBOT_SupplierRef supplier, Reference* reference, Value value) {
    return Drawn(function, [&] {
        Surface(CustomUI::Role::Supplier, supplier);
        Need(reference);
        auto object = std::make_unique<DrawingObject>(DrawingObject{std::move(value)});
        *reference = reinterpret_cast<Reference>(TheUI().GetObjects().Add(std::move(object)));
    });
}

glm::vec4 ReadColor(const DRAWBOT_ColorRGBA& color) { return {color.red, color.green, color.blue, color.alpha}; }

DrawingRect ReadRect(const DRAWBOT_RectF32& rect) { return {rect.left, rect.top, rect.width, rect.height}; }

SPErr NewPen(DRAWBOT_SupplierRef supplier, const DRAWBOT_ColorRGBA* color, float size, DRAWBOT_PenRef* pen) {
    if (color == nullptr || !(size >= 0) || !std::isfinite(size)) return Refuse("NewPen", "a colour and a width");
    return Make("NewPen", supplier, pen, DrawingPen{ReadColor(*color), size, {}});
}

SPErr NewBrush(DRAWBOT_SupplierRef supplier, const DRAWBOT_ColorRGBA* color, DRAWBOT_BrushRef* brush) {
    if (color == nullptr) return Refuse("NewBrush", "a colour");
    return Make("NewBrush", supplier, brush, DrawingBrush{ReadColor(*color)});
}

SPErr GetDefaultFontSize(DRAWBOT_SupplierRef supplier, float* size) {
    return Drawn("GetDefaultFontSize", [&] {
        Surface(CustomUI::Role::Supplier, supplier);
        Need(size);
        *size = kDefaultFontSize;
    });
}

SPErr NewDefaultFont(DRAWBOT_SupplierRef supplier, float size, DRAWBOT_FontRef* font) {
    if (!(size > 0) || size > 1000) return Refuse("NewDefaultFont", "a size from above 0 to 1000");
    return Make("NewDefaultFont", supplier, font, DrawingFont{size});
}

SPErr NewPath(DRAWBOT_SupplierRef supplier, DRAWBOT_PathRef* path) {
    return Make("NewPath", supplier, path, DrawingPath{});
}

SPErr NewImageFromBuffer(DRAWBOT_SupplierRef supplier, A_long width, A_long height, A_long rowBytes, A_long layout,
                         const void* pixels, DRAWBOT_ImageRef* reference) {
    constexpr const char* function = "NewImageFromBuffer";
    std::shared_ptr<DrawingImage> image = ReadImage(width, height, rowBytes, layout, pixels);
    if (image == nullptr) {
        return Refuse(function, fmt::format("pixels of a size and layout that it knows, not {} x {} in layout {} with "
                                            "rows of {} bytes",
                                            width, height, layout, rowBytes));
    }
    return Make(function, supplier, reference, std::move(image));
}

/// Answers of the supplier that are yes or no.
template <bool (*Answer)(const DrawingSurface&)>
SPErr Ask(DRAWBOT_SupplierRef supplier, A_Boolean* answer) {
    return Drawn("a question to the supplier", [&] {
        const DrawingSurface& surface = Surface(CustomUI::Role::Supplier, supplier);
        Need(answer);
        *answer = Answer(surface) ? 1 : 0;
    });
}

bool Yes(const DrawingSurface&) { return true; }
bool PrefersArgb(const DrawingSurface& surface) { return surface.PrefersArgb(); }
bool PrefersBgra(const DrawingSurface& surface) { return !surface.PrefersArgb(); }

SPErr RetainObject(DRAWBOT_ObjectRef reference) {
    return Drawn("RetainObject", [&] { ++Object(reference).mReferences; });
}

SPErr ReleaseObject(DRAWBOT_ObjectRef reference) {
    return Drawn("ReleaseObject", [&] {
        if (--Object(reference).mReferences == 0) TheUI().GetObjects().Take(reference);
    });
}

SPErr PushStateStack(DRAWBOT_SurfaceRef reference) {
    return OnSurface("PushStateStack", reference, [](DrawingSurface& surface) { surface.Push(); });
}

SPErr PopStateStack(DRAWBOT_SurfaceRef reference) {
    return OnSurface("PopStateStack", reference, [](DrawingSurface& surface) {
        if (!surface.Pop()) throw DrawbotError("a state that was pushed");
    });
}

SPErr PaintRect(DRAWBOT_SurfaceRef reference, const DRAWBOT_ColorRGBA* color, const DRAWBOT_RectF32* rect) {
    return OnSurface("PaintRect", reference, [&](DrawingSurface& surface) {
        Need(color);
        Need(rect);
        const DrawingPath path{
            {{DrawingPath::Verb::Rect, {{{rect->left, rect->top}, {rect->width, rect->height}, {}}}}}};
        surface.Add(FillCall{path, ReadColor(*color), false});
    });
}

SPErr FillPath(DRAWBOT_SurfaceRef reference, DRAWBOT_BrushRef brush, DRAWBOT_PathRef path, A_long fillType) {
    return OnSurface("FillPath", reference, [&](DrawingSurface& surface) {
        const bool known = fillType == kDRAWBOT_FillType_EvenOdd || fillType == kDRAWBOT_FillType_Winding;
        if (!known) throw DrawbotError("a fill type from 0 to 1");
        surface.Add(
            FillCall{Get<DrawingPath>(path), Get<DrawingBrush>(brush).mColor, fillType == kDRAWBOT_FillType_Winding});
    });
}

SPErr StrokePath(DRAWBOT_SurfaceRef reference, DRAWBOT_PenRef penReference, DRAWBOT_PathRef path) {
    return OnSurface("StrokePath", reference, [&](DrawingSurface& surface) {
        const DrawingPen& pen = Get<DrawingPen>(penReference);
        surface.Add(StrokeCall{Get<DrawingPath>(path), pen.mColor, pen.mWidth, pen.mDashes});
    });
}

DrawingRect ReadRect(const DRAWBOT_Rect32& rect) {
    return {static_cast<float>(rect.left), static_cast<float>(rect.top), static_cast<float>(rect.width),
            static_cast<float>(rect.height)};
}

SPErr Clip(DRAWBOT_SurfaceRef reference, DRAWBOT_SupplierRef supplier, const DRAWBOT_Rect32* rect) {
    return OnSurface("Clip", reference, [&](DrawingSurface& surface) {
        Surface(CustomUI::Role::Supplier, supplier);
        Need(rect);
        surface.Clip(ReadRect(*rect));
    });
}

// Whole numbers, outwards, so that what is left out is certainly not seen.
SPErr GetClipBounds(DRAWBOT_SurfaceRef reference, DRAWBOT_Rect32* rect) {
    return OnSurface("GetClipBounds", reference, [&](DrawingSurface& surface) {
        Need(rect);
        const DrawingRect clip = surface.GetClip();
        const auto left = static_cast<A_long>(std::floor(clip.mLeft)), top = static_cast<A_long>(std::floor(clip.mTop));
        *rect = {left, top, static_cast<A_long>(std::ceil(clip.mLeft + clip.mWidth)) - left,
                 static_cast<A_long>(std::ceil(clip.mTop + clip.mHeight)) - top};
    });
}

SPErr IsWithinClipBounds(DRAWBOT_SurfaceRef reference, const DRAWBOT_Rect32* rect, A_Boolean* within) {
    return OnSurface("IsWithinClipBounds", reference, [&](DrawingSurface& surface) {
        Need(rect);
        Need(within);
        const DrawingRect clip = surface.GetClip(), asked = ReadRect(*rect);
        const bool inside = asked.mLeft >= clip.mLeft && asked.mTop >= clip.mTop &&
                            asked.mLeft + asked.mWidth <= clip.mLeft + clip.mWidth &&
                            asked.mTop + asked.mHeight <= clip.mTop + clip.mHeight;
        *within = inside ? 1 : 0;
    });
}

// Rows of the record are for row vectors, like all matrices of the interface: the same memory as columns for columns.
SPErr Transform(DRAWBOT_SurfaceRef reference, const DRAWBOT_MatrixF32* matrix) {
    return OnSurface("Transform", reference, [&](DrawingSurface& surface) {
        Need(matrix);
        const glm::mat3 columns = glm::make_mat3(&matrix->mat[0][0]);
        const bool isAffine = columns[0][2] == 0 && columns[1][2] == 0 && columns[2][2] == 1;
        if (!isAffine || glm::determinant(columns) == 0) throw DrawbotError("an affine transform that can be undone");
        surface.Transform(columns);
    });
}

SPErr DrawString(DRAWBOT_SurfaceRef reference, DRAWBOT_BrushRef brush, DRAWBOT_FontRef font,
                 const DRAWBOT_UTF16Char* text, const DRAWBOT_PointF32* origin, A_long alignment, A_long truncation,
                 float width) {
    return OnSurface("DrawString", reference, [&](DrawingSurface& surface) {
        Need(text);
        Need(origin);
        if (alignment < 0 || alignment > kDRAWBOT_TextAlignment_Right || truncation < 0 ||
            truncation > kDRAWBOT_TextTruncation_PathEllipsis) {
            throw DrawbotError("a known alignment and truncation");
        }
        surface.Add(TextCall{ToUtf8(text),
                             {origin->x, origin->y},
                             Get<DrawingBrush>(brush).mColor,
                             Get<DrawingFont>(font).mSize,
                             alignment,
                             truncation,
                             width});
    });
}

SPErr DrawImage(DRAWBOT_SurfaceRef reference, DRAWBOT_ImageRef image, const DRAWBOT_PointF32* origin, float alpha) {
    return OnSurface("DrawImage", reference, [&](DrawingSurface& surface) {
        Need(origin);
        // A copy: its scale may change before the next draw.
        const auto copy = std::make_shared<DrawingImage>(*Get<std::shared_ptr<DrawingImage>>(image));
        surface.Add(ImageCall{copy, {origin->x, origin->y}, alpha});
    });
}

template <bool IsAntiAlias>
SPErr SetPolicy(DRAWBOT_SurfaceRef reference, A_long policy) {
    return OnSurface("a policy", reference, [&](DrawingSurface& surface) {
        if (policy < 0 || policy > 2) throw DrawbotError("a policy from 0 to 2");
        surface.SetQuality(IsAntiAlias ? policy : surface.GetAntiAlias(),
                           IsAntiAlias ? surface.GetInterpolation() : policy);
    });
}

template <bool IsAntiAlias>
SPErr GetPolicy(DRAWBOT_SurfaceRef reference, A_long* policy) {
    return OnSurface("a policy", reference, [&](DrawingSurface& surface) {
        Need(policy);
        *policy = IsAntiAlias ? surface.GetAntiAlias() : surface.GetInterpolation();
    });
}

SPErr Flush(DRAWBOT_SurfaceRef reference) {
    return OnSurface("Flush", reference, [](DrawingSurface&) {});
}

SPErr GetTransformToScreenScale(DRAWBOT_SurfaceRef reference, float* scale) {
    return OnSurface("GetTransformToScreenScale", reference, [&](DrawingSurface& surface) {
        Need(scale);
        *scale = surface.GetScale();
    });
}

SPErr AddStep(const char* function, DRAWBOT_PathRef path, DrawingPath::Verb verb, std::array<glm::vec2, 3> points) {
    return Drawn(function, [&] {
        auto& steps = Get<DrawingPath>(path).mSteps;
        // A line needs somewhere to come from.
        const bool continues = verb == DrawingPath::Verb::Line || verb == DrawingPath::Verb::Bezier;
        if (continues && steps.empty()) throw DrawbotError("a path that has begun");
        steps.push_back({verb, points});
    });
}

SPErr MoveTo(DRAWBOT_PathRef path, float x, float y) {
    return AddStep("MoveTo", path, DrawingPath::Verb::Move, {{{x, y}, {}, {}}});
}

SPErr LineTo(DRAWBOT_PathRef path, float x, float y) {
    return AddStep("LineTo", path, DrawingPath::Verb::Line, {{{x, y}, {}, {}}});
}

SPErr BezierTo(DRAWBOT_PathRef path, const DRAWBOT_PointF32* first, const DRAWBOT_PointF32* second,
               const DRAWBOT_PointF32* end) {
    if (first == nullptr || second == nullptr || end == nullptr) return Refuse("BezierTo", "three points");
    return AddStep("BezierTo", path, DrawingPath::Verb::Bezier,
                   {{{first->x, first->y}, {second->x, second->y}, {end->x, end->y}}});
}

SPErr AddRect(DRAWBOT_PathRef path, const DRAWBOT_RectF32* rect) {
    if (rect == nullptr) return Refuse("AddRect", "a rectangle");
    const DrawingRect read = ReadRect(*rect);
    return AddStep("AddRect", path, DrawingPath::Verb::Rect,
                   {{{read.mLeft, read.mTop}, {read.mWidth, read.mHeight}, {}}});
}

SPErr AddArc(DRAWBOT_PathRef path, const DRAWBOT_PointF32* center, float radius, float start, float sweep) {
    if (center == nullptr || !(radius >= 0)) return Refuse("AddArc", "a centre and a radius");
    return AddStep("AddArc", path, DrawingPath::Verb::Arc, {{{center->x, center->y}, {radius, 0}, {start, sweep}}});
}

SPErr Close(DRAWBOT_PathRef path) { return AddStep("Close", path, DrawingPath::Verb::Close, {}); }

SPErr SetDashPattern(DRAWBOT_PenRef pen, const float* dashes, A_long count) {
    return Drawn("SetDashPattern", [&] {
        DrawingPen& found = Get<DrawingPen>(pen);
        if (count < 0 || count > 64 || (count > 0 && dashes == nullptr)) throw DrawbotError("at most 64 lengths");
        std::vector<float> lengths(dashes, dashes + count);
        float sum = 0;
        for (const float length : lengths) {
            if (!(length >= 0)) throw DrawbotError("lengths of 0 or more");
            sum += length;
        }
        if (count > 0 && sum == 0) throw DrawbotError("a length above 0");
        found.mDashes = std::move(lengths);
    });
}

SPErr SetScaleFactor(DRAWBOT_ImageRef image, float scale) {
    return Drawn("SetScaleFactor", [&] {
        if (!(scale > 0)) throw DrawbotError("a scale above 0");
        Get<std::shared_ptr<DrawingImage>>(image)->mScale = scale;
    });
}

const DRAWBOT_DrawbotSuite1& MakeDrawTable() {
    static const DRAWBOT_DrawbotSuite1 made = [] {
        auto table = MakeTable<DRAWBOT_DrawbotSuite1>(kDRAWBOT_DrawSuite);
        NIMBREL_SERVE(table, GetSupplier, GetSupplier);
        NIMBREL_SERVE(table, GetSurface, GetSurface);
        return table;
    }();
    return made;
}

const DRAWBOT_SupplierSuite1& MakeSupplierTable() {
    static const DRAWBOT_SupplierSuite1 made = [] {
        auto table = MakeTable<DRAWBOT_SupplierSuite1>(kDRAWBOT_SupplierSuite);
        NIMBREL_SERVE(table, NewPen, NewPen);
        NIMBREL_SERVE(table, NewBrush, NewBrush);
        NIMBREL_SERVE(table, SupportsText, Ask<Yes>);
        NIMBREL_SERVE(table, GetDefaultFontSize, GetDefaultFontSize);
        NIMBREL_SERVE(table, NewDefaultFont, NewDefaultFont);
        NIMBREL_SERVE(table, NewImageFromBuffer, NewImageFromBuffer);
        NIMBREL_SERVE(table, NewPath, NewPath);
        NIMBREL_SERVE(table, SupportsPixelLayoutBGRA, Ask<Yes>);
        NIMBREL_SERVE(table, PrefersPixelLayoutBGRA, Ask<PrefersBgra>);
        NIMBREL_SERVE(table, SupportsPixelLayoutARGB, Ask<Yes>);
        NIMBREL_SERVE(table, PrefersPixelLayoutARGB, Ask<PrefersArgb>);
        NIMBREL_SERVE(table, RetainObject, RetainObject);
        NIMBREL_SERVE(table, ReleaseObject, ReleaseObject);
        return table;
    }();
    return made;
}

const DRAWBOT_SurfaceSuite2& MakeSurfaceTable() {
    static const DRAWBOT_SurfaceSuite2 made = [] {
        auto table = MakeTable<DRAWBOT_SurfaceSuite2>(kDRAWBOT_SurfaceSuite);
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
    return made;
}

const DRAWBOT_PathSuite1& MakePathTable() {
    static const DRAWBOT_PathSuite1 made = [] {
        auto table = MakeTable<DRAWBOT_PathSuite1>(kDRAWBOT_PathSuite);
        NIMBREL_SERVE(table, MoveTo, MoveTo);
        NIMBREL_SERVE(table, LineTo, LineTo);
        NIMBREL_SERVE(table, BezierTo, BezierTo);
        NIMBREL_SERVE(table, AddRect, AddRect);
        NIMBREL_SERVE(table, AddArc, AddArc);
        NIMBREL_SERVE(table, Close, Close);
        return table;
    }();
    return made;
}

}  // namespace

void AddDrawbotSuites(SuiteRegistry& suites) {
    static const DRAWBOT_PenSuite1 pen = [] {
        auto table = MakeTable<DRAWBOT_PenSuite1>(kDRAWBOT_PenSuite);
        NIMBREL_SERVE(table, SetDashPattern, SetDashPattern);
        return table;
    }();
    static const DRAWBOT_ImageSuite1 image = [] {
        auto table = MakeTable<DRAWBOT_ImageSuite1>(kDRAWBOT_ImageSuite);
        NIMBREL_SERVE(table, SetScaleFactor, SetScaleFactor);
        return table;
    }();
    suites.Add(kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1, &MakeDrawTable());
    suites.Add(kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1, &MakeSupplierTable());
    suites.Add(kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2, &MakeSurfaceTable());
    suites.Add(kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_Version1, &MakePathTable());
    suites.Add(kDRAWBOT_PenSuite, kDRAWBOT_PenSuite_Version1, &pen);
    suites.Add(kDRAWBOT_ImageSuite, kDRAWBOT_ImageSuite_Version1, &image);
}

}  // namespace nimbrel::host
