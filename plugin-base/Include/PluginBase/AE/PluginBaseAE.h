#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "HostInterface/HostInterface.h"
#include "HostInterface/NimbrelDeviceSuite.h"
#include "PluginBase/AE/PluginIdentity.h"
#include "PluginBase/Misc/MakeUnique.h"
#include "PluginBase/PluginBaseCommon.h"

namespace zeb {

/// Binds the frame to the host: each command of the host is one virtual operation, called inside a
/// thread context. One object serves all threads.
///
/// `CreateParametersManager` of the effect sets `mCompleteCustomSettings` of the manager's options to
/// CompleteCustomSettingsAE (PluginBase/AE/ArbHandlerAE.h).
class PluginBaseAE : public PluginBaseCommon {
public:
    PluginBaseAE();
    ~PluginBaseAE() override;

    /// Registers with the host, writes version and flags, and makes the render interface.
    void Init() override;
    void Deinit() override;

    void GetRenderInfo(std::string& text) const override;
    nlohmann::json GetParameterValues(std::int32_t groupIndex) override;
    CameraInfo GetCamera() override;
    void ShowMessage(const std::string& text, std::int32_t severity) override;
    /// Shows a large text through the host's script engine; true as well when there is none.
    bool ShowTextDialog(const std::string& text, const std::string& title) override;
    void StartUndoGroup(const std::string& name) override;
    void EndUndoGroup() override;
    void ProgressUpdate(std::int32_t current, std::int32_t total) override;
    void RedrawRequest() override;
    glm::vec4 ColorPickerDialog(const std::string& title, const glm::vec4& color) override;
    void ResetValues(std::int32_t groupIndex) override;
    void LoadValues(const nlohmann::json& values) override;

    virtual PF_OutFlags GetOutFlags() const = 0;
    virtual PF_OutFlags2 GetOutFlags2() const = 0;
    /// Name of the project folder that takes the footage of the file at `path`.
    virtual std::u16string GetImportFolderName(const std::u16string& path) const = 0;
    virtual bool IsBeta() const = 0;

    virtual void About();
    virtual void GlobalSetup();
    virtual void ParamsSetup();
    virtual void UserChangedParam(PF_ParamDef* params[], PF_UserChangedParamExtra* extra);
    virtual void UpdateParamsUI(PF_ParamDef* params[]);
    /// Custom controls (PluginBase/AE/EventAE.h).
    virtual void Event(PF_ParamDef* params[], PF_EventExtra* extra);
    virtual void QueryDynamicFlags();
    virtual void ArbitraryCallback(PF_ArbParamsExtra* extra);
    virtual void GlobalSetdown();
    virtual void SequenceSetup() = 0;
    virtual void SequenceSetdown() = 0;
    virtual void GetFlattenedSequenceData() = 0;
    virtual void SequenceFlatten() = 0;
    virtual void SequenceResetup() = 0;
    virtual void SmartPreRender(PF_PreRenderExtra* extra);
    virtual void SmartRender(PF_SmartRenderExtra* extra);

    const char* GetPluginName() const { return kPluginName; }

private:
    void DrawFrame(render::Device& device, const DrawInfo& drawInfo, const ImageInfo& image, const PluginState& state);
    /// Completes the options with what the host's device suite says, if it has one.
    void ReadDeviceSuite(render::RenderOptions& options);
    /// Drops the device suite's reports; called before the suite is released.
    void ReleaseDeviceSuite() noexcept;

    AEGP_PluginID mPluginAEID = 0;
    const NimbrelDeviceSuite2* mDeviceSuite = nullptr;  ///< held from Init to Deinit
    SPBasicSuite* mDeviceSuiteHost = nullptr;
    std::deque<std::string> mDefinedTexts;  ///< texts that the host was given with the parameters
};

/// Makes the effect's one object; implemented by the effect.
UniquePtr<PluginBaseAE> CreatePlugin();

}  // namespace zeb
