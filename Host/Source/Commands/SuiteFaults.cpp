#include "NimbrelHost/Commands/SuiteFaults.h"

#include <algorithm>
#include <utility>

namespace nimbrel::host {

void SuiteFaults::Arm(SuiteFault fault) {
    const std::scoped_lock lock(mMutex);
    mFault = std::move(fault);
    mCalls.clear();
    mFailed.reset();
    mArmed = true;
}

std::vector<SuiteCall> SuiteFaults::Disarm() {
    const std::scoped_lock lock(mMutex);
    mArmed = false;
    return std::exchange(mCalls, {});
}

std::optional<SuiteCall> SuiteFaults::GetFailed() const {
    const std::scoped_lock lock(mMutex);
    return mFailed;
}

std::int32_t SuiteFaults::Enter(std::string_view suite, std::string_view function) {
    // Every suite call of every frame comes by here.
    if (!mArmed.load(std::memory_order_relaxed)) return 0;
    const std::scoped_lock lock(mMutex);
    const auto matches = [](const std::string& wanted, std::string_view name) {
        return wanted.empty() || wanted == name;
    };
    if (!matches(mFault.mSuite, suite) || !matches(mFault.mFunction, function)) return 0;
    mCalls.push_back({std::string(suite), std::string(function)});
    if (mCalls.size() != mFault.mNumber) return 0;
    mFailed = mCalls.back();
    return mFault.mCode;
}

bool SuiteFaults::GivesBack(std::string_view function) {
    constexpr std::string_view words[] = {"Dispose", "dispose",    "Free",          "Unlock",
                                          "Checkin", "Unregister", "ReleaseObject", "EndUndoGroup"};
    return std::any_of(std::begin(words), std::end(words),
                       [&](std::string_view word) { return function.find(word) != std::string_view::npos; });
}

}  // namespace nimbrel::host
