#include <fmt/format.h>

#include "Commands/ParameterRecords.h"
#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Project/Expression.h"
#include "NimbrelHost/Project/ScriptEngine.h"

// What the user does with the effect's controls: the commands that carry all values at once.

namespace nimbrel::host {

void Host::ShowAbout() { Command(*this, PF_Cmd_ABOUT).Run(); }

void Host::UpdateParameterControls() {
    Command command(*this, PF_Cmd_UPDATE_PARAMS_UI);
    ParameterRecords records(*this);
    command.Run(records.Fill(0));
}

void Host::ChangeParameter(const Parameter& parameter, int frame) {
    {
        const UndoHistory::Action action(mUndo, parameter.mName);
        const LayerClock clock = GetLayerClock();
        const double seconds = clock.GetSeconds(frame);
        Command command(*this, PF_Cmd_USER_CHANGED_PARAM, clock.GetTime(frame));
        ParameterRecords records(*this);
        PF_UserChangedParamExtra extra{};
        extra.param_index = parameter.mIndex;
        records.Run(command, &extra, seconds, true);
    }
    UpdateParameterControls();
}

bool Host::Undo() {
    if (!mUndo.Undo()) return false;
    UpdateParameterControls();
    return true;
}

bool Host::Redo() {
    if (!mUndo.Redo()) return false;
    UpdateParameterControls();
    return true;
}

glm::dvec3 Host::EvaluateParameter(const Parameter& parameter, double seconds) {
    const glm::dvec3 numbers = EvaluateNumbers(parameter, seconds);
    const Expression& expression = parameter.mExpression;
    if (!expression.mEnabled || expression.mText.empty() || !TakesExpression(parameter)) return numbers;
    const bool isVector = parameter.GetType() == PF_Param_POINT_3D || parameter.GetType() == PF_Param_COLOR;
    // Once, not for every frame.
    const auto reportOnce = [&](const std::string& key, const std::string& text) {
        const std::scoped_lock lock(mExpressionMutex);
        if (mFailedExpressions.insert(key).second) mDiagnostics.Report(text);
    };
    try {
        const double time = GetLayerClock().ToComposition(seconds);
        const glm::dvec3 given = RunExpression(expression.mText, mProject, {numbers, isVector, time});
        const glm::dvec3 taken = ClampNumbers(parameter, given);
        if (taken != given) {
            reportOnce(parameter.mName, fmt::format("the expression of \"{}\" gives at {:.3f} s what it cannot be, and "
                                                    "the nearest value is used",
                                                    parameter.mName, time));
        }
        return taken;
    } catch (const ScriptError& error) {
        const std::string text = fmt::format("the expression of \"{}\" failed: {}", parameter.mName, error.what());
        reportOnce(text, text);
        return numbers;
    }
}

}  // namespace nimbrel::host
