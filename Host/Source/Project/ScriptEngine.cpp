#include "NimbrelHost/Project/ScriptEngine.h"

#include <ScriptHeap.h>
#include <fmt/format.h>

#include <cmath>
#include <new>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Interrupt.h"
#include "ScriptFence.h"

namespace nimbrel::host {
namespace {

// A frame of a thousand expressions that use all of it is still done within minutes.
constexpr ScriptLimits kLimits{std::size_t{64} << 20, 10'000'000, 1.0, IsInterrupted};

/// Why the error at the top of the stack came about.
[[noreturn]] void ThrowScriptError(const ScriptHeap& heap) {
    switch (heap.GetStop()) {
        case ScriptHeap::Stop::Steps:
            throw ScriptError(fmt::format("it takes more than {} million steps", kLimits.mSteps / 1'000'000));
        case ScriptHeap::Stop::Time:
            throw ScriptError(fmt::format("it takes more than {} s of processor time", kLimits.mSeconds));
        case ScriptHeap::Stop::Memory:
            throw ScriptError(fmt::format("it takes more than {} MB of memory", kLimits.mBytes >> 20));
        case ScriptHeap::Stop::Cancelled: throw Interrupted();
        case ScriptHeap::Stop::None: break;
    }
    if (heap.IsShortOfMemory()) throw std::bad_alloc();
    const char* const text = duk_get_string(heap.Get(), -1);
    throw ScriptError(text != nullptr ? text : "it throws what is no text");
}

/// Calls `body(context)`, which leaves one value, with the engine's errors as exceptions. What it needs has no
/// destructor within it.
template <class Body>
void Protect(const ScriptHeap& heap, Body body) try {
    static_assert(std::is_trivially_destructible_v<Body>, "an engine's error jumps over destructors");
    const duk_safe_call_function call = [](duk_context* context, void* data) -> duk_ret_t {
        (*static_cast<Body*>(data))(context);
        return 1;
    };
    // An error becomes a text within a protected call too: that may run a script.
    const duk_safe_call_function tell = [](duk_context* context, void*) -> duk_ret_t {
        duk_to_string(context, -1);
        return 1;
    };
    if (duk_safe_call(heap.Get(), call, &body, 0, 1) == DUK_EXEC_SUCCESS) return;
    if (duk_safe_call(heap.Get(), tell, nullptr, 1, 1) != DUK_EXEC_SUCCESS) duk_push_null(heap.Get());
    ThrowScriptError(heap);
} catch (const std::runtime_error& failure) {
    if (!heap.IsBroken()) throw;
    // Of the engine, outside the script.
    if (heap.IsShortOfMemory()) throw std::bad_alloc();
    throw ScriptError(failure.what());
}

void DefineData(duk_context* context, const char* data) {
    duk_push_string(context, data);
    duk_json_decode(context, -1);
    duk_put_global_string(context, "data");
}

std::string Dump(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

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

constexpr std::size_t kMaxNumbers = 3;

/// What is taken of an expression's value; nothing in it has a destructor.
struct Value {
    bool mIsGood = false;
    bool mIsList = false;
    std::size_t mCount = 0;
    double mNumbers[kMaxNumbers] = {};
};

/// The value at the top of the stack, where it is a number, a truth value or a short list of numbers.
Value TakeValue(duk_context* context) {
    Value value;
    value.mIsList = duk_is_array(context, -1) != 0;
    if (!value.mIsList) {
        value.mCount = 1;
        value.mIsGood = duk_is_boolean(context, -1) != 0 || duk_is_number(context, -1) != 0;
        if (value.mIsGood) value.mNumbers[0] = duk_to_number(context, -1);
        return value;
    }
    value.mCount = duk_get_length(context, -1);
    value.mIsGood = value.mCount <= kMaxNumbers;
    for (std::size_t i = 0; value.mIsGood && i < value.mCount; ++i) {
        duk_get_prop_index(context, -1, static_cast<duk_uarridx_t>(i));
        value.mIsGood = duk_is_number(context, -1) != 0;
        value.mNumbers[i] = duk_get_number_default(context, -1, 0);
        duk_pop(context);
    }
    return value;
}

}  // namespace

std::optional<ScriptNumbers> RunExpressionScript(const std::string& prelude, const Json& data, const std::string& code,
                                                 std::uint64_t seed) {
    const std::string dataText = Dump(data);
    const ScriptHeap heap(kLimits);
    std::uint64_t random = seed;
    Value value;
    const auto run = [preludeText = prelude.c_str(), text = dataText.c_str(), codeText = code.c_str(), state = &random,
                      out = &value](duk_context* context) {
        FenceIn(context, state);
        DefineData(context, text);
        duk_eval_string_noresult(context, preludeText);
        duk_eval_string(context, codeText);
        *out = TakeValue(context);
    };
    Protect(heap, run);
    if (!value.mIsGood) return std::nullopt;
    return ScriptNumbers{value.mIsList, {value.mNumbers, value.mNumbers + value.mCount}};
}

ScriptOutcome RunDialogScript(const std::string& script) {
    const std::string data = Dump(Json(script));
    const ScriptHeap heap(kLimits);
    Protect(heap, [text = data.c_str()](duk_context* context) {
        DefineData(context, text);
        duk_eval_string_noresult(context, kDialogPrelude);
        duk_eval_string(context, kRunDialogScript);
        duk_json_encode(context, -1);
    });
    const char* const text = duk_get_string(heap.Get(), -1);
    try {
        const Json result = Json::parse(text != nullptr ? text : "");
        ScriptOutcome outcome{result.at("result").get<std::string>(), {}};
        for (const Json& dialog : result.at("dialogs"))
            outcome.mDialogs.push_back({dialog.at("title").get<std::string>(), dialog.at("text").get<std::string>()});
        return outcome;
    } catch (const Json::exception&) {
        throw ScriptError("it replaces what its dialogs are kept in");
    }
}

}  // namespace nimbrel::host
