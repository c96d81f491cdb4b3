#pragma once

#include <vector>

#include "PluginBase/Parameters/Values/ParameterDescription.h"
#include "PluginBase/UI/InteractsManager.h"

namespace zeb {

/// The editors of all custom parameters as one stack, for a host with a single area for all of them. An editor that is
/// switched off takes no room. Lies at the origin of the area; all editors have one width.
class OverlayComponentsManager final : public InteractsManager {
public:
    /// `table` as the parameters' manager has it; read here only.
    explicit OverlayComponentsManager(const std::vector<ParameterDescription>& table);

    std::vector<DrawContext> GetDrawContexts(const ParameterCurrentValueGetter& getter,
                                             const DrawContext& context) const override;
    std::vector<EventContext> GetEventContexts(const ParameterCurrentValueGetter& getter,
                                               const EventContext& context) const override;

private:
    template <class Context>
    std::vector<Context> LayOut(const ParameterCurrentValueGetter& getter, const Context& context) const;

    float mWidth = 300.0F;        ///< units; more if an editor asks for more
    std::vector<float> mHeights;  ///< units, of each editor
};

}  // namespace zeb
