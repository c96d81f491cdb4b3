#include "NimbrelHost/User/Settings.h"

#include <fmt/format.h>

#include <cmath>
#include <glm/ext/matrix_transform.hpp>
#include <glm/trigonometric.hpp>
#include <limits>

#include "CustomForms.h"
#include "NimbrelConvert/Errors.h"
#include "NimbrelConvert/ModelCache.h"
#include "NimbrelHost/Commands/CustomData.h"
#include "NimbrelHost/Scene/AnimationJson.h"
#include "NimbrelHost/Scene/Fit.h"
#include "NimbrelHost/Scene/PlyBounds.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Interrupt.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

constexpr double kMaxDegrees = 32767;  // of a 16.16 number

/// Whether a limit of a float slider limits anything.
bool IsLimit(float limit) { return std::isfinite(limit) && std::abs(limit) < std::numeric_limits<float>::max(); }

// Values outside a slider's limits are refused, as a user could not enter them either.
double ReadFloatSlider(const PF_FloatSliderDef& slider, const JsonView& view) {
    const double number = view.Number();
    const bool hasMin = IsLimit(slider.valid_min), hasMax = IsLimit(slider.valid_max);
    const double low = static_cast<double>(slider.valid_min), high = static_cast<double>(slider.valid_max);
    if (hasMin && hasMax && (number < low || number > high))
        view.Fail(fmt::format("a number from {} to {}", low, high));
    if (hasMin && number < low) view.Fail(fmt::format("a number of at least {}", low));
    if (hasMax && number > high) view.Fail(fmt::format("a number of at most {}", high));
    return number;
}

// By text or by number; the text must be the choice's own, letter for letter.
double ReadChoice(const Parameter& parameter, const JsonView& view) {
    const int count = static_cast<int>(parameter.mChoices.size());
    std::string expected = fmt::format("0 to {} or one of ", count - 1);
    for (int i = 0; i < count; ++i) {
        const std::string& choice = parameter.mChoices[static_cast<std::size_t>(i)];
        if (view.Value().is_string() && view.Value() == choice) return i;
        expected += fmt::format("{}\"{}\"", i == 0 ? "" : ", ", choice);
    }
    if (!view.Value().is_number()) view.Fail(expected);
    const double number = view.Number();
    if (number < 0 || number >= count || number != std::floor(number)) view.Fail(expected);
    return number;
}

glm::dvec3 ReadColor(const JsonView& view) {
    constexpr std::string_view expected = "a colour [red, green, blue] of numbers from 0 to 1";
    const glm::dvec3 color = view.Vector3(expected);
    for (int c = 0; c < 3; ++c) {
        if (color[c] < 0 || color[c] > 1) view.Fail(expected);
    }
    return color;
}

// The effect reads plain PLY files alone; what else is a model becomes one.
std::filesystem::path GetPlainModel(Host& host, const Setting& setting, const std::filesystem::path& file) {
    const auto check = [] {
        if (IsInterrupted()) throw Interrupted();
    };
    try {
        const convert::ModelCache::Result model = host.GetModels().Get(file, check);
        const bool isConverted = model.mFile != file;
        for (const std::string& note : model.mNotes) {
            // What is said of a file that is handed over as it is, is what it lacks.
            if (!isConverted && !model.mIsRefused)
                host.GetDiagnostics().Report(fmt::format("{}: {}", setting.mId, note));
            else if (host.GetOptions().mShowNote)
                host.GetOptions().mShowNote(model.mIsRefused ? fmt::format("{}: {}", setting.mId, note) : note);
        }
        return model.mFile;
    } catch (const convert::FileError& error) {
        throw OutputError(fmt::format("{}: {}: {}", setting.mFile, setting.mKey, error.what()));
    } catch (const convert::ConvertError& error) {
        throw UsageError(fmt::format("{}: {}: {}", setting.mFile, setting.mKey, error.what()));
    }
}

double ReadLayer(Host& host, const Setting& setting, const JsonView& view) {
    if (view.Value().is_null()) return AEGP_LayerIDVal_NONE;
    const std::string text = setting.mBareText.empty() ? view.String("the path of a file") : setting.mBareText;
    if (text.empty()) return AEGP_LayerIDVal_NONE;
    // What stands at the path is looked at here, so that a mistyped name is the user's error and not the effect's.
    const std::filesystem::path file = (setting.mFolder / TextPath(text)).lexically_normal();
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) {
        throw UsageError(fmt::format("{}: {}: expected a file, but there is none at {}", Unquoted(setting.mFile),
                                     Unquoted(setting.mKey), Quote(PathText(file))));
    }
    const std::filesystem::path model = GetPlainModel(host, setting, file);
    Project& project = host.GetProject();
    // A file is imported once, however many slots show it.
    if (const Layer* const layer = project.FindModel(model)) return layer->mId;
    try {
        return project.AddModel(host.GetImporters().Import(model))->mId;
    } catch (const ImportError& error) {
        throw UsageError(fmt::format("{}: {}: {}", setting.mFile, setting.mKey, error.what()));
    }
}

// Whether an object of a form that the catalogue doesn't tell makes sense, only the effect can say.
PF_Handle ReadCustom(Host& host, const Parameter& parameter, const JsonView& view) {
    if (!view.Value().is_object()) view.Fail("an object in the parameter's JSON form");
    CheckCustomForm(parameter.mValueType, view);
    try {
        PF_Handle value =
            ScanCustom(host, parameter, view.Value().dump(-1, ' ', false, Json::error_handler_t::replace));
        if (host.GetOptions().mStrict) RestoreCustom(host, parameter, value);
        return value;
    } catch (const EffectError& error) {
        throw UsageError(fmt::format("{}: {}: expected a value that the effect can read: {}", view.File(), view.Key(),
                                     error.what()));
    }
}

ParameterValue ReadValue(Host& host, const Parameter& parameter, const Setting& setting, const JsonView& view) {
    constexpr int lowest = std::numeric_limits<int>::min();
    constexpr int highest = std::numeric_limits<int>::max();
    const PF_ParamDefUnion& u = parameter.mDefinition.u;
    ParameterValue value;
    switch (parameter.GetType()) {
        case PF_Param_SLIDER: {
            const bool limited = u.sd.valid_min < u.sd.valid_max;
            value.mNumbers.x =
                view.IntegerBetween(limited ? u.sd.valid_min : lowest, limited ? u.sd.valid_max : highest);
            break;
        }
        case PF_Param_FLOAT_SLIDER: value.mNumbers.x = ReadFloatSlider(u.fs_d, view); break;
        case PF_Param_ANGLE: value.mNumbers.x = view.NumberBetween(-kMaxDegrees, kMaxDegrees); break;
        case PF_Param_CHECKBOX:
            if (!view.Value().is_boolean()) view.Fail("true or false");
            value.mNumbers.x = view.Value().get<bool>() ? 1 : 0;
            break;
        case PF_Param_POPUP: value.mNumbers.x = ReadChoice(parameter, view); break;
        case PF_Param_COLOR: value.mNumbers = ReadColor(view); break;
        case PF_Param_POINT_3D: value.mNumbers = view.Vector3(); break;
        case PF_Param_LAYER: value.mNumbers.x = ReadLayer(host, setting, view); break;
        default: value.mCustom = ReadCustom(host, parameter, view); break;
    }
    return value;
}

/// How a model is turned when the composition begins.
glm::dmat3 ReadRotation(Host& host, int slot, const char* group) {
    glm::dmat4 rotation(1);
    for (int axis = 0; axis < 3; ++axis) {
        const Parameter* const angle = FindSlotParameter(host, slot, fmt::format("{}_{}Rotation", group, "xyz"[axis]));
        if (angle == nullptr) continue;
        glm::dvec3 direction(0);
        direction[axis] = 1;
        rotation = glm::rotate(rotation, glm::radians(EvaluateNumbers(*angle, 0).x), direction);
    }
    return glm::dmat3(rotation);
}

/// The box of all that a model passes through in a turn about its middle's upright axis.
void WidenForTurn(convert::ModelBox& box) {
    const glm::dvec3 middle = (box.mMin + box.mMax) * 0.5, half = (box.mMax - box.mMin) * 0.5;
    const double radius = std::hypot(half.x, half.z);
    for (const int axis : {0, 2}) {
        box.mMin[axis] = middle[axis] - radius;
        box.mMax[axis] = middle[axis] + radius;
    }
}

void SetNumbers(Parameter& parameter, const glm::dvec3& numbers) {
    parameter.mValue = Animation<ParameterValue>::Constant({numbers, nullptr});
    parameter.mIsSet = true;
}

}  // namespace

void ChooseSetting(Host& host, const Setting& setting) {
    Parameter& parameter = host.GetParameters().Find(setting.mId, setting.mFile);
    const UndoHistory::Action action(host.GetUndo(), parameter.mName);
    host.GetUndo().Keep(parameter);
    // A file that is chosen may have to be imported.
    if (parameter.GetType() == PF_Param_LAYER) host.GetUndo().KeepLists();
    ApplySetting(host, setting);
    if ((parameter.mDefinition.flags & PF_ParamFlag_SUPERVISE) != 0) host.ChangeParameter(parameter);
}

void PressButton(Host& host, std::string_view id, const std::string& where) {
    const Parameter& parameter = host.GetParameters().Find(id, where);
    if (parameter.GetType() != PF_Param_BUTTON) {
        throw UsageError(
            fmt::format("{}: expected a button, but {} is a {}", where, Quote(id), GetTypeName(parameter.GetType())));
    }
    host.ChangeParameter(parameter);
}

void ApplySetting(Host& host, const Setting& setting) {
    Parameter& parameter = host.GetParameters().Find(setting.mId, setting.mFile);
    const JsonView whole(setting.mValue, setting.mFile, setting.mKey);
    // A value with an expression stands in an object, or the expression stands with its keyframes.
    Expression expression;
    Json inner = setting.mValue;
    if (TakesExpression(parameter) && inner.is_object() && whole.Has("expression")) {
        expression = {whole.Member("expression").String("the text of an expression"), true};
        inner.erase("expression");
        if (!inner.contains("keyframes")) {
            whole.RequireObject({"value", "expression"});
            if (!whole.Has("value")) whole.Fail("a \"value\" or \"keyframes\" beside the \"expression\"");
            inner = Json(whole.Member("value").Value());
        }
    } else if (TakesExpression(parameter) && inner.is_object()) {
        whole.RequireObject({"keyframes", "interpolation", "value", "expression"});
    }
    const JsonView view(inner, setting.mFile, setting.mKey);
    if (!parameter.HasValue()) {
        throw UsageError(fmt::format("{}: {}: expected a parameter with a value, but it is a {}", setting.mFile,
                                     setting.mKey, GetTypeName(parameter.GetType())));
    }
    if (IsAnimated(view) && (parameter.mDefinition.flags & PF_ParamFlag_CANNOT_TIME_VARY) != 0) {
        throw UsageError(fmt::format("{}: {}: expected a single value, since this parameter cannot be animated",
                                     setting.mFile, setting.mKey));
    }
    // A custom value that was read before a later one fails must not leak.
    std::vector<PF_Handle> made;
    try {
        Animation<ParameterValue> animation = ReadAnimation<ParameterValue>(view, [&](const JsonView& value) {
            const ParameterValue read = ReadValue(host, parameter, setting, value);
            if (read.mCustom != nullptr) made.push_back(read.mCustom);
            return read;
        });
        // Only now, with all keyframes read, does the old value go.
        std::swap(parameter.mValue, animation);
        parameter.mExpression = expression;
        parameter.mIsSet = true;
        for (const auto& key : animation.mKeys) host.GetUndo().Release(parameter, key.mValue.mCustom);
    } catch (...) {
        for (const PF_Handle handle : made) DisposeCustom(host, parameter, handle);
        throw;
    }
}

Parameter* FindSlotParameter(Host& host, int slot, std::string_view name) {
    return host.GetParameters().FindById(fmt::format("Model{}_{}", slot, name));
}

// Whether a model is shown is asked at time 0: what appears later is framed when the user frames it.
std::filesystem::path GetModelFile(Host& host, int slot, bool onlyShown) {
    const Parameter* const model = FindSlotParameter(host, slot, "model");
    if (model == nullptr) return {};
    const Parameter* const shown = FindSlotParameter(host, slot, "showModel");
    if (onlyShown && shown != nullptr && EvaluateNumbers(*shown, 0).x == 0) return {};
    return host.GetProject().GetLayerPath(static_cast<int>(EvaluateNumbers(*model, 0).x));
}

void FitModels(Host& host, bool isTurning) {
    const Composition& composition = host.GetProject().GetComposition();
    for (int slot = 1; slot <= kModelSlots; ++slot) {
        const std::filesystem::path file = GetModelFile(host, slot, true);
        Parameter* const anchor = FindSlotParameter(host, slot, "align_anchorPoint");
        Parameter* const scale = FindSlotParameter(host, slot, "align_scale");
        if (file.empty() || anchor == nullptr || scale == nullptr) continue;
        const glm::dmat3 rotation = ReadRotation(host, slot, "transform") * ReadRotation(host, slot, "align");
        std::optional<convert::ModelBox> box = ReadPlyBounds(file, rotation);
        if (!box) continue;
        if (isTurning) WidenForTurn(*box);
        // Each slot is framed for itself; two models in one picture share its middle. The anchor is counted before the
        // model is turned.
        const Fit fit = FitBox(*box, composition.LayerWidth(), composition.LayerHeight());
        SetNumbers(*anchor, glm::transpose(rotation) * fit.mAnchor);
        SetNumbers(*scale, glm::dvec3(fit.mScalePercent, 0, 0));
    }
}

}  // namespace nimbrel::host
