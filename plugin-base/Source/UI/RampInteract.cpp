// The control of a ramp. Pointer and keys meet in the plotting rect: positions across it, values up it.
#include "PluginBase/UI/RampInteract.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "PlotArea.h"
#include "PluginBase/Parameters/Custom/Ramp.h"
#include "RampCurve.h"

namespace zeb {
namespace {

constexpr float kHitDistance = 8.0F;  // units, along each axis
constexpr float kKeySize = 10.0F;     // units

struct Hit {
    std::int32_t mIndex = -1;
    ui::Point mPlot;  ///< of the key, or of the pointer off any key
};

/// A key's place; what lies outside the plotting rect is shown at its edge.
ui::Point GetKeyPoint(const std::pair<const float, float>& key) {
    return {std::clamp(key.first, 0.0F, 1.0F), std::clamp(key.second, 0.0F, 1.0F)};
}

/// The first key, in order of t, near the point.
Hit FindKey(const Ramp& ramp, const PlotArea& area, const ui::Point& pointer) {
    const ui::Point plot = area.ToPlot(pointer);
    const float toleranceX = kHitDistance * area.GetScaleX() / area.GetPlot().mWidth;
    const float toleranceY = kHitDistance * area.GetScaleY() / area.GetPlot().mHeight;
    std::int32_t index = 0;
    for (const auto& key : ramp.keys) {
        const ui::Point point = GetKeyPoint(key);
        if (std::fabs(point.mX - plot.mX) < toleranceX && std::fabs(point.mY - plot.mY) < toleranceY)
            return {index, point};
        ++index;
    }
    return {-1, plot};
}

std::int32_t GetNextInterpolation(const Ramp& ramp) {
    if (ramp.type == 1) return ramp.interpolation == Ramp::kLinear ? Ramp::kStep : Ramp::kLinear;
    switch (ramp.interpolation) {
        case Ramp::kCosine: return Ramp::kBezier;
        case Ramp::kBezier: return Ramp::kLinear;
        case Ramp::kLinear: return Ramp::kStep;
        default: return Ramp::kCosine;
    }
}

void DrawCurve(ui::Graphics& graphics, const Ramp& ramp, const PlotArea& area) {
    std::vector<ui::Point> points = MakeRampCurve(ramp, area);
    for (ui::Point& point : points) point = area.ToView(point);
    const auto polygon = graphics.MakePolygon();
    for (const ui::Point& point : points) polygon->AddPoint(point);
    polygon->AddPoint({points.back().mX, area.ToView({1.0F, 0.0F}).mY});
    polygon->AddPoint({points.front().mX, area.ToView({0.0F, 0.0F}).mY});
    polygon->Close();
    graphics.FillPolygon(*polygon, *graphics.MakeBrush(graphics.GetStandardColor(ui::StandardColor::Text)));
    const auto pen = graphics.MakePen(graphics.GetStandardColor(ui::StandardColor::Highlight), area.GetLine());
    graphics.DrawLineStrip(*pen, points);
}

void DrawKeys(ui::Graphics& graphics, const Ramp& ramp, const PlotArea& area, std::int32_t hoverKey) {
    const auto brush = graphics.MakeBrush(graphics.GetStandardColor(ui::StandardColor::Highlight));
    const auto hoverBrush = graphics.MakeBrush(graphics.GetStandardColor(ui::StandardColor::Frame));
    // A rim in the panel's colour keeps keys apart from the curve and from each other.
    const auto rim = graphics.MakePen(graphics.GetStandardColor(ui::StandardColor::Background), area.GetLine());
    const float width = kKeySize * area.GetScaleX();
    const float height = kKeySize * area.GetScaleY();
    std::int32_t index = 0;
    for (const auto& key : ramp.keys) {
        const ui::Point center = area.ToView(GetKeyPoint(key));
        const ui::Rect rect{center.mX - 0.5F * width, center.mY - 0.5F * height, width, height};
        graphics.FillRect(rect, index == hoverKey ? *hoverBrush : *brush);
        graphics.DrawRect(rect, *rim);
        ++index;
    }
}

}  // namespace

Ramp RampInteract::Read(const ParameterCurrentValueGetter& getter) const {
    Ramp ramp;
    ramp.FromJSON(getter.GetCustom(mIndex));
    return ramp;
}

void RampInteract::Write(ParameterValueSetter& setter, const Ramp& ramp) const {
    setter.SetCustom(mIndex, ramp.GetTypeName(), ramp.ToJSON());
}

bool RampInteract::SetHoverKey(std::int32_t key) { return std::exchange(mHoverKey, key) != key; }

bool RampInteract::IsEnabled(InteractArea area, const ParameterCurrentValueGetter& getter) const {
    return IsEditorShown(area, getter, mShowControlIndex);
}

bool RampInteract::Draw(const ParameterCurrentValueGetter& getter, const DrawContext& context, ui::Graphics& graphics) {
    const PlotArea area(context);
    if (context.mArea != InteractArea::Control || !area.IsUsable()) return false;
    const Ramp ramp = Read(getter);
    FillBackground(graphics, area);
    DrawCurve(graphics, ramp, area);
    DrawKeys(graphics, ramp, area, mHoverKey);
    const auto frame =
        graphics.MakePen(graphics.GetStandardColor(ui::StandardColor::HighlightDisabled), area.GetLine());
    graphics.DrawRect(area.GetFrame(), *frame);
    return true;
}

MouseDownResult RampInteract::OnMouseDown(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                          const EventContext& context, std::int32_t clickCount) {
    const PlotArea area(context);
    const ui::Point pointer = GetPointer(context);
    if (context.mArea != InteractArea::Control || !area.IsUsable() || !area.Contains(pointer)) return {};
    mDraggedKey = -1;
    Ramp ramp = Read(getter);
    if ((context.mModifiers & kModifierCommand) != 0) {
        ramp.interpolation = GetNextInterpolation(ramp);
        Write(setter, ramp);
        return {{true, true}, false};
    }
    const Hit hit = FindKey(ramp, area, pointer);
    if (clickCount == 2) {
        if (hit.mIndex >= 0) {
            ramp.keys.erase(std::next(ramp.keys.begin(), hit.mIndex));
        } else {
            // The margin around the plotting rect belongs to the control: a click there means the edge.
            const float t = FindFreePosition(ramp.keys, std::clamp(hit.mPlot.mX, 0.0F, 1.0F));
            ramp.keys[t] = std::clamp(hit.mPlot.mY, 0.0F, 1.0F);
        }
        Write(setter, ramp);
        SetHoverKey(FindKey(ramp, area, pointer).mIndex);
        return {{true, true}, false};
    }
    if (hit.mIndex < 0) return {{true, false}, false};
    const ui::Point key = area.ToView(hit.mPlot);
    mDraggedKey = hit.mIndex;
    mDragOffset = {key.mX - pointer.mX, key.mY - pointer.mY};
    return {{true, SetHoverKey(hit.mIndex)}, true};
}

InteractResult RampInteract::OnPointerMove(const ParameterCurrentValueGetter& getter, ParameterValueSetter&,
                                           const EventContext& context) {
    const PlotArea area(context);
    const ui::Point pointer = GetPointer(context);
    // Not handled outside, for the pointer may be over another control.
    if (context.mArea != InteractArea::Control || !area.IsUsable() || !area.Contains(pointer))
        return {false, SetHoverKey(-1)};
    return {true, SetHoverKey(FindKey(Read(getter), area, pointer).mIndex)};
}

InteractResult RampInteract::OnPointerLeft(const ParameterCurrentValueGetter&, ParameterValueSetter&,
                                           const EventContext&) {
    const bool wasLit = SetHoverKey(-1);
    return {wasLit, wasLit};
}

InteractResult RampInteract::OnDrag(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                    const EventContext& context) {
    const PlotArea area(context);
    if (mDraggedKey < 0 || context.mArea != InteractArea::Control || !area.IsUsable()) return {};
    Ramp ramp = Read(getter);
    // The value may have become another one during the drag, as by an undo.
    if (static_cast<std::size_t>(mDraggedKey) >= ramp.keys.size()) {
        mDraggedKey = -1;
        return {};
    }
    const ui::Point plot = area.ToPlot({context.mPointerX + mDragOffset.mX, context.mPointerY + mDragOffset.mY});
    ramp.keys.erase(std::next(ramp.keys.begin(), mDraggedKey));
    const float t = FindFreePosition(ramp.keys, std::clamp(plot.mX, 0.0F, 1.0F));
    const auto inserted = ramp.keys.emplace(t, std::clamp(plot.mY, 0.0F, 1.0F)).first;
    mDraggedKey = static_cast<std::int32_t>(std::distance(ramp.keys.begin(), inserted));
    SetHoverKey(mDraggedKey);
    Write(setter, ramp);
    return {true, true};
}

std::vector<std::int32_t> RampInteract::GetParameterIndices() const {
    if (mShowControlIndex < 0) return {mIndex};
    return {mIndex, mShowControlIndex};
}

}  // namespace zeb
