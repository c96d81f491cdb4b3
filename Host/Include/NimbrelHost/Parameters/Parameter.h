#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "HostInterface/HostInterface.h"
#include "NimbrelHost/Parameters/Catalogue.h"
#include "NimbrelHost/Scene/Animation.h"
#include "NimbrelHost/Scene/Camera.h"
#include "NimbrelHost/Scene/Composition.h"

namespace nimbrel::host {

/// A value in host units: numbers as the user sees them (a check box 0 or 1, a pop-up from 0, a colour 0 to 1, a point
/// in full-resolution pixels, a layer by its id in x), or a block of the effect's own.
struct ParameterValue {
    glm::dvec3 mNumbers{0};
    PF_Handle mCustom = nullptr;
};

/// One parameter that the effect defined, and its value over time.
struct Parameter {
    int mIndex = 0;  ///< in the effect's parameter array; 0 is the input layer
    int mUniqueId = 0;
    PF_ParamDef mDefinition{};
    std::string mId;         ///< catalogue id, empty if the catalogue lacks it
    std::string mValueType;  ///< of a custom value, from the catalogue: "Ramp", "Gradient"
    std::string mName;       ///< as shown, UTF-8
    std::string mLabel;      ///< text beside a check box or on a button
    std::vector<std::string> mChoices;
    Animation<ParameterValue> mValue;
    ParameterValue mDefault;
    bool mIsSet = false;  ///< by the user, so that a saved scene names it
    bool mIsHidden = false;
    Expression mExpression;

    int GetType() const { return mDefinition.param_type; }
    bool HasValue() const;
    /// The catalogue id, else the shown name, else "#" and the number: how messages and saved scenes name it.
    std::string GetKey() const;
};

/// Word for a parameter's type as the parameter list shows it: "FloatSlider", "Point3", ...
std::string_view GetTypeName(int type);

/// The effect's parameters in its order. Defined on the main thread during setup, values changed there too; read by
/// any thread.
class ParameterTable {
public:
    /// Takes a definition as the effect gave it; texts are copied. Point defaults are percentages of the layer's size,
    /// z of its height. Custom values are left to the caller. Throws EffectError for a type that the host doesn't know.
    Parameter& Add(const PF_ParamDef& definition, const Catalogue& catalogue, const Composition& composition);

    /// By index; null for the input layer and past the end.
    Parameter* Get(int index);
    /// By catalogue id, shown name or "#uniqueID". Throws UsageError, with `where` in front, naming the nearest id.
    Parameter& Find(std::string_view id, const std::string& where);
    /// By catalogue id or null.
    Parameter* FindById(std::string_view id);

    std::size_t Count() const { return mParameters.size(); }
    const std::vector<std::unique_ptr<Parameter>>& GetAll() const { return mParameters; }

private:
    std::vector<std::unique_ptr<Parameter>> mParameters;
};

/// Writes what the effect sees of a value into its record, except custom values: points are scaled down with the
/// picture, pop-ups count from 1, angles are 16.16 degrees.
void FillRecord(const Parameter& parameter, const glm::dvec3& numbers, int downsample, PF_ParamDef& record);

/// The other way round: a value that the effect wrote into its record. Only of types whose value is numbers.
glm::dvec3 ReadRecord(const PF_ParamDef& record, int downsample);

/// The nearest numbers that the parameter takes: within a slider's limits, of a pop-up one of its choices.
glm::dvec3 ClampNumbers(const Parameter& parameter, const glm::dvec3& numbers);

/// Whether the value is numbers that an expression can give.
bool TakesExpression(const Parameter& parameter);

/// The value's numbers at a time, without an expression: held or mixed by the parameter's kind, integers rounded.
glm::dvec3 EvaluateNumbers(const Parameter& parameter, double seconds);

}  // namespace nimbrel::host
