#pragma once

#include <cairo.h>

#include <memory>
#include <string>
#include <string_view>

#include "NimbrelHost/Drawing/Drawing.h"
#include "NimbrelHost/Drawing/Theme.h"
#include "NimbrelHost/Pictures/Picture.h"

namespace nimbrel::host::panel {

/// An upright rectangle, in points.
struct Box {
    double mX = 0, mY = 0, mWidth = 0, mHeight = 0;

    double Right() const { return mX + mWidth; }
    double Bottom() const { return mY + mHeight; }
    double MiddleX() const { return mX + mWidth / 2; }
    double MiddleY() const { return mY + mHeight / 2; }
    Box Inset(double by) const { return {mX + by, mY + by, mWidth - 2 * by, mHeight - 2 * by}; }
};

struct Ink {
    Rgb mColor = theme::kText;
    double mAlpha = 1;
};

enum class Align { Left, Center, Right };

struct TextStyle {
    double mSize = 11.5;
    bool mBold = false;
};

/// A picture being drawn, in points from its top left corner; opaque. Not copyable.
class Canvas {
public:
    /// Throws std::runtime_error for a picture that is too large.
    Canvas(int width, int height, int pixelScale, Rgb background);

    void Fill(const Box& box, const Ink& ink, double radius = 0);
    /// A line of one point along the inside of the box's edge.
    void Outline(const Box& box, const Ink& ink, double radius = 0);
    void Disc(double x, double y, double radius, const Ink& ink);
    void Circle(double x, double y, double radius, double width, const Ink& ink);
    /// A line through points, closed and filled when `width` is 0.
    void Polyline(std::initializer_list<std::pair<double, double>> points, double width, const Ink& ink);

    /// Writes one line whose middle is at `y`, cut with an ellipsis when it is wider than `width` (0: never). Gives the
    /// width that it took.
    double Text(double x, double y, std::string_view text, const Ink& ink, const TextStyle& style = {},
                Align align = Align::Left, double width = 0);
    double Measure(std::string_view text, const TextStyle& style = {});

    /// What an effect drew, in its place, `offset` away from where it believed to be.
    void Paint(const Drawing& drawing, double offsetX = 0, double offsetY = 0);

    Frame TakeFrame();

private:
    void Trace(const Box& box, double radius);
    void Use(const Ink& ink);

    struct Destroy {
        void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    };

    std::unique_ptr<cairo_surface_t, Destroy> mSurface;
    std::unique_ptr<cairo_t, Destroy> mCairo;
};

/// Plays a drawing's calls.
void PlayDrawing(cairo_t* cairo, const Drawing& drawing);

/// The type in which everything is written.
void ChooseFont(cairo_t* cairo, const TextStyle& style);

/// Text of at most a width, its end replaced by an ellipsis when it is longer; 0 or less for any width.
std::string Shorten(cairo_t* cairo, std::string_view text, double width);

}  // namespace nimbrel::host::panel
