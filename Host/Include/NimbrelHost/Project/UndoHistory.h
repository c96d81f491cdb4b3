#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "NimbrelHost/Parameters/Parameter.h"
#include "NimbrelHost/Project/Project.h"

namespace nimbrel::host {

/// What the user can take back: a list of steps, each of which holds what its objects were before it.
///
/// Whoever changes a layer, the lists of layers and items, or a parameter's value says so beforehand with one of the
/// Keep functions; the first time within a step a copy is kept. Names and visibility of controls are looks, which no
/// step holds. Custom values that a step holds are the history's to dispose of. Main thread; no step while frames
/// render.
class UndoHistory {
public:
    /// Disposes of a custom value that nothing holds any more; must not throw.
    using DisposeFunction = std::function<void(const Parameter& parameter, PF_Handle value)>;

    UndoHistory(Project& project, DisposeFunction dispose) : mProject(project), mDispose(std::move(dispose)) {}
    UndoHistory(const UndoHistory&) = delete;
    UndoHistory& operator=(const UndoHistory&) = delete;

    /// An action of the user's, all of which is one step. Actions within an action belong to it.
    class Action {
    public:
        Action(UndoHistory& history, const std::string& name) : mHistory(history) { mHistory.BeginAction(name); }
        ~Action() { mHistory.EndAction(); }
        Action(const Action&) = delete;
        Action& operator=(const Action&) = delete;

    private:
        UndoHistory& mHistory;
    };

    // Groups of the effect's. The first one within an action names the step; all belong to the action.
    void StartGroup(const std::string& name);
    /// False if none is open.
    bool EndGroup();
    /// Closes what the effect left open, as a host does when a command ends; how many groups that were.
    int CloseGroups();

    // Before a change. Outside of an action there is nothing to take back, and nothing is kept.
    void Keep(Parameter& parameter);
    void Keep(Layer& layer);
    void KeepLists();
    /// A change by a suite call of the effect. Outside of its groups the host of a user would make a step of each.
    void CountEffectChange();

    /// The newest step is taken back. False if there is none.
    bool Undo();
    /// The step taken back last is done again.
    bool Redo();
    /// Names of the steps that can be taken back, oldest first.
    std::vector<std::string> ListSteps() const;
    /// Changes of the newest step that the effect made outside of its groups.
    int CountLooseChanges() const { return mDone.empty() ? 0 : mDone.back().mLooseChanges; }
    /// Forgets all steps.
    void Clear();
    /// Disposes of a custom value that its parameter has no longer, unless a step holds it.
    void Release(const Parameter& parameter, PF_Handle custom);

private:
    struct Value {
        Animation<ParameterValue> mValue;
        Expression mExpression;
        bool mIsSet = false;
    };
    struct Step {
        std::string mName;
        std::map<Parameter*, Value> mValues;
        std::map<Layer*, Layer> mLayers;
        std::optional<Project::Lists> mLists;
        int mLooseChanges = 0;

        bool IsEmpty() const { return mValues.empty() && mLayers.empty() && !mLists; }
    };

    void BeginAction(const std::string& name);
    void EndAction();
    /// Changes what the step holds for what is now; the step then leads back again.
    void Swap(Step& step);
    static void Move(std::vector<Step>& from, std::vector<Step>& to);
    void Drop(std::vector<Step>& steps);
    bool IsHeld(PF_Handle custom) const;

    Project& mProject;
    DisposeFunction mDispose;
    std::vector<Step> mDone;
    std::vector<Step> mUndone;  ///< newest last
    std::unique_ptr<Step> mCurrent;
    int mActions = 0;  ///< nested
    int mGroups = 0;
    bool mIsNamedByGroup = false;
};

}  // namespace nimbrel::host
