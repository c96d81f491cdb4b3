#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nimbrel::host {

/// One call of a suite function by the effect; acquiring a suite is the function "AcquireSuite".
struct SuiteCall {
    std::string mSuite;
    std::string mFunction;
};

/// Which call fails, and how.
struct SuiteFault {
    std::size_t mNumber = 0;  ///< counted from 1 among the calls that match; 0: none fails, all are noted
    std::int32_t mCode = 1;   ///< what the call answers; a function that gives a pointer gives null instead
    std::string mSuite;       ///< empty matches every suite
    std::string mFunction;    ///< empty matches every function
};

/// Makes a chosen suite call fail, to show what an effect does about it. The call then does nothing; only what gives
/// something back (disposes, frees, unlocks, checks in) is done all the same and answers the error, for what a host
/// loses itself is no fault of the effect's. Functions without a result that could tell of a failure never fail.
/// Any thread.
class SuiteFaults {
public:
    /// Notes the matching calls from here on and fails the one asked for, once.
    void Arm(SuiteFault fault);
    /// Back to normal; the calls noted, in order. A call that failed is the last that was noted before Disarm only if
    /// the effect called nothing after it.
    std::vector<SuiteCall> Disarm();
    /// The call that failed since the last Arm.
    std::optional<SuiteCall> GetFailed() const;

    /// For the suites: 0, or the code that this call shall answer.
    std::int32_t Enter(std::string_view suite, std::string_view function);

    /// Whether the function gives something back to the host.
    static bool GivesBack(std::string_view function);

private:
    mutable std::mutex mMutex;
    std::atomic<bool> mArmed{false};
    SuiteFault mFault;
    std::vector<SuiteCall> mCalls;
    std::optional<SuiteCall> mFailed;
};

}  // namespace nimbrel::host
