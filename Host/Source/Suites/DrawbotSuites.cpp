#include <fmt/format.h>

#include <cmath>
#include <utility>

#include "Suites/DrawbotObjects.h"
#include "Suites/SuiteSupport.h"

// The suites of drawing but for the surface: the reference, and the things to draw with.

namespace nimbrel::host {
namespace {

constexpr float kDefaultFontSize = 11;

void GetSupplier(Host& host, DRAWBOT_DrawRef reference, DRAWBOT_SupplierRef* supplier) {
    Surface(host, CustomUI::Role::Draw, reference);
    Need(supplier);
    *supplier = static_cast<DRAWBOT_SupplierRef>(host.GetCustomUI().GetReference(CustomUI::Role::Supplier));
}

void GetSurface(Host& host, DRAWBOT_DrawRef reference, DRAWBOT_SurfaceRef* surface) {
    Surface(host, CustomUI::Role::Draw, reference);
    Need(surface);
    *surface = static_cast<DRAWBOT_SurfaceRef>(host.GetCustomUI().GetReference(CustomUI::Role::Surface));
}

/// Makes an object and hands its reference out, which holds one count.
template <class Value, class Reference>
void Make(Host& host, DRAWBOT_SupplierRef supplier, Reference* reference, Value value) {
    Surface(host, CustomUI::Role::Supplier, supplier);
    Need(reference);
    auto object = std::make_unique<DrawingObject>(DrawingObject{std::move(value)});
    *reference = reinterpret_cast<Reference>(host.GetCustomUI().GetObjects().Add(std::move(object)));
}

void NewPen(Host& host, DRAWBOT_SupplierRef supplier, const DRAWBOT_ColorRGBA* color, float size, DRAWBOT_PenRef* pen) {
    if (color == nullptr || !(size >= 0) || !std::isfinite(size)) throw DrawbotError("a colour and a width");
    Make(host, supplier, pen, DrawingPen{ReadColor(*color), size, {}});
}

void NewBrush(Host& host, DRAWBOT_SupplierRef supplier, const DRAWBOT_ColorRGBA* color, DRAWBOT_BrushRef* brush) {
    if (color == nullptr) throw DrawbotError("a colour");
    Make(host, supplier, brush, DrawingBrush{ReadColor(*color)});
}

void GetDefaultFontSize(Host& host, DRAWBOT_SupplierRef supplier, float* size) {
    Surface(host, CustomUI::Role::Supplier, supplier);
    Need(size);
    *size = kDefaultFontSize;
}

void NewDefaultFont(Host& host, DRAWBOT_SupplierRef supplier, float size, DRAWBOT_FontRef* font) {
    if (!(size > 0) || size > 1000) throw DrawbotError("a size from above 0 to 1000");
    Make(host, supplier, font, DrawingFont{size});
}

void NewPath(Host& host, DRAWBOT_SupplierRef supplier, DRAWBOT_PathRef* path) {
    Make(host, supplier, path, DrawingPath{});
}

void NewImageFromBuffer(Host& host, DRAWBOT_SupplierRef supplier, A_long width, A_long height, A_long rowBytes,
                        A_long layout, const void* pixels, DRAWBOT_ImageRef* reference) {
    std::shared_ptr<DrawingImage> image = ReadImage(width, height, rowBytes, layout, pixels);
    if (image == nullptr) {
        throw DrawbotError(
            fmt::format("pixels of a size and layout that it knows, not {} x {} in layout {} with "
                        "rows of {} bytes",
                        width, height, layout, rowBytes));
    }
    Make(host, supplier, reference, std::move(image));
}

/// Answers of the supplier that are yes or no.
template <bool (*Answer)(const DrawingSurface&)>
void Ask(Host& host, DRAWBOT_SupplierRef supplier, A_Boolean* answer) {
    const DrawingSurface& surface = Surface(host, CustomUI::Role::Supplier, supplier);
    Need(answer);
    *answer = Answer(surface) ? 1 : 0;
}

bool Yes(const DrawingSurface&) { return true; }
bool PrefersArgb(const DrawingSurface& surface) { return surface.PrefersArgb(); }
bool PrefersBgra(const DrawingSurface& surface) { return !surface.PrefersArgb(); }

void RetainObject(Host& host, DRAWBOT_ObjectRef reference) { ++Object(host, reference).mReferences; }

void ReleaseObject(Host& host, DRAWBOT_ObjectRef reference) {
    if (--Object(host, reference).mReferences == 0) host.GetCustomUI().GetObjects().Take(reference);
}

void AddStep(Host& host, DRAWBOT_PathRef path, DrawingPath::Verb verb, std::array<glm::vec2, 3> points) {
    auto& steps = Get<DrawingPath>(host, path).mSteps;
    // A line needs somewhere to come from.
    const bool continues = verb == DrawingPath::Verb::Line || verb == DrawingPath::Verb::Bezier;
    if (continues && steps.empty()) throw DrawbotError("a path that has begun");
    steps.push_back({verb, points});
}

void MoveTo(Host& host, DRAWBOT_PathRef path, float x, float y) {
    AddStep(host, path, DrawingPath::Verb::Move, {{{x, y}, {}, {}}});
}

void LineTo(Host& host, DRAWBOT_PathRef path, float x, float y) {
    AddStep(host, path, DrawingPath::Verb::Line, {{{x, y}, {}, {}}});
}

void BezierTo(Host& host, DRAWBOT_PathRef path, const DRAWBOT_PointF32* first, const DRAWBOT_PointF32* second,
              const DRAWBOT_PointF32* end) {
    if (first == nullptr || second == nullptr || end == nullptr) throw DrawbotError("three points");
    AddStep(host, path, DrawingPath::Verb::Bezier, {{{first->x, first->y}, {second->x, second->y}, {end->x, end->y}}});
}

void AddRect(Host& host, DRAWBOT_PathRef path, const DRAWBOT_RectF32* rect) {
    if (rect == nullptr) throw DrawbotError("a rectangle");
    const DrawingRect read = ReadRect(*rect);
    AddStep(host, path, DrawingPath::Verb::Rect, {{{read.mLeft, read.mTop}, {read.mWidth, read.mHeight}, {}}});
}

void AddArc(Host& host, DRAWBOT_PathRef path, const DRAWBOT_PointF32* center, float radius, float start, float sweep) {
    if (center == nullptr || !(radius >= 0)) throw DrawbotError("a centre and a radius");
    AddStep(host, path, DrawingPath::Verb::Arc, {{{center->x, center->y}, {radius, 0}, {start, sweep}}});
}

void Close(Host& host, DRAWBOT_PathRef path) { AddStep(host, path, DrawingPath::Verb::Close, {}); }

void SetDashPattern(Host& host, DRAWBOT_PenRef pen, const float* dashes, A_long count) {
    DrawingPen& found = Get<DrawingPen>(host, pen);
    if (count < 0 || count > 64 || (count > 0 && dashes == nullptr)) throw DrawbotError("at most 64 lengths");
    std::vector<float> lengths(dashes, dashes + count);
    float sum = 0;
    for (const float length : lengths) {
        if (!(length >= 0)) throw DrawbotError("lengths of 0 or more");
        sum += length;
    }
    if (count > 0 && sum == 0) throw DrawbotError("a length above 0");
    found.mDashes = std::move(lengths);
}

void SetScaleFactor(Host& host, DRAWBOT_ImageRef image, float scale) {
    if (!(scale > 0)) throw DrawbotError("a scale above 0");
    Get<std::shared_ptr<DrawingImage>>(host, image)->mScale = scale;
}

const DRAWBOT_DrawbotSuite1& MakeDrawTable() {
    static const DRAWBOT_DrawbotSuite1 made = [] {
        auto table = MakeTable<DRAWBOT_DrawbotSuite1>(kDRAWBOT_DrawSuite, kDrawingCodes);
        NIMBREL_SERVE(table, GetSupplier, GetSupplier);
        NIMBREL_SERVE(table, GetSurface, GetSurface);
        return table;
    }();
    return made;
}

const DRAWBOT_SupplierSuite1& MakeSupplierTable() {
    static const DRAWBOT_SupplierSuite1 made = [] {
        auto table = MakeTable<DRAWBOT_SupplierSuite1>(kDRAWBOT_SupplierSuite, kDrawingCodes);
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

const DRAWBOT_PathSuite1& MakePathTable() {
    static const DRAWBOT_PathSuite1 made = [] {
        auto table = MakeTable<DRAWBOT_PathSuite1>(kDRAWBOT_PathSuite, kDrawingCodes);
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
        auto table = MakeTable<DRAWBOT_PenSuite1>(kDRAWBOT_PenSuite, kDrawingCodes);
        NIMBREL_SERVE(table, SetDashPattern, SetDashPattern);
        return table;
    }();
    static const DRAWBOT_ImageSuite1 image = [] {
        auto table = MakeTable<DRAWBOT_ImageSuite1>(kDRAWBOT_ImageSuite, kDrawingCodes);
        NIMBREL_SERVE(table, SetScaleFactor, SetScaleFactor);
        return table;
    }();
    suites.Add(kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1, &MakeDrawTable());
    suites.Add(kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1, &MakeSupplierTable());
    AddDrawbotSurfaceSuite(suites);
    suites.Add(kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_Version1, &MakePathTable());
    suites.Add(kDRAWBOT_PenSuite, kDRAWBOT_PenSuite_Version1, &pen);
    suites.Add(kDRAWBOT_ImageSuite, kDRAWBOT_ImageSuite_Version1, &image);
}

}  // namespace nimbrel::host
