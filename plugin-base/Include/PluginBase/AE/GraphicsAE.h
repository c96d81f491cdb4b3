#pragma once

#include <memory>
#include <vector>

#include "HostInterface/HostInterface.h"
#include "PluginBase/UI/Graphics.h"

namespace zeb::ui {

/// Drawing through the host's DRAWBOT suites, for the length of one draw event. What it made must go before it.
class GraphicsAE final : public Graphics {
public:
    /// Throws zeb::Exception when the host lacks a suite or gives nothing to draw on.
    explicit GraphicsAE(PF_EventExtra& extra);
    ~GraphicsAE() override;
    GraphicsAE(const GraphicsAE&) = delete;
    GraphicsAE& operator=(const GraphicsAE&) = delete;

    Color GetStandardColor(StandardColor number) override;
    UniquePtr<Brush> MakeBrush(const Color& color) override;
    UniquePtr<Pen> MakePen(const Color& color, float thickness) override;
    UniquePtr<Polygon> MakePolygon() override;
    void DrawLine(const Pen& pen, const Point& p1, const Point& p2) override;
    void DrawLineStrip(const Pen& pen, const std::vector<Point>& points) override;
    void FillRect(const Rect& rect, const Brush& brush) override;
    void DrawRect(const Rect& rect, const Pen& pen) override;
    void FillPolygon(const Polygon& polygon, const Brush& brush) override;
    void DrawPolygon(const Polygon& polygon, const Pen& pen) override;
    void FillGradientRect(const Rect& rect, const std::vector<Color>& row) override;

private:
    struct HeldSuites;

    DRAWBOT_PathRef NewPath();
    void AddRect(DRAWBOT_PathRef path, const Rect& rect);
    void Stroke(const Pen& pen, DRAWBOT_PathRef drawbotPath);
    void Fill(const Brush& brush, DRAWBOT_PathRef drawbotPath);

    std::unique_ptr<HeldSuites> mHeld;  ///< released last
    const PFAppSuite6* mAppSuite = nullptr;
    DRAWBOT_Suites mSuites{};
    DRAWBOT_SupplierRef mSupplier = nullptr;
    DRAWBOT_SurfaceRef mSurface = nullptr;
    bool mSupportsBgra = false;  ///< for images, beside ARGB
};

}  // namespace zeb::ui
