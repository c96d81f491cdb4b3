#include "NimbrelHost/Project/UndoHistory.h"

#include <algorithm>
#include <utility>

namespace nimbrel::host {
namespace {

// What a long session may hold on to; custom values are copies of the effect's.
constexpr std::size_t kMaxSteps = 100;

bool Holds(const Animation<ParameterValue>& value, PF_Handle custom) {
    return std::any_of(value.mKeys.begin(), value.mKeys.end(),
                       [&](const auto& key) { return key.mValue.mCustom == custom; });
}

}  // namespace

void UndoHistory::BeginAction(const std::string& name) {
    if (mActions++ > 0) return;
    mCurrent = std::make_unique<Step>();
    mCurrent->mName = name;
    mIsNamedByGroup = false;
}

// What a failed action changed is a step as well: the user takes it back like any other.
void UndoHistory::EndAction() {
    if (--mActions > 0) return;
    Step step = std::move(*mCurrent);
    mCurrent.reset();
    if (step.IsEmpty()) return;
    Drop(mUndone);
    mDone.push_back(std::move(step));
    if (mDone.size() <= kMaxSteps) return;
    std::vector<Step> oldest;
    oldest.push_back(std::move(mDone.front()));
    mDone.erase(mDone.begin());
    Drop(oldest);
}

void UndoHistory::StartGroup(const std::string& name) {
    ++mGroups;
    if (!mCurrent || mIsNamedByGroup) return;
    mCurrent->mName = name;
    mIsNamedByGroup = true;
}

bool UndoHistory::EndGroup() {
    if (mGroups == 0) return false;
    --mGroups;
    return true;
}

int UndoHistory::CloseGroups() { return std::exchange(mGroups, 0); }

void UndoHistory::Keep(Parameter& parameter) {
    if (!mCurrent) return;
    mCurrent->mValues.try_emplace(&parameter, Value{parameter.mValue, parameter.mExpression, parameter.mIsSet});
}

void UndoHistory::Keep(Layer& layer) {
    if (mCurrent) mCurrent->mLayers.try_emplace(&layer, layer);
}

void UndoHistory::KeepLists() {
    if (mCurrent && !mCurrent->mLists) mCurrent->mLists = mProject.GetLists();
}

void UndoHistory::CountEffectChange() {
    if (mCurrent && mGroups == 0) ++mCurrent->mLooseChanges;
}

// A layer that the step made is gone with the lists; its state is swapped all the same and comes back with Redo.
void UndoHistory::Swap(Step& step) {
    for (auto& [parameter, value] : step.mValues) {
        std::swap(parameter->mValue, value.mValue);
        std::swap(parameter->mExpression, value.mExpression);
        std::swap(parameter->mIsSet, value.mIsSet);
    }
    for (auto& [layer, state] : step.mLayers) std::swap(*layer, state);
    if (!step.mLists) return;
    const Project::Lists now = mProject.GetLists();
    mProject.SetLists(*step.mLists);
    step.mLists = now;
}

void UndoHistory::Move(std::vector<Step>& from, std::vector<Step>& to) {
    to.push_back(std::move(from.back()));
    from.pop_back();
}

bool UndoHistory::Undo() {
    if (mDone.empty() || mCurrent) return false;
    Swap(mDone.back());
    Move(mDone, mUndone);
    return true;
}

bool UndoHistory::Redo() {
    if (mUndone.empty() || mCurrent) return false;
    Swap(mUndone.back());
    Move(mUndone, mDone);
    return true;
}

std::vector<std::string> UndoHistory::ListSteps() const {
    std::vector<std::string> names;
    for (const Step& step : mDone) names.push_back(step.mName);
    return names;
}

void UndoHistory::Clear() {
    Drop(mUndone);
    Drop(mDone);
}

bool UndoHistory::IsHeld(PF_Handle custom) const {
    const auto holds = [&](const Step& step) {
        return std::any_of(step.mValues.begin(), step.mValues.end(),
                           [&](const auto& entry) { return Holds(entry.second.mValue, custom); });
    };
    return std::any_of(mDone.begin(), mDone.end(), holds) || std::any_of(mUndone.begin(), mUndone.end(), holds) ||
           (mCurrent && holds(*mCurrent));
}

void UndoHistory::Release(const Parameter& parameter, PF_Handle custom) {
    if (custom == nullptr || Holds(parameter.mValue, custom) || IsHeld(custom)) return;
    mDispose(parameter, custom);
}

void UndoHistory::Drop(std::vector<Step>& steps) {
    while (!steps.empty()) {
        const Step step = std::move(steps.back());
        steps.pop_back();
        for (const auto& [parameter, value] : step.mValues) {
            for (const auto& key : value.mValue.mKeys) Release(*parameter, key.mValue.mCustom);
        }
    }
}

}  // namespace nimbrel::host
