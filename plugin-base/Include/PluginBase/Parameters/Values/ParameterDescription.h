#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "PluginBase/Misc/MakeUnique.h"

/// What the catalogue says of one parameter.
///
/// A parameter has three numbers, never to be mixed: the catalogue index (used by all logic, scripts
/// and packs), the numeric id (stable in projects and saved values) and the host index (position in
/// the host's parameter array; -1 for a parameter that the host never sees).
namespace zeb {

class ArbHandlerBase;
class InteractBase;

enum class ControlType : std::int32_t {
    SourceClip = 0,
    Clip = 1,
    GroupBegin = 2,
    GroupEnd = 3,
    Button = 4,
    IntSlider = 5,
    FloatSlider = 6,
    Angle = 7,
    Color = 8,
    Point3 = 9,
    Checkbox = 10,
    FilePath = 11,
    Popup = 12,
    Custom = 13,
};

enum class ValueKind : std::int32_t {
    None = 0,
    Clip = 1,
    Int = 2,
    Double = 3,
    Vec3 = 4,
    Bool = 5,
    String = 6,
    Popup = 7,
    Custom = 8,
};

enum class ParameterFlag : std::int32_t {
    Default = 0,
    ReceiveOnChangeEvent = 1,
    ExpandedAtStart = 2,
    DisplayPercent = 3,  ///< logic sees the value divided by 100; host and catalogue see percent
    NotAnimatable = 4,
    Skip = 5,  ///< added at load: the parameter gets no host index
};

/// Base of the settings that a control type needs beyond its description.
struct ParameterSettings {
    virtual ~ParameterSettings() = default;
};

struct ParameterIntSliderSettings : ParameterSettings {
    std::int32_t validMin = std::numeric_limits<std::int32_t>::min();
    std::int32_t validMax = std::numeric_limits<std::int32_t>::max();
    std::int32_t displayMin = 0;
    std::int32_t displayMax = 0;
};

struct ParameterFloatSliderSettings : ParameterSettings {
    double validMin = std::numeric_limits<double>::lowest();
    double validMax = std::numeric_limits<double>::max();
    double displayMin = 0.0;
    double displayMax = 0.0;
    std::int32_t precision = 1;  ///< decimals shown
};

struct ParameterAngleSettings : ParameterSettings {
    double validMin = std::numeric_limits<double>::lowest();  ///< degrees
    double validMax = std::numeric_limits<double>::max();
};

struct ParameterButtonCheckboxSettings : ParameterSettings {
    std::string label;
};

struct ParameterPopupSettings : ParameterSettings {
    std::vector<std::string> choices;
};

struct ParameterPointSettings : ParameterSettings {
    bool absolutePosition = false;  ///< coordinates do not relate to the layer's size
};

struct ParameterCustomSettings : ParameterSettings {
    std::string valueType;                    ///< "Ramp" or "Gradient"
    void** (*makeDefaultHandle)() = nullptr;  ///< a host handle that holds a default object; set by the host's side
    ArbHandlerBase* arbHandler = nullptr;     ///< static handler of the type; set by the host's side
};

/// How a custom parameter is edited in the effect's controls.
struct ParameterInteractInfo {
    /// Makes the editor of the custom parameter with this catalogue index (PluginBase/UI/InteractBase.h).
    std::function<UniquePtr<InteractBase>(std::int32_t index)> mMakeInteract = nullptr;
    std::int32_t mShowControlIndex = -1;  ///< catalogue index of the Checkbox that shows the editor
    std::int32_t mColorIndex = -1;        ///< catalogue index of the Color that edits a key; -1 if none
    std::int32_t mWidth = 0;              ///< pixels
    std::int32_t mHeight = 0;
};

struct ParameterDescription {
    std::int32_t mIndex = -1;
    ControlType mControl = ControlType::GroupBegin;
    ValueKind mValueKind = ValueKind::None;
    std::int32_t mParameterIndex = -1;
    std::uint32_t mUniqueId = 0;
    std::string mUniqueIdText;
    std::vector<ParameterFlag> mFlags;
    std::string mFullName;
    std::string mHint;
    std::string mScriptName;
    std::optional<ParameterInteractInfo> mInteractInfo;
    UniquePtr<ParameterSettings> mSettings;

    bool HasFlag(ParameterFlag flag) const;

    /// The settings as `T`. Throws zeb::Exception naming the parameter when it has others.
    template <class T>
    const T& GetSettings() const {
        const T* settings = dynamic_cast<const T*>(mSettings.get());
        if (settings == nullptr) ThrowWrongSettings();
        return *settings;
    }

private:
    [[noreturn]] void ThrowWrongSettings() const;
};

}  // namespace zeb
