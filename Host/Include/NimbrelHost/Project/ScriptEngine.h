#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "NimbrelHost/Support/JsonView.h"

namespace nimbrel::host {

/// A script failed; the text is its error.
class ScriptError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a script came to: the numbers of a list, or a number or truth value alone.
struct ScriptNumbers {
    bool mIsList = false;
    std::vector<double> mNumbers;
};

/// Runs `code` in a fresh ECMAScript engine, after `prelude`, with the global `data`, and gives its last value; nothing
/// if that is neither a number nor a list of up to three. Code finds no way to make code, is stopped after
/// 10 million steps, a second of the processor's or 64 MB, or when the user stops the work, and draws its random
/// numbers from `seed` on. Any thread. Throws ScriptError, Interrupted, and std::bad_alloc where the machine has no
/// memory.
std::optional<ScriptNumbers> RunExpressionScript(const std::string& prelude, const Json& data, const std::string& code,
                                                 std::uint64_t seed);

/// A dialog that a script showed: its title and the texts of its fields.
struct ScriptDialog {
    std::string mTitle;
    std::string mText;
};

/// What a script came to.
struct ScriptOutcome {
    std::string mResult;  ///< its last value as text
    std::vector<ScriptDialog> mDialogs;
};

/// Runs a script of an effect, within the same limits. Of the host's objects there is `Window`, as far as a dialog of
/// texts and buttons needs it; a dialog that is shown is answered with its OK button. Throws as
/// RunExpressionScript does.
ScriptOutcome RunDialogScript(const std::string& script);

}  // namespace nimbrel::host
