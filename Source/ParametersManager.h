#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "Clipboard.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"

class Plugin;

/// The effect's parameters: the catalogue, and what its buttons do. Handlers run on the host's interface
/// thread inside the command that brings the change.
class ParametersManager final : public zeb::ParametersManagerBase {
public:
    ParametersManager(zeb::ParametersManagerOptions options, Plugin& plugin, std::unique_ptr<Clipboard> clipboard);

    void OnParameterChanged(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter,
                            std::int32_t index) override;
    std::string_view GetDescriptionText() const override;

private:
    using Handler = void (ParametersManager::*)(const zeb::ParameterCurrentValueGetter& getter,
                                                zeb::ParameterValueSetter& setter, std::int32_t index);
    static Handler FindHandler(std::int32_t index);

    /// Loads the chosen file once to test it; a file that fails is unset again, with a message.
    void OnModelFileChanged(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter,
                            std::int32_t index);
    void ShowModelInfo(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter,
                       std::int32_t index);
    void LinkNullObject(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter,
                        std::int32_t index);
    void UnlinkNullObject(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter,
                          std::int32_t index);
    void CopySettings(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter,
                      std::int32_t index);
    void PasteSettings(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter,
                       std::int32_t index);
    void ResetSettings(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter,
                       std::int32_t index);
    void CaptureGAPICalls(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter,
                          std::int32_t index);
    void CaptureRenderState(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter& setter,
                            std::int32_t index);

    Plugin& mPlugin;
    std::unique_ptr<Clipboard> mClipboard;
};
