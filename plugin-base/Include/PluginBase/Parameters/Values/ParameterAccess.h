#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <glm/vec3.hpp>

#include "PluginBase/Parameters/Values/ParameterDescription.h"

/// Reading and writing parameters by catalogue index, in the units that logic uses: percent sliders as
/// fractions, angles in radians, pop-ups from 0, colours in 0 to 1, points in full-resolution pixels
/// (GetVec3) or relative to the layer (GetRawVec3), paths as UTF-16, custom values as JSON text.
///
/// The public operations check the index once, for every host; the virtual ones only convert.
/// Objects live on the stack of one host command; thread: the command's.
namespace zeb {

class ParametersManagerBase;

class ParameterDescriptionGetter {
public:
    explicit ParameterDescriptionGetter(const ParametersManagerBase& manager) : mManager(manager) {}
    virtual ~ParameterDescriptionGetter() = default;

    /// Throws std::out_of_range for an index that is not in the table.
    const ParameterDescription& GetDescription(std::int32_t index) const;
    const ParametersManagerBase& GetManager() const { return mManager; }

private:
    const ParametersManagerBase& mManager;
};

/// A time in the host's units: `mTime` / `mTimeScale` seconds.
struct TimeValue {
    std::int32_t mTime = 0;
    std::int32_t mTimeStep = 0;
    std::int32_t mTimeScale = 0;
};

class ParameterCurrentValueGetter : public ParameterDescriptionGetter {
public:
    using ParameterDescriptionGetter::ParameterDescriptionGetter;

    std::int32_t GetInt(std::int32_t index) const { return DoGetInt(GetDescription(index)); }
    double GetDouble(std::int32_t index) const { return DoGetDouble(GetDescription(index)); }
    glm::vec3 GetVec3(std::int32_t index) const { return DoGetVec3(GetDescription(index)); }
    glm::vec3 GetRawVec3(std::int32_t index) const { return DoGetRawVec3(GetDescription(index)); }
    bool GetBool(std::int32_t index) const { return DoGetBool(GetDescription(index)); }
    std::u16string GetString(std::int32_t index) const { return DoGetString(GetDescription(index)); }
    std::int32_t GetPopup(std::int32_t index) const { return DoGetPopup(GetDescription(index)); }
    std::string GetCustom(std::int32_t index) const { return DoGetCustom(GetDescription(index)); }

protected:
    virtual std::int32_t DoGetInt(const ParameterDescription& description) const = 0;
    virtual double DoGetDouble(const ParameterDescription& description) const = 0;
    virtual glm::vec3 DoGetVec3(const ParameterDescription& description) const = 0;
    virtual glm::vec3 DoGetRawVec3(const ParameterDescription& description) const = 0;
    virtual bool DoGetBool(const ParameterDescription& description) const = 0;
    virtual std::u16string DoGetString(const ParameterDescription& description) const = 0;
    virtual std::int32_t DoGetPopup(const ParameterDescription& description) const = 0;
    virtual std::string DoGetCustom(const ParameterDescription& description) const = 0;
};

class ParameterTemporalValueGetter : public ParameterDescriptionGetter {
public:
    using ParameterDescriptionGetter::ParameterDescriptionGetter;

    std::int32_t GetInt(std::int32_t index, const TimeValue& time) const {
        return DoGetInt(GetDescription(index), time);
    }
    double GetDouble(std::int32_t index, const TimeValue& time) const {
        return DoGetDouble(GetDescription(index), time);
    }
    glm::vec3 GetVec3(std::int32_t index, const TimeValue& time) const {
        return DoGetVec3(GetDescription(index), time);
    }
    glm::vec3 GetRawVec3(std::int32_t index, const TimeValue& time) const {
        return DoGetRawVec3(GetDescription(index), time);
    }
    bool GetBool(std::int32_t index, const TimeValue& time) const { return DoGetBool(GetDescription(index), time); }
    std::u16string GetString(std::int32_t index, const TimeValue& time) const {
        return DoGetString(GetDescription(index), time);
    }
    std::int32_t GetPopup(std::int32_t index, const TimeValue& time) const {
        return DoGetPopup(GetDescription(index), time);
    }
    std::string GetCustom(std::int32_t index, const TimeValue& time) const {
        return DoGetCustom(GetDescription(index), time);
    }

    friend class ParameterCurrentValueGetterFromTemporal;

protected:
    virtual std::int32_t DoGetInt(const ParameterDescription& description, const TimeValue& time) const = 0;
    virtual double DoGetDouble(const ParameterDescription& description, const TimeValue& time) const = 0;
    virtual glm::vec3 DoGetVec3(const ParameterDescription& description, const TimeValue& time) const = 0;
    virtual glm::vec3 DoGetRawVec3(const ParameterDescription& description, const TimeValue& time) const = 0;
    virtual bool DoGetBool(const ParameterDescription& description, const TimeValue& time) const = 0;
    virtual std::u16string DoGetString(const ParameterDescription& description, const TimeValue& time) const = 0;
    virtual std::int32_t DoGetPopup(const ParameterDescription& description, const TimeValue& time) const = 0;
    virtual std::string DoGetCustom(const ParameterDescription& description, const TimeValue& time) const = 0;
};

/// A temporal getter at a time fixed when made; for the render commands, which bring no parameter array.
class ParameterCurrentValueGetterFromTemporal final : public ParameterCurrentValueGetter {
public:
    ParameterCurrentValueGetterFromTemporal(const ParametersManagerBase& manager,
                                            const ParameterTemporalValueGetter& getter, const TimeValue& time)
        : ParameterCurrentValueGetter(manager), mGetter(getter), mTime(time) {}

protected:
    std::int32_t DoGetInt(const ParameterDescription& d) const override { return mGetter.DoGetInt(d, mTime); }
    double DoGetDouble(const ParameterDescription& d) const override { return mGetter.DoGetDouble(d, mTime); }
    glm::vec3 DoGetVec3(const ParameterDescription& d) const override { return mGetter.DoGetVec3(d, mTime); }
    glm::vec3 DoGetRawVec3(const ParameterDescription& d) const override { return mGetter.DoGetRawVec3(d, mTime); }
    bool DoGetBool(const ParameterDescription& d) const override { return mGetter.DoGetBool(d, mTime); }
    std::u16string DoGetString(const ParameterDescription& d) const override { return mGetter.DoGetString(d, mTime); }
    std::int32_t DoGetPopup(const ParameterDescription& d) const override { return mGetter.DoGetPopup(d, mTime); }
    std::string DoGetCustom(const ParameterDescription& d) const override { return mGetter.DoGetCustom(d, mTime); }

private:
    const ParameterTemporalValueGetter& mGetter;
    TimeValue mTime;
};

class ParameterValueSetter : public ParameterDescriptionGetter {
public:
    using ParameterDescriptionGetter::ParameterDescriptionGetter;

    void SetInt(std::int32_t index, std::int32_t value) { DoSetInt(GetDescription(index), value); }
    void SetDouble(std::int32_t index, double value) { DoSetDouble(GetDescription(index), value); }
    void SetVec3(std::int32_t index, const glm::vec3& value) { DoSetVec3(GetDescription(index), value); }
    void SetRawVec3(std::int32_t index, const glm::vec3& value) { DoSetRawVec3(GetDescription(index), value); }
    void SetBool(std::int32_t index, bool value) { DoSetBool(GetDescription(index), value); }
    void SetString(std::int32_t index, const std::u16string& value) { DoSetString(GetDescription(index), value); }
    void ClearString(std::int32_t index) { DoClearString(GetDescription(index)); }
    void SetPopup(std::int32_t index, std::int32_t value) { DoSetPopup(GetDescription(index), value); }
    /// `valueType` names the custom type; `json` is the value's text.
    void SetCustom(std::int32_t index, const std::string& valueType, const std::string& json) {
        DoSetCustom(GetDescription(index), valueType, json);
    }

protected:
    virtual void DoSetInt(const ParameterDescription& description, std::int32_t value) = 0;
    virtual void DoSetDouble(const ParameterDescription& description, double value) = 0;
    virtual void DoSetVec3(const ParameterDescription& description, const glm::vec3& value) = 0;
    virtual void DoSetRawVec3(const ParameterDescription& description, const glm::vec3& value) = 0;
    virtual void DoSetBool(const ParameterDescription& description, bool value) = 0;
    virtual void DoSetString(const ParameterDescription& description, const std::u16string& value) = 0;
    virtual void DoClearString(const ParameterDescription& description) = 0;
    virtual void DoSetPopup(const ParameterDescription& description, std::int32_t value) = 0;
    virtual void DoSetCustom(const ParameterDescription& description, const std::string& valueType,
                             const std::string& json) = 0;
};

/// Visibility, enabled state and shown name of parameters.
class ParameterProperties : public ParameterDescriptionGetter {
public:
    using ParameterDescriptionGetter::ParameterDescriptionGetter;

    virtual bool IsVisible(const ParameterDescription& description) const = 0;
    virtual void SetVisible(const ParameterDescription& description, bool visible) = 0;
    virtual bool IsEnabled(const ParameterDescription& description) const = 0;
    virtual void DoEnable(const ParameterDescription& description, bool enabled) = 0;
    virtual std::string GetName(const ParameterDescription& description) const = 0;
    virtual void SetName(const ParameterDescription& description, const std::string& name) = 0;
};

/// The properties in a table, before the host has parameters.
class ParameterInitialProperties final : public ParameterProperties {
public:
    explicit ParameterInitialProperties(const ParametersManagerBase& manager);

    bool IsVisible(const ParameterDescription& description) const override;
    void SetVisible(const ParameterDescription& description, bool visible) override;
    bool IsEnabled(const ParameterDescription& description) const override;
    void DoEnable(const ParameterDescription& description, bool enabled) override;
    std::string GetName(const ParameterDescription& description) const override;
    void SetName(const ParameterDescription& description, const std::string& name) override;

private:
    struct Row {
        bool mVisible = true;
        bool mEnabled = true;
        std::string mName;
    };
    const Row& GetRow(const ParameterDescription& description) const;
    Row& GetRow(const ParameterDescription& description);

    std::vector<Row> mRows;
};

/// Defines parameters to a host, one operation per control type, in the catalogue's order.
class ParameterDefiner {
public:
    virtual ~ParameterDefiner() = default;
    virtual void DefineSourceClip(const ParameterDescription& description) = 0;
    virtual void DefineClip(const ParameterDescription& description) = 0;
    virtual void DefineGroupBegin(const ParameterDescription& description) = 0;
    virtual void DefineGroupEnd(const ParameterDescription& description) = 0;
    virtual void DefineIntSlider(const ParameterDescription& description, std::int32_t validMin, std::int32_t validMax,
                                 std::int32_t displayMin, std::int32_t displayMax) = 0;
    virtual void DefineFloatSlider(const ParameterDescription& description, double validMin, double validMax,
                                   double displayMin, double displayMax, std::int32_t precision) = 0;
    virtual void DefineAngle(const ParameterDescription& description, double validMin, double validMax) = 0;
    virtual void DefineColor(const ParameterDescription& description) = 0;
    virtual void DefinePoint3(const ParameterDescription& description) = 0;
    virtual void DefineButton(const ParameterDescription& description, const std::string& label) = 0;
    virtual void DefineCheckbox(const ParameterDescription& description, const std::string& label) = 0;
    virtual void DefineFilePath(const ParameterDescription& description) = 0;
    virtual void DefinePopup(const ParameterDescription& description, const std::vector<std::string>& choices) = 0;
    virtual void DefineCustom(const ParameterDescription& description, const ParameterCustomSettings& settings) = 0;
};

struct ClipRect {
    std::int32_t mLeft = 0;
    std::int32_t mTop = 0;
    std::int32_t mWidth = 0;
    std::int32_t mHeight = 0;
};

/// Layer size questions in pre-render.
class ClipInfoGetter {
public:
    virtual ~ClipInfoGetter() = default;
    virtual bool IsSet(std::int32_t index) = 0;
    virtual ClipRect GetRect(std::int32_t index) = 0;
    virtual bool IsAvailable() = 0;  ///< always true
    virtual ClipRect GetSourceRect() = 0;
};

/// Base of what needs the command's current values.
class ParameterBase {
public:
    explicit ParameterBase(const ParameterCurrentValueGetter* getter = nullptr) : mGetter(getter) {}
    /// Throws "Failed to get the current value getter." when there is none.
    const ParameterCurrentValueGetter& GetCurrentValueGetter() const;

private:
    const ParameterCurrentValueGetter* mGetter;
};

}  // namespace zeb
