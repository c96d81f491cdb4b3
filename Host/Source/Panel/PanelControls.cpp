#include "Panel/PanelControls.h"

#include <cmath>
#include <numbers>

#include "Panel/PanelText.h"

namespace nimbrel::host::panel {
namespace {

constexpr double kNumberWidth = 70;  // before a slider's track or an angle's dial
constexpr double kFieldHeight = 17;  // of pop-ups, buttons and boxes of colour
constexpr double kPopupWidth = 150;

/// What all controls are drawn with.
struct Pencil {
    Canvas& mCanvas;
    const Parameter& mParameter;
    Box mBox;
    double mAlpha;

    Ink Of(Rgb color, double share = 1) const { return {color, mAlpha * share}; }
    Ink Value() const {
        const Expression& expression = mParameter.mExpression;
        return Of(expression.mEnabled && !expression.mText.empty() ? theme::kDriven : theme::kValue);
    }
    Box Field(double width) const { return {mBox.mX, mBox.MiddleY() - kFieldHeight / 2, width, kFieldHeight}; }
};

void DrawSlider(const Pencil& pencil, double number) {
    Canvas& canvas = pencil.mCanvas;
    const Box& box = pencil.mBox;
    canvas.Text(box.mX, box.MiddleY(), FormatNumber(pencil.mParameter, number), pencil.Value(), {}, Align::Left,
                kNumberWidth - 6);
    const double place = GetSliderPlace(pencil.mParameter, number);
    if (place < 0) return;
    const Box track{box.mX + kNumberWidth, box.MiddleY() - 2, box.mWidth - kNumberWidth - 6, 4};
    const double knob = track.mX + place * track.mWidth;
    canvas.Fill(track, pencil.Of(theme::kField), 2);
    if (place > 0)
        canvas.Fill({track.mX, track.mY, std::max(4.0, knob - track.mX), 4}, pencil.Of(theme::kAccent, 0.85), 2);
    canvas.Disc(knob, track.MiddleY(), 5.5, pencil.Of(theme::kBackground));
    canvas.Disc(knob, track.MiddleY(), 4.5, pencil.Of(theme::kText));
}

void DrawAngle(const Pencil& pencil, double degrees) {
    Canvas& canvas = pencil.mCanvas;
    const Box& box = pencil.mBox;
    canvas.Text(box.mX, box.MiddleY(), FormatNumber(pencil.mParameter, degrees), pencil.Value());
    // Clockwise from the top, as hosts turn their dials.
    const double x = box.mX + kNumberWidth + 9, y = box.MiddleY(), turn = degrees * std::numbers::pi / 180;
    canvas.Disc(x, y, 8, pencil.Of(theme::kField));
    canvas.Circle(x, y, 7.5, 1, pencil.Of(theme::kBorder));
    canvas.Polyline({{x, y}, {x + 6 * std::sin(turn), y - 6 * std::cos(turn)}}, 1.5, pencil.Of(theme::kAccent));
}

void DrawPoint(const Pencil& pencil, const glm::dvec3& point) {
    constexpr const char* axes[] = {"X", "Y", "Z"};
    const double width = pencil.mBox.mWidth / 3;
    for (int axis = 0; axis < 3; ++axis) {
        const double x = pencil.mBox.mX + axis * width, y = pencil.mBox.MiddleY();
        pencil.mCanvas.Text(x, y, axes[axis], pencil.Of(theme::kMutedText), {9.5});
        pencil.mCanvas.Text(x + 10, y, FormatNumber(pencil.mParameter, point[axis]), pencil.Value(), {}, Align::Left,
                            width - 14);
    }
}

void DrawCheckbox(const Pencil& pencil, bool isOn) {
    Canvas& canvas = pencil.mCanvas;
    const Box box{pencil.mBox.mX, std::floor(pencil.mBox.MiddleY() - 6.5), 13, 13};
    const bool isRadio = (pencil.mParameter.mDefinition.ui_flags & PF_PUI_RADIO_BUTTON) != 0;
    const double radius = isRadio ? 6.5 : 3;
    canvas.Fill(box, pencil.Of(isOn ? theme::kAccent : theme::kField), radius);
    if (!isOn) canvas.Outline(box, pencil.Of(theme::kBorder), radius);
    if (isOn && isRadio) canvas.Disc(box.MiddleX(), box.MiddleY(), 2.5, pencil.Of(0xffffff));
    if (isOn && !isRadio) {
        canvas.Polyline({{box.mX + 3.2, box.mY + 6.8}, {box.mX + 5.6, box.mY + 9.2}, {box.mX + 9.9, box.mY + 4.2}}, 1.8,
                        pencil.Of(0xffffff));
    }
    if (!pencil.mParameter.mLabel.empty()) {
        canvas.Text(box.Right() + 7, pencil.mBox.MiddleY(), pencil.mParameter.mLabel, pencil.Of(theme::kText));
    }
}

void DrawPopup(const Pencil& pencil, const std::string& text) {
    Canvas& canvas = pencil.mCanvas;
    const Box field = pencil.Field(kPopupWidth);
    canvas.Fill(field, pencil.Of(theme::kRaised), 4);
    canvas.Outline(field, pencil.Of(theme::kBorder), 4);
    canvas.Text(field.mX + 8, field.MiddleY(), text, pencil.Of(theme::kText), {}, Align::Left, field.mWidth - 28);
    const double x = field.Right() - 11, y = field.MiddleY();
    canvas.Polyline({{x - 3.5, y - 1.5}, {x, y + 2}, {x + 3.5, y - 1.5}}, 1.4, pencil.Of(theme::kMutedText));
}

void DrawButton(const Pencil& pencil) {
    Canvas& canvas = pencil.mCanvas;
    const double width = std::max(74.0, canvas.Measure(pencil.mParameter.mLabel) + 24);
    const Box field = pencil.Field(width);
    canvas.Fill(field, pencil.Of(theme::kRaised), field.mHeight / 2);
    canvas.Outline(field, pencil.Of(theme::kBorder), field.mHeight / 2);
    canvas.Text(field.MiddleX(), field.MiddleY(), pencil.mParameter.mLabel, pencil.Of(theme::kText), {}, Align::Center);
}

void DrawColor(const Pencil& pencil, const glm::dvec3& color) {
    const Box field = pencil.Field(44);
    Rgb rgb = 0;
    for (int c = 0; c < 3; ++c) rgb = rgb << 8 | static_cast<Rgb>(std::lround(std::clamp(color[c], 0.0, 1.0) * 255));
    pencil.mCanvas.Fill(field, pencil.Of(rgb), 4);
    pencil.mCanvas.Outline(field, pencil.Of(theme::kBorder), 4);
    pencil.mCanvas.Text(field.Right() + 9, field.MiddleY(), FormatColor(color), pencil.Value());
}

}  // namespace

void DrawControl(Canvas& canvas, Host& host, const Parameter& parameter, const Box& box, double seconds, double alpha) {
    const Pencil pencil{canvas, parameter, box, alpha};
    if (parameter.GetType() == PF_Param_BUTTON) return DrawButton(pencil);
    if (!parameter.HasValue()) return;
    const glm::dvec3 value = host.EvaluateParameter(parameter, seconds);
    switch (parameter.GetType()) {
        case PF_Param_SLIDER:
        case PF_Param_FLOAT_SLIDER: DrawSlider(pencil, value.x); break;
        case PF_Param_ANGLE: DrawAngle(pencil, value.x); break;
        case PF_Param_POINT_3D: DrawPoint(pencil, value); break;
        case PF_Param_CHECKBOX: DrawCheckbox(pencil, value.x != 0); break;
        case PF_Param_COLOR: DrawColor(pencil, value); break;
        case PF_Param_POPUP:
        case PF_Param_LAYER: DrawPopup(pencil, FormatChoice(host, parameter, value.x)); break;
        default: break;
    }
}

void DrawTwirl(Canvas& canvas, double x, double y, bool isClosed, const Ink& ink) {
    if (isClosed)
        canvas.Polyline({{x - 2, y - 4}, {x - 2, y + 4}, {x + 3, y}}, 0, ink);
    else
        canvas.Polyline({{x - 4, y - 2}, {x + 4, y - 2}, {x, y + 3}}, 0, ink);
}

void DrawStopwatch(Canvas& canvas, double x, double y, bool isAnimated, double alpha) {
    const Ink ink{isAnimated ? theme::kAccent : MixColors(theme::kBorder, theme::kMutedText, 0.3), alpha};
    if (isAnimated) canvas.Disc(x, y, 4.5, {theme::kAccent, 0.3 * alpha});
    canvas.Circle(x, y, 4, 1, ink);
    canvas.Polyline({{x, y}, {x, y - 2.4}}, 1, ink);
    canvas.Polyline({{x - 1.2, y - 5.6}, {x + 1.2, y - 5.6}}, 1, ink);
}

}  // namespace nimbrel::host::panel
