// The control of a gradient: a bar that fills the plotting rect, with the keys' markers standing on its lower edge.
#include "PluginBase/UI/GradientInteract.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <iterator>

#include "KeyMarker.h"
#include "PlotArea.h"

namespace zeb {
namespace {

constexpr float kHitDistance = 8.0F;  // units

float GetPosition(const PlotArea& area, float x) { return (x - area.GetPlot().mX) / area.GetPlot().mWidth; }

/// The key near the pointer. From each key that is hit the search goes on, so that of a row of near keys the last wins.
std::int32_t FindKey(const Gradient& gradient, const PlotArea& area, float x) {
    const float tolerance = kHitDistance * area.GetScaleX() / area.GetPlot().mWidth;
    float position = GetPosition(area, x);
    std::int32_t hit = -1;
    std::int32_t index = 0;
    for (const auto& key : gradient.keys) {
        if (std::fabs(key.first - position) < tolerance) {
            hit = index;
            position = key.first;
        }
        ++index;
    }
    return hit;
}

std::int32_t GetNextType(std::int32_t type) {
    switch (type) {
        case Gradient::kLinear: return Gradient::kSmooth;
        case Gradient::kSmooth: return Gradient::kStep;
        default: return Gradient::kLinear;
    }
}

/// The selected key, or -1. What another program wrote in the selection's place may be anything, and selects nothing.
std::int32_t FindSelectedKey(const Gradient& gradient) {
    try {
        return gradient.GetSelectedKey();
    } catch (const std::exception&) {
        return -1;
    }
}

/// Whether a drag to the pointer keeps the key: past the bar's lower edge (upper, where y runs up) it is thrown away.
bool IsKept(const PlotArea& area, float y) {
    const ui::Rect& bar = area.GetPlot();
    return area.IsFlipped() ? y <= bar.mY + bar.mHeight : y >= bar.mY;
}

ui::Color ToColor(const glm::vec3& color) { return {color.x, color.y, color.z, 1.0F}; }

void DrawBar(ui::Graphics& graphics, const Gradient& gradient, const PlotArea& area) {
    // A column shows the colour at its middle.
    constexpr float kMaxColumns = 8192.0F;
    const auto columns = static_cast<std::size_t>(std::min(area.GetPlot().mWidth, kMaxColumns));
    std::vector<ui::Color> row(columns);
    for (std::size_t i = 0; i < columns; ++i)
        row[i] = ToColor(gradient.GetColor((static_cast<float>(i) + 0.5F) / static_cast<float>(columns)));
    graphics.FillGradientRect(area.GetPlot(), row);
}

void DrawMarker(ui::Graphics& graphics, const PlotArea& area, float position, const Gradient::Key& key,
                const ui::Pen& halo, const ui::Pen& line) {
    const float x = area.ToView({std::clamp(position, 0.0F, 1.0F), 0.0F}).mX;
    // Upright on the bar's lower edge, or hanging from the upper one where y runs up.
    const float direction = area.IsFlipped() ? area.GetScaleY() : -area.GetScaleY();
    const float foot = area.ToView({0.0F, 0.0F}).mY - direction;
    const auto polygon = graphics.MakePolygon();
    for (const ui::Point& point : GetKeyMarker(key.type))
        polygon->AddPoint({x + point.mX * area.GetScaleX(), foot + (point.mY - kKeyMarkerHeight) * direction});
    polygon->Close();
    graphics.DrawPolygon(*polygon, halo);
    graphics.FillPolygon(*polygon, *graphics.MakeBrush(ToColor(key.color)));
    graphics.DrawPolygon(*polygon, line);
}

void DrawMarkers(ui::Graphics& graphics, const Gradient& gradient, const PlotArea& area) {
    // A marker has the colour of the bar behind it: a light line on a dark halo stands out on any.
    const auto halo = graphics.MakePen({0.0F, 0.0F, 0.0F, 0.85F}, 3.0F * area.GetLine());
    const auto line = graphics.MakePen({1.0F, 1.0F, 1.0F, 1.0F}, area.GetLine());
    const auto selectedLine =
        graphics.MakePen(graphics.GetStandardColor(ui::StandardColor::Highlight), 2.0F * area.GetLine());
    const std::int32_t selected = FindSelectedKey(gradient);
    std::int32_t index = 0;
    for (const auto& [position, key] : gradient.keys)
        DrawMarker(graphics, area, position, key, *halo, index++ == selected ? *selectedLine : *line);
}

void DrawFrame(ui::Graphics& graphics, const PlotArea& area) {
    const auto pen = graphics.MakePen(graphics.GetStandardColor(ui::StandardColor::HighlightDisabled), area.GetLine());
    const ui::Rect frame = area.GetFrame();
    const float right = frame.mX + frame.mWidth;
    const float bottom = frame.mY + frame.mHeight;
    const ui::Point corners[] = {{frame.mX, frame.mY}, {right, frame.mY}, {right, bottom}, {frame.mX, bottom}};
    for (std::size_t i = 0; i < 4; ++i) graphics.DrawLine(*pen, corners[i], corners[(i + 1) % 4]);
}

}  // namespace

Gradient GradientInteract::Read(const ParameterCurrentValueGetter& getter) const {
    Gradient gradient;
    gradient.FromJSON(getter.GetCustom(mOptions.mIndex));
    return gradient;
}

void GradientInteract::Write(ParameterValueSetter& setter, const Gradient& gradient) const {
    setter.SetCustom(mOptions.mIndex, gradient.GetTypeName(), gradient.ToJSON());
}

bool GradientInteract::IsEnabled(InteractArea area, const ParameterCurrentValueGetter& getter) const {
    return IsEditorShown(area, getter, mOptions.mShowControlIndex);
}

bool GradientInteract::Draw(const ParameterCurrentValueGetter& getter, const DrawContext& context,
                            ui::Graphics& graphics) {
    const PlotArea area(context);
    if (context.mArea != InteractArea::Control || !area.IsUsable()) return false;
    const Gradient gradient = Read(getter);
    FillBackground(graphics, area);
    DrawBar(graphics, gradient, area);
    DrawFrame(graphics, area);
    DrawMarkers(graphics, gradient, area);
    return true;
}

MouseDownResult GradientInteract::OnMouseDown(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                              const EventContext& context, std::int32_t clickCount) {
    const PlotArea area(context);
    if (context.mArea != InteractArea::Control || !area.IsUsable() || !area.Contains(GetPointer(context))) return {};
    mDraggedKey = -1;
    Gradient gradient = Read(getter);
    std::int32_t hit = FindKey(gradient, area, context.mPointerX);
    if ((context.mModifiers & kModifierCommand) != 0) {
        if (hit < 0) return {{true, false}, false};
        Gradient::Key& key = std::next(gradient.keys.begin(), hit)->second;
        key.type = GetNextType(key.type);
        Write(setter, gradient);
        return {{true, true}, false};
    }
    if (clickCount == 2 && hit >= 0 && mOptions.mUsesInteractColorPicker) {
        glm::vec3& color = std::next(gradient.keys.begin(), hit)->second.color;
        color = glm::vec3(mOptions.mColorPicker("Gradient Color", glm::vec4(color, 1.0F)));  // its own if cancelled
        Write(setter, gradient);
        return {{true, true}, false};
    }
    const bool add = clickCount == 2 && hit < 0;
    if (add) {
        // The margin beside the bar belongs to the control: a click there means the bar's end.
        const float position = std::clamp(GetPosition(area, context.mPointerX), 0.0F, 1.0F);
        const auto inserted =
            gradient.keys.emplace(position, Gradient::Key{Gradient::kSmooth, gradient.GetColor(position)});
        hit = static_cast<std::int32_t>(std::distance(gradient.keys.begin(), inserted.first));
    }
    if (hit < 0) return {{true, false}, false};
    return Grab(gradient, hit, setter, context, add);
}

MouseDownResult GradientInteract::Grab(Gradient& gradient, std::int32_t keyIndex, ParameterValueSetter& setter,
                                       const EventContext& context, bool changed) {
    const auto& [position, key] = *std::next(gradient.keys.begin(), keyIndex);
    mDraggedKey = keyIndex;
    mDragOffset = PlotArea(context).ToView({position, 0.0F}).mX - context.mPointerX;
    mDragged = key;
    if (!mOptions.mUsesInteractColorPicker) {
        gradient.SetSelectedKey(keyIndex);
        setter.SetVec3(mOptions.mColorIndex, key.color);
        changed = true;
    }
    if (changed) Write(setter, gradient);
    return {{true, changed}, true};
}

InteractResult GradientInteract::OnDrag(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                        const EventContext& context) {
    const PlotArea area(context);
    if (mDraggedKey < 0 || context.mArea != InteractArea::Control || !area.IsUsable()) return {};
    Gradient gradient = Read(getter);
    // The value may have become another one during the drag, as by an undo.
    if (static_cast<std::size_t>(mDraggedKey) >= gradient.keys.size()) {
        mDraggedKey = -1;
        return {};
    }
    const auto dragged = std::next(gradient.keys.begin(), mDraggedKey);
    if (IsKept(area, context.mPointerY)) {
        const float wanted = std::clamp(GetPosition(area, context.mPointerX + mDragOffset), 0.0F, 1.0F);
        if (wanted == dragged->first) return {true, false};
        gradient.keys.erase(dragged);
        const float position = FindFreePosition(gradient.keys, wanted);
        const auto inserted = gradient.keys.emplace(position, mDragged).first;
        mDraggedKey = static_cast<std::int32_t>(std::distance(gradient.keys.begin(), inserted));
    } else {
        gradient.keys.erase(dragged);
        mDraggedKey = -1;
    }
    if (!mOptions.mUsesInteractColorPicker) gradient.SetSelectedKey(mDraggedKey);
    Write(setter, gradient);
    return {true, true};
}

InteractResult GradientInteract::OnPointerMove(const ParameterCurrentValueGetter&, ParameterValueSetter&,
                                               const EventContext& context) {
    const PlotArea area(context);
    return {context.mArea == InteractArea::Control && area.Contains(GetPointer(context)), false};
}

InteractResult GradientInteract::OnPointerLeft(const ParameterCurrentValueGetter&, ParameterValueSetter&,
                                               const EventContext& context) {
    return {context.mArea == InteractArea::Control, false};
}

std::vector<std::int32_t> GradientInteract::GetParameterIndices() const {
    std::vector<std::int32_t> indices = {mOptions.mIndex};
    for (const std::int32_t index : {mOptions.mColorIndex, mOptions.mShowControlIndex}) {
        if (index >= 0) indices.push_back(index);
    }
    return indices;
}

}  // namespace zeb
