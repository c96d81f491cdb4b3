#pragma once

#include <map>
#include <vector>

#include "PluginBase/UI/Graphics.h"

/// Keeps what a control draws, as a list of calls with the colours that were meant.
namespace test {

struct DrawCall {
    enum Kind { FillRect, DrawRect, Line, Strip, FillPolygon, DrawPolygon, Image };
    Kind mKind;
    zeb::ui::Color mColor;
    float mThickness = 0.0F;
    zeb::ui::Rect mRect;
    std::vector<zeb::ui::Point> mPoints;
    std::vector<zeb::ui::Color> mRow;
};

class RecordingGraphics final : public zeb::ui::Graphics {
public:
    std::vector<DrawCall> mCalls;

    std::vector<const DrawCall*> Get(DrawCall::Kind kind) const {
        std::vector<const DrawCall*> found;
        for (const DrawCall& call : mCalls) {
            if (call.mKind == kind) found.push_back(&call);
        }
        return found;
    }

    /// Each number has a colour of its own.
    static zeb::ui::Color Standard(int number) { return {static_cast<float>(number) / 10.0F, 0.5F, 0.25F, 1.0F}; }

    zeb::ui::Color GetStandardColor(zeb::ui::StandardColor number) override {
        return Standard(static_cast<int>(number));
    }
    zeb::UniquePtr<zeb::ui::Brush> MakeBrush(const zeb::ui::Color& color) override {
        return zeb::MakeUnique<Brush>(color);
    }
    zeb::UniquePtr<zeb::ui::Pen> MakePen(const zeb::ui::Color& color, float thickness) override {
        return zeb::MakeUnique<Pen>(color, thickness);
    }
    zeb::UniquePtr<zeb::ui::Polygon> MakePolygon() override { return zeb::MakeUnique<Polygon>(); }
    void DrawLine(const zeb::ui::Pen& pen, const zeb::ui::Point& p1, const zeb::ui::Point& p2) override {
        Stroke(DrawCall::Line, pen).mPoints = {p1, p2};
    }
    void DrawLineStrip(const zeb::ui::Pen& pen, const std::vector<zeb::ui::Point>& points) override {
        Stroke(DrawCall::Strip, pen).mPoints = points;
    }
    void FillRect(const zeb::ui::Rect& rect, const zeb::ui::Brush& brush) override {
        Fill(DrawCall::FillRect, brush).mRect = rect;
    }
    void DrawRect(const zeb::ui::Rect& rect, const zeb::ui::Pen& pen) override {
        Stroke(DrawCall::DrawRect, pen).mRect = rect;
    }
    void FillPolygon(const zeb::ui::Polygon& polygon, const zeb::ui::Brush& brush) override {
        Fill(DrawCall::FillPolygon, brush).mPoints = static_cast<const Polygon&>(polygon).mPoints;
    }
    void DrawPolygon(const zeb::ui::Polygon& polygon, const zeb::ui::Pen& pen) override {
        Stroke(DrawCall::DrawPolygon, pen).mPoints = static_cast<const Polygon&>(polygon).mPoints;
    }
    void FillGradientRect(const zeb::ui::Rect& rect, const std::vector<zeb::ui::Color>& row) override {
        mCalls.push_back({DrawCall::Image, {}, 0.0F, rect, {}, row});
    }

private:
    struct Brush final : zeb::ui::Brush {
        explicit Brush(const zeb::ui::Color& color) : mColor(color) {}
        zeb::ui::Color mColor;
    };
    struct Pen final : zeb::ui::Pen {
        Pen(const zeb::ui::Color& color, float thickness) : mColor(color), mThickness(thickness) {}
        zeb::ui::Color mColor;
        float mThickness;
    };
    struct Polygon final : zeb::ui::Polygon {
        void AddPoint(const zeb::ui::Point& p) override { mPoints.push_back(p); }
        void Close() override { mPoints.push_back(mPoints.front()); }
        std::vector<zeb::ui::Point> mPoints;
    };

    DrawCall& Fill(DrawCall::Kind kind, const zeb::ui::Brush& brush) {
        return mCalls.emplace_back(DrawCall{kind, static_cast<const Brush&>(brush).mColor, 0.0F, {}, {}, {}});
    }
    DrawCall& Stroke(DrawCall::Kind kind, const zeb::ui::Pen& pen) {
        const auto& own = static_cast<const Pen&>(pen);
        return mCalls.emplace_back(DrawCall{kind, own.mColor, own.mThickness, {}, {}, {}});
    }
};

}  // namespace test
