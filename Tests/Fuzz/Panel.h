#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "../Parameters/TestSupport.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"
#include "PluginBase/UI/InteractBase.h"

/// Custom parameters and a pointer over their controls, without a host.
namespace test {

/// Catalogue indices.
namespace panel {
enum Index : std::int32_t { kRamp, kGradient };
}

inline std::string PanelCatalogue() {
    return Catalogue(
        {Entry("Custom", 1,
               R"("valueType":"Ramp","showControlIndex":3,)"
               R"("default":{"type":0,"interpolation":1,"keys":[]})"),
         Entry("Custom", 2, R"("valueType":"Gradient","showControlIndex":3,"colorIndex":2,"default":{"keys":[]})"),
         Entry("Color", 3), Entry("Checkbox", 4, R"("default":{"value":true})")});
}

/// One control of 112 x 112 units at (20, 30), so that its plotting rect is 100 x 100 units at (26, 36).
struct Panel {
    Panel() {
        mContext.mX = 20.0F;
        mContext.mY = 30.0F;
        mContext.mWidth = mContext.mHeight = 112.0F;
    }

    /// Steps "click|double|drag|move X Y", separated by semicolons, at places of the plotting rect, from 0 to 1
    /// rightwards and upwards; without a place where the pointer is.
    void Run(zeb::InteractBase& interact, const std::string& script) {
        std::istringstream steps(script);
        for (std::string text; std::getline(steps, text, ';');) {
            std::istringstream step(text);
            std::string word;
            float x = 0.0F, y = 0.0F;
            step >> word;
            if (step >> x >> y) {
                mContext.mPointerX = (26.0F + 100.0F * x) * mContext.mScaleX;
                mContext.mPointerY = (36.0F + 100.0F * (1.0F - y)) * mContext.mScaleY;
            }
            if (word == "move")
                interact.OnPointerMove(mGetter, mSetter, mContext);
            else if (word == "drag")
                interact.OnDrag(mGetter, mSetter, mContext);
            else
                interact.OnMouseDown(mGetter, mSetter, mContext, word == "double" ? 2 : 1);
        }
    }

    void Set(const zeb::Ramp& ramp) { mValues.mCustoms[panel::kRamp] = ramp.ToJSON(); }
    void Set(const zeb::Gradient& gradient) { mValues.mCustoms[panel::kGradient] = gradient.ToJSON(); }

    TextManager mManager{PanelCatalogue()};
    Values mValues;
    ValuesGetter mGetter{mManager, mValues};
    ValuesSetter mSetter{mManager, mValues};
    zeb::EventContext mContext;
};

/// Keeps the points of each line and polygon that a control draws.
class PointsGraphics final : public zeb::ui::Graphics {
public:
    using Points = std::vector<zeb::ui::Point>;

    std::vector<Points> mCalls;

    zeb::ui::Color GetStandardColor(zeb::ui::StandardColor) override { return {}; }
    zeb::UniquePtr<zeb::ui::Brush> MakeBrush(const zeb::ui::Color&) override {
        return zeb::MakeUnique<zeb::ui::Brush>();
    }
    zeb::UniquePtr<zeb::ui::Pen> MakePen(const zeb::ui::Color&, float) override {
        return zeb::MakeUnique<zeb::ui::Pen>();
    }
    zeb::UniquePtr<zeb::ui::Polygon> MakePolygon() override { return zeb::MakeUnique<Polygon>(); }
    void DrawLine(const zeb::ui::Pen&, const zeb::ui::Point& p1, const zeb::ui::Point& p2) override {
        mCalls.push_back({p1, p2});
    }
    void DrawLineStrip(const zeb::ui::Pen&, const Points& points) override { mCalls.push_back(points); }
    void FillRect(const zeb::ui::Rect&, const zeb::ui::Brush&) override {}
    void DrawRect(const zeb::ui::Rect&, const zeb::ui::Pen&) override {}
    void FillPolygon(const zeb::ui::Polygon& polygon, const zeb::ui::Brush&) override { Add(polygon); }
    void DrawPolygon(const zeb::ui::Polygon& polygon, const zeb::ui::Pen&) override { Add(polygon); }
    void FillGradientRect(const zeb::ui::Rect&, const std::vector<zeb::ui::Color>&) override {}

private:
    struct Polygon final : zeb::ui::Polygon {
        void AddPoint(const zeb::ui::Point& p) override { mPoints.push_back(p); }
        void Close() override {}
        Points mPoints;
    };
    void Add(const zeb::ui::Polygon& polygon) { mCalls.push_back(static_cast<const Polygon&>(polygon).mPoints); }
};

}  // namespace test
