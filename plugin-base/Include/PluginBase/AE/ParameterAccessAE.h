#pragma once

#include <deque>
#include <string>
#include <vector>

#include "HostInterface/HostInterface.h"
#include "PluginBase/Parameters/ParameterDefaultValueGetter.h"
#include "PluginBase/Parameters/Values/ParameterAccess.h"

/// Parameters in the host's records. All objects live on the stack of one command, in its context.
namespace zeb {

class PluginBaseAE;

/// Reads the parameter array that came with the command.
class ParameterCurrentValueGetterAE final : public ParameterCurrentValueGetter {
public:
    ParameterCurrentValueGetterAE(const ParametersManagerBase& manager, PF_ParamDef** params)
        : ParameterCurrentValueGetter(manager), mParams(params) {}

protected:
    std::int32_t DoGetInt(const ParameterDescription& description) const override;
    double DoGetDouble(const ParameterDescription& description) const override;
    glm::vec3 DoGetVec3(const ParameterDescription& description) const override;
    glm::vec3 DoGetRawVec3(const ParameterDescription& description) const override;
    bool DoGetBool(const ParameterDescription& description) const override;
    std::u16string DoGetString(const ParameterDescription& description) const override;
    std::int32_t DoGetPopup(const ParameterDescription& description) const override;
    std::string DoGetCustom(const ParameterDescription& description) const override;

private:
    PF_ParamDef** mParams;
};

/// Checks each parameter out of the host for the length of one reading.
class ParameterTemporalValueGetterAE final : public ParameterTemporalValueGetter {
public:
    using ParameterTemporalValueGetter::ParameterTemporalValueGetter;

protected:
    std::int32_t DoGetInt(const ParameterDescription& description, const TimeValue& time) const override;
    double DoGetDouble(const ParameterDescription& description, const TimeValue& time) const override;
    glm::vec3 DoGetVec3(const ParameterDescription& description, const TimeValue& time) const override;
    glm::vec3 DoGetRawVec3(const ParameterDescription& description, const TimeValue& time) const override;
    bool DoGetBool(const ParameterDescription& description, const TimeValue& time) const override;
    std::u16string DoGetString(const ParameterDescription& description, const TimeValue& time) const override;
    std::int32_t DoGetPopup(const ParameterDescription& description, const TimeValue& time) const override;
    std::string DoGetCustom(const ParameterDescription& description, const TimeValue& time) const override;
};

/// The command's own time.
TimeValue GetCurrentTime(const PF_InData& inData);

/// Writes into the parameter array that came with the command and marks what it wrote. When it goes because of a
/// failure, the records are again as they were: nobody takes over half of a change.
class ParameterValueSetterAE final : public ParameterValueSetter {
public:
    /// `plugin` names the project folder for imported files.
    ParameterValueSetterAE(const ParametersManagerBase& manager, PF_ParamDef** params, const PluginBaseAE& plugin);
    ~ParameterValueSetterAE() override;
    ParameterValueSetterAE(const ParameterValueSetterAE&) = delete;
    ParameterValueSetterAE& operator=(const ParameterValueSetterAE&) = delete;

protected:
    void DoSetInt(const ParameterDescription& description, std::int32_t value) override;
    void DoSetDouble(const ParameterDescription& description, double value) override;
    void DoSetVec3(const ParameterDescription& description, const glm::vec3& value) override;
    void DoSetRawVec3(const ParameterDescription& description, const glm::vec3& value) override;
    void DoSetBool(const ParameterDescription& description, bool value) override;
    void DoSetString(const ParameterDescription& description, const std::u16string& value) override;
    void DoClearString(const ParameterDescription& description) override;
    void DoSetPopup(const ParameterDescription& description, std::int32_t value) override;
    void DoSetCustom(const ParameterDescription& description, const std::string& valueType,
                     const std::string& json) override;

private:
    /// A record as it was before its first change.
    struct Before {
        PF_ParamDef* mDef;
        PF_ParamDef mRecord;
        const ParameterDescription* mDescription;
        std::string mCustom;  ///< a custom value's text, since the record has only its handle
    };

    /// The record that is to be changed, kept as it is and marked.
    PF_ParamDef& GetChanged(const ParameterDescription& description);
    void Restore(const Before& before) noexcept;

    PF_ParamDef** mParams;
    const PluginBaseAE& mPlugin;
    int mFailures;  ///< exceptions on their way when it was made
    std::vector<Before> mBefore;
};

/// Visibility and name on the parameter's stream, enabled state on its record.
class ParameterPropertiesAE final : public ParameterProperties {
public:
    ParameterPropertiesAE(const ParametersManagerBase& manager, PF_ParamDef** params)
        : ParameterProperties(manager), mParams(params) {}

    bool IsVisible(const ParameterDescription& description) const override;
    void SetVisible(const ParameterDescription& description, bool visible) override;
    bool IsEnabled(const ParameterDescription& description) const override;
    void DoEnable(const ParameterDescription& description, bool enabled) override;
    std::string GetName(const ParameterDescription& description) const override;
    void SetName(const ParameterDescription& description, const std::string& name) override;

    /// Whether any property was changed through this object.
    bool IsChanged() const { return mChanged; }

private:
    PF_ParamDef** mParams;
    bool mChanged = false;
};

/// Adds parameters to the host. Its destructor registers the custom controls, if any were defined.
class ParameterDefinerAE final : public ParameterDefiner {
public:
    /// `texts` keeps the texts that the records point to; it outlives the definer.
    ParameterDefinerAE(const ParametersManagerBase& manager, const ParameterInitialProperties& properties,
                       std::deque<std::string>& texts);
    ~ParameterDefinerAE() override;
    ParameterDefinerAE(const ParameterDefinerAE&) = delete;
    ParameterDefinerAE& operator=(const ParameterDefinerAE&) = delete;

    void DefineSourceClip(const ParameterDescription& description) override;
    void DefineClip(const ParameterDescription& description) override;
    void DefineGroupBegin(const ParameterDescription& description) override;
    void DefineGroupEnd(const ParameterDescription& description) override;
    void DefineIntSlider(const ParameterDescription& description, std::int32_t validMin, std::int32_t validMax,
                         std::int32_t displayMin, std::int32_t displayMax) override;
    void DefineFloatSlider(const ParameterDescription& description, double validMin, double validMax, double displayMin,
                           double displayMax, std::int32_t precision) override;
    void DefineAngle(const ParameterDescription& description, double validMin, double validMax) override;
    void DefineColor(const ParameterDescription& description) override;
    void DefinePoint3(const ParameterDescription& description) override;
    void DefineButton(const ParameterDescription& description, const std::string& label) override;
    void DefineCheckbox(const ParameterDescription& description, const std::string& label) override;
    void DefineFilePath(const ParameterDescription& description) override;
    void DefinePopup(const ParameterDescription& description, const std::vector<std::string>& choices) override;
    void DefineCustom(const ParameterDescription& description, const ParameterCustomSettings& settings) override;

private:
    /// A zeroed record with the parts that most kinds share.
    PF_ParamDef MakeDef(const ParameterDescription& description, PF_ParamType type) const;
    const ParameterDefaultValueGetter& GetDefaults() const;
    const char* Keep(std::string text);

    const ParametersManagerBase& mManager;
    const ParameterInitialProperties& mProperties;
    std::deque<std::string>& mTexts;
    PF_CustomEventFlags mCustomEventFlags = 0;
};

/// Asks for layers in pre-render; each question takes the next request id.
class ClipInfoGetterAE final : public ClipInfoGetter {
public:
    ClipInfoGetterAE(const ParametersManagerBase& manager, PF_PreRenderExtra* extra, std::int32_t& requestId)
        : mManager(manager), mExtra(extra), mRequestId(requestId) {}

    bool IsSet(std::int32_t index) override;
    ClipRect GetRect(std::int32_t index) override;
    bool IsAvailable() override { return true; }
    ClipRect GetSourceRect() override;

private:
    PF_CheckoutResult Checkout(std::int32_t index);

    const ParametersManagerBase& mManager;
    PF_PreRenderExtra* mExtra;
    std::int32_t& mRequestId;
};

}  // namespace zeb
