#pragma once

#include <stdexcept>
#include <string>

#include "NimbrelHost/Support/JsonView.h"

namespace nimbrel::host {

/// A script failed; the text is its error.
class ScriptError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Runs `code` in a fresh ECMAScript engine, after `prelude`, with the global `data`, and gives its last value as JSON;
/// numbers that aren't finite, and what JSON lacks, give null. Any thread. Throws ScriptError.
Json RunScript(const std::string& prelude, const Json& data, const std::string& code);

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

/// Runs a script of an effect. Of the host's objects there is `Window`, as far as a dialog of texts and buttons needs
/// it; a dialog that is shown is answered with its OK button. Throws ScriptError.
ScriptOutcome RunDialogScript(const std::string& script);

}  // namespace nimbrel::host
