#include <fmt/format.h>

#include <cmath>
#include <cstdint>

#include "Commands/ParameterRecords.h"
#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Project/Expression.h"
#include "NimbrelHost/Project/ScriptEngine.h"

// What the user does with the effect's controls: the commands that carry all values at once.

namespace nimbrel::host {

namespace {

// The same for all parts and passes of a frame, in every run.
std::uint64_t MakeSeed(Project& project, const Parameter& parameter, double seconds) {
    const auto layer = static_cast<std::uint64_t>(project.GetEffectLayer()->mId);
    const auto id = static_cast<std::uint64_t>(parameter.mUniqueId);
    const auto frame = static_cast<std::int64_t>(std::floor(seconds * project.GetComposition().mFrameRate + 1e-6));
    // Odd numbers, far apart: no two of these meet.
    return layer * 0xD6E8FEB86659FD93U + id * 0xA0761D6478BD642FU +
           static_cast<std::uint64_t>(frame) * 0xE7037ED1A0B428DBU;
}

}  // namespace

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
        const glm::dvec3 given =
            RunExpression(expression.mText, mProject, {numbers, isVector, time, MakeSeed(mProject, parameter, time)});
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
