#include "NimbrelHost/Project/ScriptEngine.h"

#include <ScriptHeap.h>

#include <new>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace nimbrel::host {
namespace {

/// What the protected call works on. Nothing in here is destroyed by a script's error, which jumps.
struct Run {
    const char* mPrelude;
    const char* mData;
    const char* mCode;
};

duk_ret_t RunProtected(duk_context* context, void* argument) {
    const Run& run = *static_cast<const Run*>(argument);
    duk_push_string(context, run.mData);
    duk_json_decode(context, -1);
    duk_put_global_string(context, "data");
    duk_eval_string_noresult(context, run.mPrelude);
    duk_eval_string(context, run.mCode);
    duk_json_encode(context, -1);
    return 1;
}

// The objects that a dialog's script uses. Events never come: the dialog closes as soon as it is shown.
constexpr const char* kDialogPrelude = R"(
var shownDialogs = [];
function Window(type, title) {
    this.title = String(title);
    this.controls = [];
    this.layout = {layout: function () {}, resize: function () {}};
}
Window.prototype.add = function (type, bounds, text) {
    var control = {type: String(type).split(" ")[0], text: text === undefined ? "" : text};
    this.controls.push(control);
    return control;
};
Window.prototype.show = function () {
    var texts = [];
    for (var i = 0; i < this.controls.length; ++i)
        if (this.controls[i].type !== "button") texts.push(String(this.controls[i].text));
    shownDialogs.push({title: this.title, text: texts.join("\n")});
    return 1;
};
)";

constexpr const char* kRunDialogScript =
    "(function () { var result = (0, eval)(data); return {result: String(result), dialogs: shownDialogs}; })()";

}  // namespace

Json RunScript(const std::string& prelude, const Json& data, const std::string& code) try {
    const std::string dataText = data.dump(-1, ' ', false, Json::error_handler_t::replace);
    const ScriptHeap heap;
    duk_context* const context = heap.Get();
    Run run{prelude.c_str(), dataText.c_str(), code.c_str()};
    const bool failed = duk_safe_call(context, RunProtected, &run, 0, 1) != DUK_EXEC_SUCCESS;
    const char* const text = duk_safe_to_string(context, -1);
    if (failed) throw ScriptError(text);
    Json result = Json::parse(text, nullptr, false);
    return result.is_discarded() ? Json(nullptr) : result;
} catch (const std::bad_alloc&) {
    throw ScriptError("there is no memory for a script");
} catch (const ScriptError&) {
    throw;
} catch (const std::runtime_error& failure) {  // of the engine, outside the script
    throw ScriptError(failure.what());
}

ScriptOutcome RunDialogScript(const std::string& script) {
    const Json result = RunScript(kDialogPrelude, script, kRunDialogScript);
    ScriptOutcome outcome{result.at("result").get<std::string>(), {}};
    for (const Json& dialog : result.at("dialogs"))
        outcome.mDialogs.push_back({dialog.at("title").get<std::string>(), dialog.at("text").get<std::string>()});
    return outcome;
}

}  // namespace nimbrel::host
