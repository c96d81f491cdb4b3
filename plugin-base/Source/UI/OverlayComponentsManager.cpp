#include "PluginBase/UI/OverlayComponentsManager.h"

#include <algorithm>

namespace zeb {

OverlayComponentsManager::OverlayComponentsManager(const std::vector<ParameterDescription>& table) {
    for (const ParameterDescription& description : table) {
        if (!description.mInteractInfo) continue;
        const ParameterInteractInfo& info = *description.mInteractInfo;
        mWidth = std::max(mWidth, static_cast<float>(info.mWidth));
        Add(info.mMakeInteract(description.mIndex));
        mHeights.push_back(static_cast<float>(info.mHeight));
    }
}

template <class Context>
std::vector<Context> OverlayComponentsManager::LayOut(const ParameterCurrentValueGetter& getter,
                                                      const Context& context) const {
    std::vector<Context> contexts(GetInteracts().size(), context);
    float y = 0.0F;
    for (std::size_t i = 0; i < contexts.size(); ++i) {
        const bool enabled = GetInteracts()[i].second->IsEnabled(context.mArea, getter);
        contexts[i].mArea = InteractArea::Control;
        contexts[i].mX = 0.0F;
        contexts[i].mY = y;
        contexts[i].mWidth = mWidth;
        contexts[i].mHeight = enabled ? mHeights[i] : 0.0F;
        y += contexts[i].mHeight;
    }
    return contexts;
}

std::vector<DrawContext> OverlayComponentsManager::GetDrawContexts(const ParameterCurrentValueGetter& getter,
                                                                   const DrawContext& context) const {
    return LayOut(getter, context);
}

std::vector<EventContext> OverlayComponentsManager::GetEventContexts(const ParameterCurrentValueGetter& getter,
                                                                     const EventContext& context) const {
    return LayOut(getter, context);
}

}  // namespace zeb
