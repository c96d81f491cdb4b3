#include "NimbrelHost/Panel/Panel.h"

#include <fmt/format.h>

#include <algorithm>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/User/EffectWindow.h"
#include "Panel/Canvas.h"
#include "Panel/PanelControls.h"
#include "Panel/PanelLayout.h"

namespace nimbrel::host {
namespace panel {
namespace {

constexpr double kDimmed = 0.42;
constexpr TextStyle kGroupStyle{11.5, true};

class PanelPainter {
public:
    PanelPainter(Host& host, const PanelOptions& options, const std::vector<Column>& columns)
        : mHost(host),
          mOptions(options),
          mColumns(columns),
          mCanvas(GetWidth(columns), GetHeight(columns), options.mScale, theme::kWindow) {}

    Frame Paint() {
        PaintHeader();
        for (std::size_t i = 0; i < mColumns.size(); ++i) {
            PaintColumn(mColumns[i], kPadding + static_cast<int>(i) * (kColumnWidth + kPadding), kHeaderHeight);
        }
        if (mWindow) mWindow->Close();
        return mCanvas.TakeFrame();
    }

private:
    static int GetWidth(const std::vector<Column>& columns) {
        return kPadding + static_cast<int>(columns.size()) * (kColumnWidth + kPadding);
    }
    static int GetHeight(const std::vector<Column>& columns) {
        int tallest = kRowHeight;
        for (const Column& column : columns) tallest = std::max(tallest, column.mHeight);
        return kHeaderHeight + tallest + 2 * kControlMargin + kPadding;
    }

    void PaintHeader() {
        const double y = kHeaderHeight / 2.0;
        const Box badge{static_cast<double>(kPadding), y - 9, 26, 18};
        mCanvas.Fill(badge, {theme::kAccent, 0.22}, 5);
        mCanvas.Text(badge.MiddleX(), y, "fx", {theme::kValue}, {11.5, true}, Align::Center);
        mCanvas.Text(badge.Right() + 10, y, mHost.GetEffect().mName, {theme::kText}, {14, true});
        const double right = GetWidth(mColumns) - kPadding;
        const std::string time = fmt::format("{}  \xc2\xb7  {:.2f} s", mHost.GetProject().GetEffectLayer()->mName,
                                             mHost.GetLayerClock().GetSeconds(mOptions.mFrame));
        mCanvas.Text(right, y, time, {theme::kMutedText}, {}, Align::Right);
    }

    void PaintColumn(const Column& column, int left, int top) {
        mCanvas.Fill({static_cast<double>(left), static_cast<double>(top), kColumnWidth,
                      static_cast<double>(column.mHeight + 2 * kControlMargin)},
                     {theme::kBackground}, 8);
        top += kControlMargin;
        if (!column.mTrail.empty()) PaintTrail(column.mTrail, left, top);
        for (const Row& row : column.mRows) {
            const Box box{static_cast<double>(left), static_cast<double>(top + row.mTop), kColumnWidth,
                          static_cast<double>(row.mHeight)};
            PaintGuides(row, box);
            row.IsGroup() ? PaintGroup(row, box) : PaintParameter(row, box);
        }
    }

    void PaintTrail(const std::vector<const Parameter*>& groups, int left, int top) {
        std::string text;
        for (const Parameter* group : groups) text += (text.empty() ? "" : "  \xe2\x80\xba  ") + group->mName;
        mCanvas.Text(left + 12, top + kTrailHeight / 2.0, text, {theme::kMutedText}, {10.5}, Align::Left,
                     kColumnWidth - 24);
    }

    static double GetLeft(const Row& row, const Box& box) { return box.mX + 14 + kIndent * row.GetDepth(); }

    /// One line for each group around, so that one sees where it ends.
    void PaintGuides(const Row& row, const Box& box) {
        for (int depth = 1; depth < row.GetDepth(); ++depth) {
            mCanvas.Fill({box.mX + 14 + kIndent * depth, box.mY, 1, box.mHeight}, {theme::kLine});
        }
    }

    void PaintGroup(const Row& row, const Box& box) {
        const double left = GetLeft(row, box);
        const double alpha = GetAlpha(*row.mParameter);
        if (row.mGroups.empty()) {
            mCanvas.Fill({box.mX + 5, box.mY + 2, box.mWidth - 10, box.mHeight - 4}, {theme::kLine}, 5);
        }
        DrawTwirl(mCanvas, left, box.MiddleY(), row.mIsClosed, {theme::kMutedText, alpha});
        mCanvas.Text(left + 11, box.MiddleY(), row.mParameter->mName, {theme::kText, alpha}, kGroupStyle);
    }

    void PaintParameter(const Row& row, const Box& box) {
        const Parameter& parameter = *row.mParameter;
        const double alpha = GetAlpha(parameter);
        const bool isCustom = parameter.GetType() == PF_Param_ARBITRARY_DATA;
        // Beside a tall control the name stands on its first line.
        Box line = box;
        if (isCustom && box.mHeight > kRowHeight) line = {box.mX, box.mY + kControlMargin, box.mWidth, kRowHeight - 4};
        const double left = GetLeft(row, box);
        const bool varies = parameter.HasValue() && (parameter.mDefinition.flags & PF_ParamFlag_CANNOT_TIME_VARY) == 0;
        if (varies) DrawStopwatch(mCanvas, left, line.MiddleY(), !parameter.mValue.IsConstant(), alpha);
        mCanvas.Text(left + 11, line.MiddleY(), parameter.mName, {theme::kText, 0.9 * alpha}, {}, Align::Left,
                     box.mX + kValueLeft - left - 19);
        if ((parameter.mDefinition.ui_flags & PF_PUI_ECW_SEPARATOR) != 0) {
            mCanvas.Fill({box.mX + 10, box.mY, box.mWidth - 20, 1}, {theme::kLine});
        }
        if (isCustom) return PaintCustom(parameter, box);
        const Box value{box.mX + kValueLeft, box.mY, kColumnWidth - kValueLeft - 12.0, box.mHeight};
        DrawControl(mCanvas, mHost, parameter, value, mHost.GetLayerClock().GetSeconds(mOptions.mFrame), alpha);
    }

    /// The effect draws; a control without a place, or of an effect that takes no events, stays empty.
    void PaintCustom(const Parameter& parameter, const Box& box) {
        const PF_ParamDef& definition = parameter.mDefinition;
        const bool isServed = (mHost.GetCustomUI().mRegisteredEvents & PF_CustomEFlag_EFFECT) != 0;
        if (!isServed || definition.ui_width <= 0 || definition.ui_height <= 0) return;
        if (!mWindow) mWindow.emplace(mHost, mOptions.mFrame);
        ControlPlace place;
        place.mParameter = &parameter;
        const auto left = static_cast<A_long>(box.mX), top = static_cast<A_long>(box.mY) + kControlMargin;
        place.mControl = {left + kValueLeft, top, left + kValueLeft + definition.ui_width, top + definition.ui_height};
        place.mTitle = {left, top, left + kValueLeft, top + kRowHeight};
        const Drawing drawing = mWindow->Draw(place, static_cast<float>(mOptions.mScale));
        mCanvas.Paint(drawing);
        if (GetAlpha(parameter) < 1) {
            const DrawingRect& frame = drawing.mFrame;
            mCanvas.Fill({static_cast<double>(frame.mLeft), static_cast<double>(frame.mTop),
                          static_cast<double>(frame.mWidth), static_cast<double>(frame.mHeight)},
                         {theme::kBackground, 1 - kDimmed});
        }
    }

    static double GetAlpha(const Parameter& parameter) {
        return (parameter.mDefinition.ui_flags & PF_PUI_DISABLED) != 0 ? kDimmed : 1;
    }

    Host& mHost;
    const PanelOptions& mOptions;
    const std::vector<Column>& mColumns;
    Canvas mCanvas;
    std::optional<EffectWindow> mWindow;
};

}  // namespace
}  // namespace panel

Frame DrawPanel(Host& host, const PanelOptions& options) {
    const std::vector<panel::Column> columns = panel::FlowColumns(panel::ListRows(host, options));
    return panel::PanelPainter(host, options, columns).Paint();
}

}  // namespace nimbrel::host
