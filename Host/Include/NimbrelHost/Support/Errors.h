#pragma once

#include <stdexcept>
#include <string>

namespace nimbrel::host {

/// The command line or the scene is wrong. The text is one line that names the file, the key and what was expected.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The effect or the graphics device reported a failure; the text is what the host shows its user.
class EffectError : public std::runtime_error {
public:
    explicit EffectError(const std::string& text, int code = 0) : std::runtime_error(text), mCode(code) {}

    /// What the effect's entry answered; 0 if it was not the command's answer that failed.
    int GetCode() const { return mCode; }

private:
    int mCode;
};

/// A finished frame or another result could not be written.
class OutputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The user stopped the work.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

/// What the program ends with, the same for every way of failing.
enum ExitCode : int { kExitDone = 0, kExitFailed = 1, kExitUsage = 2, kExitMemory = 33, kExitInterrupted = 130 };

}  // namespace nimbrel::host
