#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "PluginBase/UI/InteractBase.h"

namespace zeb {

/// Several controls as one: events go to the enabled ones in order until one handles them, drags to the one alone that
/// took the capture at the last mouse down.
class InteractsManager : public InteractBase {
public:
    void Add(UniquePtr<InteractBase> interact);

    /// Whether any control is.
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

    /// One context for each control, from the context that they share.
    virtual std::vector<DrawContext> GetDrawContexts(const ParameterCurrentValueGetter& getter,
                                                     const DrawContext& context) const;
    virtual std::vector<EventContext> GetEventContexts(const ParameterCurrentValueGetter& getter,
                                                       const EventContext& context) const;

protected:
    /// Position in the list and the control.
    using Entry = std::pair<std::int32_t, UniquePtr<InteractBase>>;
    const std::vector<Entry>& GetInteracts() const { return mInteracts; }

private:
    /// Offers an event to the enabled controls until one handles it. `offer` takes a control, its position and its
    /// context.
    template <class Offer>
    void OfferToEnabled(const ParameterCurrentValueGetter& getter, const EventContext& context, Offer offer);

    using PointerEvent = InteractResult (InteractBase::*)(const ParameterCurrentValueGetter&, ParameterValueSetter&,
                                                          const EventContext&);
    InteractResult OfferPointer(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                const EventContext& context, PointerEvent event);

    std::vector<Entry> mInteracts;
    std::int32_t mCaptureIndex = -1;  ///< who gets the drags; -1 for nobody
};

}  // namespace zeb
