#pragma once

#include <cstdint>

#include "PluginBase/Parameters/Values/ParameterAccess.h"
#include "PluginBase/UI/Contexts.h"
#include "PluginBase/UI/Graphics.h"

namespace zeb {

/// The geometry that controls share, in pixels: the control's rect, and inside it, behind a margin of 5 units and a
/// frame of 1, the plotting rect, across which positions run from 0 to 1.
class PlotArea {
public:
    explicit PlotArea(const DrawContext& context);

    /// False for a control that has no room inside its frame, or whose place is no number.
    bool IsUsable() const;
    /// Whether a point lies in the control. A point on the right or lower edge belongs to what lies behind it.
    bool Contains(const ui::Point& point) const;

    /// Position and value of a point; outside the plotting rect they lie outside of 0 to 1.
    ui::Point ToPlot(const ui::Point& point) const;
    ui::Point ToView(const ui::Point& plot) const;

    const ui::Rect& GetControl() const { return mControl; }
    const ui::Rect& GetPlot() const { return mPlot; }
    /// The middle of the frame's line: half a unit outside the plotting rect.
    ui::Rect GetFrame() const;
    float GetScaleX() const { return mScaleX; }
    float GetScaleY() const { return mScaleY; }
    bool IsFlipped() const { return mFlipped; }
    /// Width of a line of one unit.
    float GetLine() const { return mScaleX; }

private:
    float mScaleX;
    float mScaleY;
    ui::Rect mControl;
    ui::Rect mPlot;
    bool mFlipped;  ///< value 1 is at the top
};

ui::Point GetPointer(const EventContext& context);

/// The colour behind a control: the panel's, through which what the host drew before shows a little.
void FillBackground(ui::Graphics& graphics, const PlotArea& area);

/// Whether the Checkbox that shows an editor is on. True without one (-1), and where the host does not know it, for
/// then the editor is always shown; true as well in an area that is neither control nor title.
bool IsEditorShown(InteractArea area, const ParameterCurrentValueGetter& getter, std::int32_t showControlIndex);

/// `position`, or where a key is already, the next free place towards the middle in steps of a thousandth.
template <class Keys>
float FindFreePosition(const Keys& keys, float position) {
    const float step = position < 0.5F ? 0.001F : -0.001F;
    while (keys.find(position) != keys.end()) position += step;
    return position;
}

}  // namespace zeb
