// The script classes vec2, vec3 and vec4: 2 to 4 floats in a hidden buffer.
#include <cstddef>
#include <cstdio>
#include <utility>

#include "DuktapeUtil.h"

namespace zeb::script {
namespace {

constexpr const char* kAxes[] = {"x", "y", "z", "w"};

template <std::size_t N>
duk_ret_t Construct(duk_context* context) {
    if (!duk_is_constructor_call(context)) return DUK_RET_TYPE_ERROR;
    // The buffer lies on the stack while conversions run, so it cannot be collected under them.
    duk_push_this(context);
    auto* data = static_cast<float*>(duk_push_fixed_buffer(context, N * sizeof(float)));
    for (std::size_t i = 0; i < N; ++i) data[i] = static_cast<float>(duk_to_number(context, static_cast<duk_idx_t>(i)));
    duk_put_prop_string(context, -2, kDataKey);
    return 0;
}

template <std::size_t N, std::size_t Axis>
duk_ret_t GetAxis(duk_context* context) {
    duk_push_number(context, static_cast<double>(PushThisFloats(context, N)[Axis]));
    return 1;
}

template <std::size_t N, std::size_t Axis>
duk_ret_t SetAxis(duk_context* context) {
    // The conversion can run a script, so it comes before the data's address is taken.
    const auto value = static_cast<float>(duk_to_number(context, 0));
    PushThisFloats(context, N)[Axis] = value;
    return 0;
}

/// A method, not a property: the number of components, not the Euclidean length.
template <std::size_t N>
duk_ret_t Length(duk_context* context) {
    duk_push_int(context, static_cast<duk_int_t>(N));
    return 1;
}

template <std::size_t N>
duk_ret_t ToJson(duk_context* context) {
    PushArray(context, PushThisFloats(context, N), N);
    return 1;
}

template <std::size_t N, std::size_t Axis>
void DefineAxis(duk_context* context) {
    duk_push_string(context, kAxes[Axis]);
    duk_push_c_function(context, &NativeFunction<&GetAxis<N, Axis>>, 0);
    duk_push_c_function(context, &NativeFunction<&SetAxis<N, Axis>>, 1);
    duk_def_prop(
        context, -4,
        DUK_DEFPROP_HAVE_GETTER | DUK_DEFPROP_HAVE_SETTER | DUK_DEFPROP_HAVE_CONFIGURABLE | DUK_DEFPROP_CONFIGURABLE);
}

template <std::size_t N, std::size_t... Axes>
void DefineVector(duk_context* context, std::index_sequence<Axes...>) {
    duk_push_c_function(context, &NativeFunction<&Construct<N>>, static_cast<duk_idx_t>(N));
    duk_push_object(context);
    duk_push_c_function(context, &NativeFunction<&Length<N>>, 0);
    duk_put_prop_string(context, -2, "length");
    duk_push_c_function(context, &NativeFunction<&ToJson<N>>, 0);
    duk_put_prop_string(context, -2, "toJSON");
    (DefineAxis<N, Axes>(context), ...);
    duk_put_prop_string(context, -2, "prototype");
    char name[8];
    std::snprintf(name, sizeof(name), "vec%u", static_cast<unsigned>(N));
    duk_put_global_string(context, name);
}

}  // namespace

void DefineVectors(duk_context* context) {
    DefineVector<2>(context, std::make_index_sequence<2>());
    DefineVector<3>(context, std::make_index_sequence<3>());
    DefineVector<4>(context, std::make_index_sequence<4>());
}

}  // namespace zeb::script
