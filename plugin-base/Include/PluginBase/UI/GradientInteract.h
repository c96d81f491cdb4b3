#pragma once

#include <functional>
#include <string>

#include <glm/vec4.hpp>

#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/UI/InteractBase.h"

namespace zeb {

/// Asks the user for a colour (red, green, blue, alpha); the given one comes back when the user cancels.
using ColorPicker = std::function<glm::vec4(const std::string& title, const glm::vec4& color)>;

/// Shows a Gradient as a bar of its colours with a marker for each key; the marker's shape tells the key's type.
///
/// A drag moves a key, and past the bar's edge removes it; a double click adds a key or asks for its colour; ctrl or
/// command and a click goes to the key's next type. Without a colour picker a click selects the key, and a Color
/// parameter edits what is selected.
class GradientInteract final : public InteractBase {
public:
    struct Options {
        std::int32_t mIndex = -1;             ///< catalogue index of the Gradient
        std::int32_t mColorIndex = -1;        ///< of the Color that edits the selected key
        std::int32_t mShowControlIndex = -1;  ///< of the Checkbox that shows the editor; -1 for none
        bool mUsesInteractColorPicker = true;
        ColorPicker mColorPicker = nullptr;  ///< called only with mUsesInteractColorPicker
    };
    explicit GradientInteract(Options options) : mOptions(std::move(options)) {}

    bool IsEnabled(InteractArea area, const ParameterCurrentValueGetter& getter) const override;
    bool Draw(const ParameterCurrentValueGetter& getter, const DrawContext& context, ui::Graphics& graphics) override;
    MouseDownResult OnMouseDown(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                const EventContext& context, std::int32_t clickCount) override;
    InteractResult OnPointerMove(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                 const EventContext& context) override;
    InteractResult OnPointerLeft(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                 const EventContext& context) override;
    InteractResult OnDrag(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                          const EventContext& context) override;
    std::vector<std::int32_t> GetParameterIndices() const override;

private:
    Gradient Read(const ParameterCurrentValueGetter& getter) const;
    void Write(ParameterValueSetter& setter, const Gradient& gradient) const;
    /// Begins to drag a key, and without a colour picker selects it.
    MouseDownResult Grab(Gradient& gradient, std::int32_t key, ParameterValueSetter& setter,
                         const EventContext& context, bool changed);

    Options mOptions;
    std::int32_t mDraggedKey = -1;  ///< index in order of position
    float mDragOffset = 0.0F;       ///< from the pointer to the key, pixels
    Gradient::Key mDragged;         ///< as it was when the drag began
};

}  // namespace zeb
