#pragma once

#include <cstdint>
#include <vector>

#include "PluginBase/Misc/MakeUnique.h"

/// The 2D drawing that custom controls draw through. Coordinates are pixels of the control's window, x right, y down.
/// Used inside one draw event, on the interface thread; brushes, pens and polygons must go before their graphics.
/// A failing call throws zeb::Exception naming it.
namespace zeb::ui {

/// Straight colour, components 0 to 1.
struct Color {
    float mRed = 0.0F;
    float mGreen = 0.0F;
    float mBlue = 0.0F;
    float mAlpha = 1.0F;

    bool operator==(const Color&) const = default;
};

struct Point {
    float mX = 0.0F;
    float mY = 0.0F;

    bool operator==(const Point&) const = default;
};

struct Rect {
    float mX = 0.0F;
    float mY = 0.0F;
    float mWidth = 0.0F;
    float mHeight = 0.0F;

    bool operator==(const Rect&) const = default;
};

/// Colours of the interface around the control, so that a control looks at home under every theme. Several numbers
/// have one source today; a control asks by what the colour is for.
enum class StandardColor : std::int32_t {
    Background = 0,
    Frame = 1,
    Highlight = 2,
    HighlightLine = 3,
    HighlightDisabled = 4,
    Text = 5,
    TextLine = 6,
    TextFrame = 7,
};

class Brush {
public:
    virtual ~Brush() = default;
};

class Pen {
public:
    virtual ~Pen() = default;
};

class Polygon {
public:
    virtual ~Polygon() = default;
    virtual void AddPoint(const Point& p) = 0;
    /// Joins the last point to the first.
    virtual void Close() = 0;
};

class Graphics {
public:
    virtual ~Graphics() = default;
    virtual Color GetStandardColor(StandardColor number) = 0;
    virtual UniquePtr<Brush> MakeBrush(const Color& color) = 0;
    virtual UniquePtr<Pen> MakePen(const Color& color, float thickness) = 0;
    virtual UniquePtr<Polygon> MakePolygon() = 0;
    virtual void DrawLine(const Pen& pen, const Point& p1, const Point& p2) = 0;
    /// Draws nothing for fewer than two points.
    virtual void DrawLineStrip(const Pen& pen, const std::vector<Point>& points) = 0;
    virtual void FillRect(const Rect& rect, const Brush& brush) = 0;
    virtual void DrawRect(const Rect& rect, const Pen& pen) = 0;
    virtual void FillPolygon(const Polygon& polygon, const Brush& brush) = 0;
    virtual void DrawPolygon(const Polygon& polygon, const Pen& pen) = 0;
    /// Fills the whole pixels of the rect, all rows alike: column i has colour i, the last colour stands in for what
    /// the row lacks. Opaque, whatever the colours' alpha.
    virtual void FillGradientRect(const Rect& rect, const std::vector<Color>& row) = 0;
};

}  // namespace zeb::ui
