#pragma once

#include <cstddef>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <type_traits>

#include <duktape.h>

#include "PluginBase/Script/JSContext.h"

/// The rules that let C++ and the script engine share a stack.
///
/// The engine reports errors by longjmp, and aborts the process for an error outside a protected call.
/// So every call that can fail runs inside RunProtected, nothing with a destructor lives in a frame that
/// an engine error can jump over, and no C++ exception passes an engine frame (NativeFunction).
namespace zeb::script {

/// Hidden properties: scripts cannot name a key that starts with the byte 255.
inline constexpr const char* kDataKey = DUK_HIDDEN_SYMBOL("data");  ///< fixed buffer of floats
inline constexpr const char* kPointerKey = DUK_HIDDEN_SYMBOL("ptr");

/// Cuts the value stack back to the height it had when the guard was made.
class StackGuard {
public:
    explicit StackGuard(duk_context* context) : mContext(context), mTop(duk_get_top(context)) {}
    ~StackGuard() {
        if (duk_get_top(mContext) > mTop) duk_set_top(mContext, mTop);
    }
    StackGuard(const StackGuard&) = delete;
    StackGuard& operator=(const StackGuard&) = delete;

private:
    duk_context* mContext;
    duk_idx_t mTop;
};

/// Pops `count` values, the lowest of which is an error, and returns the error's `stack` property, or its
/// own text if it has none.
std::string TakeErrorStack(duk_context* context, duk_idx_t count);

/// Throws a ScriptException of `message` and the error under the topmost `count` values, from here.
#define ZEB_THROW_SCRIPT(context, count, message)                                                         \
    throw ::zeb::ScriptException(__FILE__, __LINE__, ZEB_FUNCTION_NAME, ::zeb::kInternalError, (message), \
                                 ::zeb::script::TakeErrorStack((context), (count)))

/// Raises a script error inside a native function. It does not return; the type lets callers return it.
inline duk_ret_t RaiseError(duk_context* context, duk_errcode_t code, const char* message) {
    // The place in the stack text is a word: this file's path means nothing to who reads it.
    duk_error_raw(context, code, "native", 0, "%s", message);
    return 0;
}

/// Runs `body(context)`, which returns how many values it pushed; `results` of them stay on the stack.
/// An engine error inside is thrown as a ScriptException with `message`.
template <class Body>
void RunProtected(duk_context* context, duk_idx_t results, std::string_view message, Body body) {
    static_assert(std::is_trivially_destructible_v<Body>, "an engine error jumps over destructors");
    const duk_safe_call_function call = [](duk_context* inner, void* data) -> duk_ret_t {
        return (*static_cast<Body*>(data))(inner);
    };
    // One result at least, so that there is room for the error object.
    const duk_idx_t kept = results > 0 ? results : 1;
    if (duk_safe_call(context, call, &body, 0, kept) != DUK_EXEC_SUCCESS) ZEB_THROW_SCRIPT(context, kept, message);
    if (results == 0) duk_pop(context);
}

/// A function for scripts around `Body`: a C++ exception becomes a script error. `Body` must hold nothing
/// with a destructor while it calls the engine.
template <duk_ret_t (*Body)(duk_context*)>
duk_ret_t NativeFunction(duk_context* context) {
    char message[1024];
    try {
        return Body(context);
    } catch (const std::exception& error) {
        std::snprintf(message, sizeof(message), "%s", error.what());
    } catch (...) {
        std::snprintf(message, sizeof(message), "Unexpected exception");
    }
    return RaiseError(context, DUK_ERR_ERROR, message);
}

/// Pushes the hidden buffer of the object at `index` and returns its floats. For use inside native
/// functions: raises a script type error if the object is not a vector or matrix of `count` floats.
float* PushFloats(duk_context* context, duk_idx_t index, std::size_t count);

/// The same for `this`.
float* PushThisFloats(duk_context* context, std::size_t count);

/// Pushes a plain array of the floats, by way of its JSON text.
void PushArray(duk_context* context, const float* values, std::size_t count);

/// Each defines its globals; call inside RunProtected.
void DefineVectors(duk_context* context);
void DefineMatrix(duk_context* context);
void DefineGetter(duk_context* context);

}  // namespace zeb::script
