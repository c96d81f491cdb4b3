#include "DuktapeUtil.h"

#include <cstring>

#include <nlohmann/json.hpp>

namespace zeb::script {
namespace {

/// Longest text of 16 floats, each at most 24 characters and a comma, with brackets.
constexpr std::size_t kArrayTextSize = 512;

/// Writes the JSON text of an array of floats, zero-terminated. Owns nothing when it returns.
void WriteArrayText(const float* values, std::size_t count, char* text) {
    nlohmann::json array = nlohmann::json::array();
    for (std::size_t i = 0; i < count; ++i) array.push_back(values[i]);
    const std::string dumped = array.dump();
    if (dumped.size() >= kArrayTextSize) ZEB_THROW(kInternalError, "The text of an array of floats is too long.");
    std::memcpy(text, dumped.c_str(), dumped.size() + 1);
}

}  // namespace

std::string TakeErrorStack(duk_context* context, duk_idx_t count) {
    duk_idx_t error = duk_normalize_index(context, -count);
    // The error may be anything a script can throw, also an object whose `stack` throws in turn.
    const duk_safe_call_function read = [](duk_context* inner, void* data) -> duk_ret_t {
        const duk_idx_t thrown = *static_cast<duk_idx_t*>(data);
        if (duk_is_object(inner, thrown)) {
            duk_get_prop_string(inner, thrown, "stack");
            if (duk_is_undefined(inner, -1)) duk_dup(inner, thrown);
        } else {
            duk_dup(inner, thrown);
        }
        duk_safe_to_string(inner, -1);
        return 1;
    };
    duk_safe_call(context, read, &error, 0, 1);
    const char* text = duk_get_string(context, -1);
    std::string stack = text != nullptr ? text : "unknown script error";
    duk_pop_n(context, count + 1);
    return stack;
}

float* PushFloats(duk_context* context, duk_idx_t index, std::size_t count) {
    if (!duk_is_object(context, index)) RaiseError(context, DUK_ERR_TYPE_ERROR, "vector or matrix expected");
    duk_get_prop_string(context, index, kDataKey);
    duk_size_t size = 0;
    void* data = duk_get_buffer_data(context, -1, &size);
    if (data == nullptr || size != count * sizeof(float))
        RaiseError(context, DUK_ERR_TYPE_ERROR, "vector or matrix of another size expected");
    return static_cast<float*>(data);
}

float* PushThisFloats(duk_context* context, std::size_t count) {
    duk_push_this(context);
    return PushFloats(context, -1, count);
}

void PushArray(duk_context* context, const float* values, std::size_t count) {
    char text[kArrayTextSize];
    WriteArrayText(values, count, text);
    duk_push_string(context, text);
    duk_json_decode(context, -1);
}

}  // namespace zeb::script
