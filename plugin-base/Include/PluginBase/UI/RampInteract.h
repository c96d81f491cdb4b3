#pragma once

#include "PluginBase/UI/InteractBase.h"

namespace zeb {

class Ramp;

/// Shows a Ramp as a filled curve with a square for each key.
///
/// A drag moves the key under the pointer, a double click adds or removes one, ctrl or command and a click goes to the
/// next interpolation. The key under the pointer is lit.
class RampInteract final : public InteractBase {
public:
    /// Catalogue indices of the Ramp and of the Checkbox that shows the editor (-1 for none).
    RampInteract(std::int32_t index, std::int32_t showControlIndex)
        : mIndex(index), mShowControlIndex(showControlIndex) {}

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
    Ramp Read(const ParameterCurrentValueGetter& getter) const;
    void Write(ParameterValueSetter& setter, const Ramp& ramp) const;
    /// Lights the key; returns whether another one, or none, was lit before.
    bool SetHoverKey(std::int32_t key);

    std::int32_t mIndex;
    std::int32_t mShowControlIndex;
    std::int32_t mDraggedKey = -1;  ///< index in order of t
    ui::Point mDragOffset;          ///< from the pointer to the key, pixels
    std::int32_t mHoverKey = -1;
};

}  // namespace zeb
