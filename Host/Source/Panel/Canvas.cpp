#include "Panel/Canvas.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <stdexcept>

#include "NimbrelHost/Panel/DrawingPicture.h"

namespace nimbrel::host {
namespace panel {
namespace {

// Where it isn't installed, the system's own sans serif stands in.
constexpr const char* kFontFamily = "Inter";
constexpr const char* kEllipsis = "\xe2\x80\xa6";

double Channel(Rgb color, int shift) { return ((color >> shift) & 0xff) / 255.0; }

double TextWidth(cairo_t* cairo, const std::string& text) {
    cairo_text_extents_t extents;
    cairo_text_extents(cairo, text.c_str(), &extents);
    return extents.x_advance;
}

}  // namespace

void ChooseFont(cairo_t* cairo, const TextStyle& style) {
    cairo_select_font_face(cairo, kFontFamily, CAIRO_FONT_SLANT_NORMAL,
                           style.mBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo, style.mSize);
    // Widths that don't depend on the size in pixels: both scales have the same layout.
    cairo_font_options_t* const options = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_SLIGHT);
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_set_font_options(cairo, options);
    cairo_font_options_destroy(options);
}

std::string Shorten(cairo_t* cairo, std::string_view text, double width) {
    std::string shortened(text);
    if (width <= 0 || TextWidth(cairo, shortened) <= width) return shortened;
    while (!shortened.empty()) {
        // Whole characters go: those of several bytes begin with one that is no continuation.
        do {
            const bool isContinuation = (static_cast<unsigned char>(shortened.back()) & 0xc0) == 0x80;
            shortened.pop_back();
            if (!isContinuation) break;
        } while (!shortened.empty());
        if (TextWidth(cairo, shortened + kEllipsis) <= width) break;
    }
    return shortened + kEllipsis;
}

Canvas::Canvas(int width, int height, int pixelScale, Rgb background)
    : mSurface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width * pixelScale, height * pixelScale)),
      mCairo(cairo_create(mSurface.get())) {
    if (cairo_status(mCairo.get()) != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error(fmt::format("a picture of {} x {} pixels cannot be drawn: {}", width * pixelScale,
                                             height * pixelScale, cairo_status_to_string(cairo_status(mCairo.get()))));
    }
    cairo_scale(mCairo.get(), pixelScale, pixelScale);
    Use({background, 1});
    cairo_paint(mCairo.get());
}

void Canvas::Use(const Ink& ink) {
    cairo_set_source_rgba(mCairo.get(), Channel(ink.mColor, 16), Channel(ink.mColor, 8), Channel(ink.mColor, 0),
                          ink.mAlpha);
}

void Canvas::Trace(const Box& box, double radius) {
    cairo_t* const cairo = mCairo.get();
    cairo_new_path(cairo);
    if (radius <= 0) {
        cairo_rectangle(cairo, box.mX, box.mY, box.mWidth, box.mHeight);
        return;
    }
    constexpr double quarter = std::numbers::pi / 2;
    cairo_arc(cairo, box.Right() - radius, box.mY + radius, radius, -quarter, 0);
    cairo_arc(cairo, box.Right() - radius, box.Bottom() - radius, radius, 0, quarter);
    cairo_arc(cairo, box.mX + radius, box.Bottom() - radius, radius, quarter, 2 * quarter);
    cairo_arc(cairo, box.mX + radius, box.mY + radius, radius, 2 * quarter, 3 * quarter);
    cairo_close_path(cairo);
}

void Canvas::Fill(const Box& box, const Ink& ink, double radius) {
    Trace(box, radius);
    Use(ink);
    cairo_fill(mCairo.get());
}

void Canvas::Outline(const Box& box, const Ink& ink, double radius) {
    Trace(box.Inset(0.5), std::max(0.0, radius - 0.5));
    Use(ink);
    cairo_set_line_width(mCairo.get(), 1);
    cairo_stroke(mCairo.get());
}

void Canvas::Disc(double x, double y, double radius, const Ink& ink) {
    cairo_new_path(mCairo.get());
    cairo_arc(mCairo.get(), x, y, radius, 0, 2 * std::numbers::pi);
    Use(ink);
    cairo_fill(mCairo.get());
}

void Canvas::Circle(double x, double y, double radius, double width, const Ink& ink) {
    cairo_new_path(mCairo.get());
    cairo_arc(mCairo.get(), x, y, radius, 0, 2 * std::numbers::pi);
    Use(ink);
    cairo_set_line_width(mCairo.get(), width);
    cairo_stroke(mCairo.get());
}

void Canvas::Polyline(std::initializer_list<std::pair<double, double>> points, double width, const Ink& ink) {
    cairo_t* const cairo = mCairo.get();
    cairo_new_path(cairo);
    for (const auto& [x, y] : points) cairo_line_to(cairo, x, y);
    Use(ink);
    if (width == 0) {
        cairo_fill(cairo);
        return;
    }
    cairo_set_line_width(cairo, width);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
    cairo_stroke(cairo);
}

double Canvas::Measure(std::string_view text, const TextStyle& style) {
    ChooseFont(mCairo.get(), style);
    return TextWidth(mCairo.get(), std::string(text));
}

double Canvas::Text(double x, double y, std::string_view text, const Ink& ink, const TextStyle& style, Align align,
                    double width) {
    cairo_t* const cairo = mCairo.get();
    ChooseFont(cairo, style);
    const std::string shown = Shorten(cairo, text, width);
    const double taken = TextWidth(cairo, shown);
    const double left = align == Align::Left ? x : align == Align::Center ? x - taken / 2 : x - taken;
    // Capitals are about 0.73 of the size high; their middle is the line's.
    Use(ink);
    cairo_new_path(cairo);
    cairo_move_to(cairo, left, std::round(y + style.mSize * 0.365));
    // As outlines: glyphs would be set to whole pixels, which spaces small text unevenly.
    cairo_text_path(cairo, shown.c_str());
    cairo_fill(cairo);
    return taken;
}

void Canvas::Paint(const Drawing& drawing, double offsetX, double offsetY) {
    cairo_save(mCairo.get());
    cairo_translate(mCairo.get(), offsetX, offsetY);
    PlayDrawing(mCairo.get(), drawing);
    cairo_restore(mCairo.get());
}

Frame Canvas::TakeFrame() {
    if (const cairo_status_t status = cairo_status(mCairo.get()); status != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error(fmt::format("a picture could not be drawn: {}", cairo_status_to_string(status)));
    }
    cairo_surface_t* const surface = mSurface.get();
    cairo_surface_flush(surface);
    Frame frame(cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface), 8);
    const unsigned char* const data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    std::size_t at = 0;
    for (int y = 0; y < frame.mHeight; ++y) {
        for (int x = 0; x < frame.mWidth; ++x) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, data + static_cast<std::ptrdiff_t>(y) * stride + static_cast<std::ptrdiff_t>(x) * 4, 4);
            frame.mPixels[at++] = 255;
            for (const int shift : {16, 8, 0}) frame.mPixels[at++] = static_cast<std::uint8_t>(pixel >> shift);
        }
    }
    return frame;
}

}  // namespace panel

Frame PaintDrawing(const Drawing& drawing, int pixelScale, Rgb background) {
    const DrawingRect& frame = drawing.mFrame;
    panel::Canvas canvas(static_cast<int>(std::ceil(frame.mWidth)), static_cast<int>(std::ceil(frame.mHeight)),
                         pixelScale, background);
    canvas.Paint(drawing, -static_cast<double>(frame.mLeft), -static_cast<double>(frame.mTop));
    return canvas.TakeFrame();
}

}  // namespace nimbrel::host
