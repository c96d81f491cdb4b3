#include "PlotArea.h"

#include <cmath>

namespace zeb {
namespace {

constexpr float kInset = 6.0F;  // margin and frame, units

}  // namespace

PlotArea::PlotArea(const DrawContext& c)
    : mScaleX(c.mScaleX),
      mScaleY(c.mScaleY),
      mControl{c.mX * c.mScaleX, c.mY * c.mScaleY, c.mWidth * c.mScaleX, c.mHeight * c.mScaleY},
      mPlot{(c.mX + kInset) * c.mScaleX, (c.mY + kInset) * c.mScaleY, (c.mWidth - 2.0F * kInset) * c.mScaleX,
            (c.mHeight - 2.0F * kInset) * c.mScaleY},
      mFlipped(c.mYDirection == 0) {}

bool PlotArea::IsUsable() const {
    return mPlot.mWidth > 0.0F && mPlot.mHeight > 0.0F && std::isfinite(mPlot.mX + mPlot.mWidth) &&
           std::isfinite(mPlot.mY + mPlot.mHeight);
}

bool PlotArea::Contains(const ui::Point& point) const {
    const float x = point.mX - mControl.mX;
    const float y = point.mY - mControl.mY;
    return x >= 0.0F && x < mControl.mWidth && y >= 0.0F && y < mControl.mHeight;
}

ui::Point PlotArea::ToPlot(const ui::Point& point) const {
    const float y = (point.mY - mPlot.mY) / mPlot.mHeight;
    return {(point.mX - mPlot.mX) / mPlot.mWidth, mFlipped ? 1.0F - y : y};
}

ui::Point PlotArea::ToView(const ui::Point& plot) const {
    const float y = mFlipped ? 1.0F - plot.mY : plot.mY;
    return {mPlot.mX + plot.mX * mPlot.mWidth, mPlot.mY + y * mPlot.mHeight};
}

ui::Rect PlotArea::GetFrame() const {
    return {mPlot.mX - 0.5F * mScaleX, mPlot.mY - 0.5F * mScaleY, mPlot.mWidth + mScaleX, mPlot.mHeight + mScaleY};
}

ui::Point GetPointer(const EventContext& context) { return {context.mPointerX, context.mPointerY}; }

void FillBackground(ui::Graphics& graphics, const PlotArea& area) {
    ui::Color color = graphics.GetStandardColor(ui::StandardColor::Background);
    color.mAlpha = 0.7F;
    graphics.FillRect(area.GetControl(), *graphics.MakeBrush(color));
}

bool IsEditorShown(InteractArea area, const ParameterCurrentValueGetter& getter, std::int32_t showControlIndex) {
    if (area != InteractArea::Control && area != InteractArea::Title) return true;
    if (showControlIndex < 0) return true;
    return getter.GetDescription(showControlIndex).mParameterIndex < 0 || getter.GetBool(showControlIndex);
}

}  // namespace zeb
