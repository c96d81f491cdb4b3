#pragma once

#include <cstdint>
#include <vector>

#include "PluginBase/Parameters/Values/ParameterAccess.h"
#include "PluginBase/UI/Contexts.h"
#include "PluginBase/UI/Graphics.h"

namespace zeb {

/// A custom control: it draws a parameter's value and edits it with the pointer. It keeps where the pointer is and what
/// it drags, never the value, which is read through the getter at each event. Thread: the interface's.
class InteractBase {
public:
    virtual ~InteractBase() = default;
    /// Whether the control draws and gets events in the area.
    virtual bool IsEnabled(InteractArea area, const ParameterCurrentValueGetter& getter) const = 0;
    /// Returns whether it drew.
    virtual bool Draw(const ParameterCurrentValueGetter& getter, const DrawContext& context,
                      ui::Graphics& graphics) = 0;
    /// A click count of 2 is a double click.
    virtual MouseDownResult OnMouseDown(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                        const EventContext& context, std::int32_t clickCount) = 0;
    virtual InteractResult OnPointerMove(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                         const EventContext& context) = 0;
    virtual InteractResult OnPointerLeft(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                         const EventContext& context) = 0;
    virtual InteractResult OnDrag(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                  const EventContext& context) = 0;
    /// Catalogue indices of the parameters that the control depends on.
    virtual std::vector<std::int32_t> GetParameterIndices() const = 0;
};

}  // namespace zeb
