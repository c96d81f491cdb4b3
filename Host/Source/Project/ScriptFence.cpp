#include "ScriptFence.h"

#include <ScriptHeap.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>
#include <iterator>

namespace nimbrel::host {
namespace {

// Scripts cannot name a key of this kind.
constexpr const char* kNativeKey = DUK_HIDDEN_SYMBOL("native");
constexpr const char* kStateKey = DUK_HIDDEN_SYMBOL("state");

// All that is called by name; what else there is goes.
constexpr const char* kGlobals[] = {"NaN",
                                    "Infinity",
                                    "undefined",
                                    "Object",
                                    "Array",
                                    "String",
                                    "Boolean",
                                    "Number",
                                    "Date",
                                    "Error",
                                    "EvalError",
                                    "RangeError",
                                    "SyntaxError",
                                    "TypeError",
                                    "URIError",
                                    "ReferenceError",
                                    "Math",
                                    "JSON",
                                    "parseInt",
                                    "parseFloat",
                                    "isNaN",
                                    "isFinite",
                                    "decodeURI",
                                    "encodeURI",
                                    "decodeURIComponent",
                                    "encodeURIComponent",
                                    "escape",
                                    "unescape"};

// A property that is a function's answer could tell one length to the fence and another to the function behind it.
constexpr std::array<const char*, 2> kRemoved[] = {
    {"Object", "defineProperty"}, {"Object", "defineProperties"}, {"Object", "create"}, {"Object", "setPrototypeOf"}};
constexpr std::array<const char*, 2> kRemovedOfPrototypes[] = {{"Object", "__defineGetter__"},
                                                               {"Object", "__defineSetter__"},
                                                               {"Object", "__proto__"},
                                                               {"String", "match"},
                                                               {"String", "search"}};

template <class List>
bool IsOneOf(const char* text, const List& list) {
    return std::any_of(std::begin(list), std::end(list), [&](const char* one) { return std::strcmp(one, text) == 0; });
}

double GetTextLength(duk_context* context, duk_idx_t index) {
    return duk_is_string(context, index) ? static_cast<double>(duk_get_length(context, index)) : 0;
}

/// How many parts the value at an index has. Objects must have a length that reading does not change.
double MeasureParts(duk_context* context, duk_idx_t index) {
    if (!duk_is_object(context, index)) return GetTextLength(context, index);
    duk_get_prop_string(context, index, "length");
    if (!duk_is_number(context, -1) && !duk_is_undefined(context, -1))
        (void)duk_type_error(context, "the length of a list must be a number");
    const double length = duk_get_number_default(context, -1, 0);
    duk_pop(context);
    return std::clamp(length, 0.0, 4294967296.0);  // not a number gives 0
}

/// Calls the function that the called one stands for, with the same arguments.
duk_ret_t CallNative(duk_context* context, duk_idx_t count) {
    duk_push_current_function(context);
    duk_get_prop_string(context, -1, kNativeKey);
    duk_remove(context, -2);
    duk_insert(context, 0);
    duk_push_this(context);
    duk_insert(context, 1);
    duk_call_method(context, count);
    return 1;
}

duk_ret_t CallOnList(duk_context* context) {
    const duk_idx_t count = duk_get_top(context);
    duk_push_this(context);
    double steps = 1;
    for (duk_idx_t i = 0; i <= count; ++i) steps += MeasureParts(context, i);
    duk_pop(context);
    ScriptHeap::Of(context).Spend(steps);
    return CallNative(context, count);
}

/// A search takes as many steps as both texts together make. What is no text yet would become one of unknown length.
duk_ret_t CallOnText(duk_context* context) {
    const duk_idx_t count = duk_get_top(context);
    duk_push_this(context);
    if (duk_is_object(context, -1) || (count > 0 && duk_is_object(context, 0)))
        (void)duk_type_error(context, "a text is needed");
    double steps = 1 + GetTextLength(context, -1);
    if (count > 0) steps *= 1 + GetTextLength(context, 0);
    duk_pop(context);
    ScriptHeap::Of(context).Spend(steps);
    return CallNative(context, count);
}

/// SplitMix64 (Steele, Lea and Flood, 2014), whose upper 53 bits make a number below 1.
duk_ret_t GetRandom(duk_context* context) {
    duk_push_current_function(context);
    duk_get_prop_string(context, -1, kStateKey);
    auto& state = *static_cast<std::uint64_t*>(duk_get_pointer(context, -1));
    std::uint64_t bits = state += 0x9E3779B97F4A7C15U;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
    bits ^= bits >> 31;
    duk_push_number(context, static_cast<double>(bits >> 11) * 0x1p-53);
    return 1;
}

/// Pushes an enumerator of all properties of the object at the top, whether they are shown or not.
void PushNames(duk_context* context) {
    duk_enum(context, -1, DUK_ENUM_OWN_PROPERTIES_ONLY | DUK_ENUM_INCLUDE_NONENUMERABLE | DUK_ENUM_NO_PROXY_BEHAVIOR);
}

/// Puts the value at the top as a property as built-in functions are: changeable, not shown.
void DefineFunction(duk_context* context, duk_idx_t object) {
    duk_def_prop(context, object,
                 DUK_DEFPROP_HAVE_VALUE | DUK_DEFPROP_SET_WRITABLE | DUK_DEFPROP_SET_CONFIGURABLE |
                     DUK_DEFPROP_CLEAR_ENUMERABLE | DUK_DEFPROP_FORCE);
}

void RemoveGlobals(duk_context* context) {
    duk_push_global_object(context);
    PushNames(context);
    while (duk_next(context, -1, 0) != 0) {
        const char* const name = duk_get_string(context, -1);
        if (IsOneOf(name, kGlobals))
            duk_pop(context);
        else
            duk_del_prop(context, -3);
    }
    duk_pop_2(context);
}

void PushPrototype(duk_context* context, const char* constructor) {
    duk_get_global_string(context, constructor);
    duk_get_prop_string(context, -1, "prototype");
    duk_remove(context, -2);
}

/// Puts `wrapper` before each function of the object at the top but those named.
void WrapFunctions(duk_context* context, duk_c_function wrapper, std::initializer_list<const char*> left) {
    const duk_idx_t object = duk_get_top_index(context);
    PushNames(context);
    while (duk_next(context, -1, 1) != 0) {
        if (!duk_is_function(context, -1) || IsOneOf(duk_get_string(context, -2), left)) {
            duk_pop_2(context);
            continue;
        }
        duk_push_c_function(context, wrapper, DUK_VARARGS);
        duk_insert(context, -2);
        duk_put_prop_string(context, -2, kNativeKey);
        DefineFunction(context, object);
    }
    duk_pop(context);
}

}  // namespace

void FenceIn(duk_context* context, std::uint64_t* random) {
    PushPrototype(context, "Array");
    WrapFunctions(context, CallOnList, {"constructor"});
    PushPrototype(context, "String");
    WrapFunctions(context, CallOnText, {"constructor", "toString", "valueOf"});
    duk_pop_2(context);
    for (const auto& [owner, name] : kRemoved) {
        duk_get_global_string(context, owner);
        duk_del_prop_string(context, -1, name);
        duk_pop(context);
    }
    for (const auto& [owner, name] : kRemovedOfPrototypes) {
        PushPrototype(context, owner);
        duk_del_prop_string(context, -1, name);
        duk_pop(context);
    }
    // The way from any function to the one that makes functions of texts.
    PushPrototype(context, "Function");
    duk_del_prop_string(context, -1, "constructor");
    duk_pop(context);

    duk_get_global_string(context, "Math");
    duk_push_string(context, "random");
    duk_push_c_function(context, GetRandom, 0);
    duk_push_pointer(context, random);
    duk_put_prop_string(context, -2, kStateKey);
    DefineFunction(context, -3);
    duk_pop(context);
    RemoveGlobals(context);
}

}  // namespace nimbrel::host
