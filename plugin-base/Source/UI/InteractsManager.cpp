#include "PluginBase/UI/InteractsManager.h"

#include <algorithm>

namespace zeb {

void InteractsManager::Add(UniquePtr<InteractBase> interact) {
    mInteracts.emplace_back(static_cast<std::int32_t>(mInteracts.size()), std::move(interact));
}

bool InteractsManager::IsEnabled(InteractArea area, const ParameterCurrentValueGetter& getter) const {
    return std::any_of(mInteracts.begin(), mInteracts.end(),
                       [&](const Entry& entry) { return entry.second->IsEnabled(area, getter); });
}

bool InteractsManager::Draw(const ParameterCurrentValueGetter& getter, const DrawContext& context,
                            ui::Graphics& graphics) {
    const std::vector<DrawContext> contexts = GetDrawContexts(getter, context);
    bool handled = false;
    for (std::size_t i = 0; i < mInteracts.size(); ++i) {
        InteractBase& interact = *mInteracts[i].second;
        if (interact.IsEnabled(context.mArea, getter) && interact.Draw(getter, contexts[i], graphics)) handled = true;
    }
    return handled;
}

template <class Offer>
void InteractsManager::OfferToEnabled(const ParameterCurrentValueGetter& getter, const EventContext& context,
                                      Offer offer) {
    const std::vector<EventContext> contexts = GetEventContexts(getter, context);
    for (std::size_t i = 0; i < mInteracts.size(); ++i) {
        const auto& [position, interact] = mInteracts[i];
        if (interact->IsEnabled(context.mArea, getter) && offer(*interact, position, contexts[i])) return;
    }
}

MouseDownResult InteractsManager::OnMouseDown(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                              const EventContext& context, std::int32_t clickCount) {
    MouseDownResult result;
    mCaptureIndex = -1;
    OfferToEnabled(getter, context, [&](InteractBase& interact, std::int32_t position, const EventContext& own) {
        const MouseDownResult one = interact.OnMouseDown(getter, setter, own, clickCount);
        result.mChanged |= one.mChanged;
        if (one.mCapture) {
            result.mCapture = true;
            mCaptureIndex = position;
        }
        return result.mHandled = one.mHandled;
    });
    return result;
}

InteractResult InteractsManager::OfferPointer(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                              const EventContext& context, PointerEvent event) {
    InteractResult result;
    OfferToEnabled(getter, context, [&](InteractBase& interact, std::int32_t, const EventContext& own) {
        const InteractResult one = (interact.*event)(getter, setter, own);
        result.mChanged |= one.mChanged;
        return result.mHandled = one.mHandled;
    });
    return result;
}

InteractResult InteractsManager::OnPointerMove(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                               const EventContext& context) {
    return OfferPointer(getter, setter, context, &InteractBase::OnPointerMove);
}

InteractResult InteractsManager::OnPointerLeft(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                               const EventContext& context) {
    return OfferPointer(getter, setter, context, &InteractBase::OnPointerLeft);
}

InteractResult InteractsManager::OnDrag(const ParameterCurrentValueGetter& getter, ParameterValueSetter& setter,
                                        const EventContext& context) {
    if (mCaptureIndex < 0) return {};
    const auto captured = static_cast<std::size_t>(mCaptureIndex);
    return mInteracts[captured].second->OnDrag(getter, setter, GetEventContexts(getter, context)[captured]);
}

std::vector<std::int32_t> InteractsManager::GetParameterIndices() const {
    std::vector<std::int32_t> all;
    for (const Entry& entry : mInteracts) {
        const std::vector<std::int32_t> indices = entry.second->GetParameterIndices();
        all.insert(all.end(), indices.begin(), indices.end());
    }
    return all;
}

std::vector<DrawContext> InteractsManager::GetDrawContexts(const ParameterCurrentValueGetter&,
                                                           const DrawContext& context) const {
    return std::vector<DrawContext>(mInteracts.size(), context);
}

std::vector<EventContext> InteractsManager::GetEventContexts(const ParameterCurrentValueGetter&,
                                                             const EventContext& context) const {
    return std::vector<EventContext>(mInteracts.size(), context);
}

}  // namespace zeb
