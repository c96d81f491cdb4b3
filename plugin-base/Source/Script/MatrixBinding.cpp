// The script class mat4x4: 16 floats in a hidden buffer, column by column.
#include <cstddef>
#include <cstring>

#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>
#include <glm/mat4x4.hpp>

#include "DuktapeUtil.h"

namespace zeb::script {
namespace {

constexpr std::size_t kCount = 16;

float ArgumentFloat(duk_context* context, duk_idx_t index) { return static_cast<float>(duk_to_number(context, index)); }

/// The first three arguments, in their order: a conversion can run a script.
glm::vec3 ArgumentVec3(duk_context* context) {
    const float x = ArgumentFloat(context, 0);
    const float y = ArgumentFloat(context, 1);
    return {x, y, ArgumentFloat(context, 2)};
}

glm::mat4 Load(const float* data) { return glm::make_mat4(data); }

void Store(float* data, const glm::mat4& matrix) { std::memcpy(data, glm::value_ptr(matrix), sizeof(matrix)); }

glm::mat4 ArgumentMatrix(duk_context* context, duk_idx_t index) { return Load(PushFloats(context, index, kCount)); }

/// Pushes a new mat4x4.
duk_ret_t ReturnNew(duk_context* context, const glm::mat4& matrix) {
    duk_get_global_string(context, "mat4x4");
    duk_new(context, 0);
    Store(PushFloats(context, -1, kCount), matrix);
    duk_pop(context);
    return 1;
}

glm::vec3 UnitAxis(int axis) {
    glm::vec3 unit(0.0F);
    unit[axis] = 1.0F;
    return unit;
}

/// All zeros, not the identity: scripts may rely on it.
duk_ret_t Construct(duk_context* context) {
    if (!duk_is_constructor_call(context)) return DUK_RET_TYPE_ERROR;
    duk_push_this(context);
    duk_push_fixed_buffer(context, kCount * sizeof(float));  // zeros
    duk_put_prop_string(context, -2, kDataKey);
    return 0;
}

duk_ret_t MakeIdentity(duk_context* context) { return ReturnNew(context, glm::mat4(1.0F)); }

duk_ret_t MakeScale(duk_context* context) {
    return ReturnNew(context, glm::scale(glm::mat4(1.0F), ArgumentVec3(context)));
}

template <int Axis>
duk_ret_t MakeRotate(duk_context* context) {
    return ReturnNew(context, glm::rotate(glm::mat4(1.0F), ArgumentFloat(context, 0), UnitAxis(Axis)));
}

duk_ret_t MakeTranslate(duk_context* context) {
    return ReturnNew(context, glm::translate(glm::mat4(1.0F), ArgumentVec3(context)));
}

duk_ret_t Length(duk_context* context) {
    duk_push_int(context, static_cast<duk_int_t>(kCount));
    return 1;
}

duk_ret_t ToJson(duk_context* context) {
    PushArray(context, PushThisFloats(context, kCount), kCount);
    return 1;
}

duk_ret_t MakeCopy(duk_context* context) { return ReturnNew(context, Load(PushThisFloats(context, kCount))); }

duk_ret_t SetIdentity(duk_context* context) {
    Store(PushThisFloats(context, kCount), glm::mat4(1.0F));
    return 0;
}

// The methods below multiply from the right, as GLM does: the new step comes first for a column vector.
// Arguments are converted before the data's address is taken, since a conversion can run a script.

duk_ret_t Scale(duk_context* context) {
    const glm::vec3 factors = ArgumentVec3(context);
    float* data = PushThisFloats(context, kCount);
    Store(data, glm::scale(Load(data), factors));
    return 0;
}

/// Rotation about x replaces the contents, unlike the other two: scripts may rely on it.
duk_ret_t RotateX(duk_context* context) {
    const float angle = ArgumentFloat(context, 0);
    Store(PushThisFloats(context, kCount), glm::rotate(glm::mat4(1.0F), angle, UnitAxis(0)));
    return 0;
}

template <int Axis>
duk_ret_t Rotate(duk_context* context) {
    const float angle = ArgumentFloat(context, 0);
    float* data = PushThisFloats(context, kCount);
    Store(data, glm::rotate(Load(data), angle, UnitAxis(Axis)));
    return 0;
}

duk_ret_t Translate(duk_context* context) {
    const glm::vec3 offset = ArgumentVec3(context);
    float* data = PushThisFloats(context, kCount);
    Store(data, glm::translate(Load(data), offset));
    return 0;
}

/// Both factors are copied before the product is stored, so either may be this matrix.
duk_ret_t SetMul(duk_context* context) {
    const glm::mat4 left = ArgumentMatrix(context, 0);
    const glm::mat4 right = ArgumentMatrix(context, 1);
    Store(PushThisFloats(context, kCount), left * right);
    return 0;
}

/// Returns the argument, not this matrix: scripts may rely on it.
duk_ret_t MulBy(duk_context* context) {
    const glm::mat4 right = ArgumentMatrix(context, 0);
    float* data = PushThisFloats(context, kCount);
    Store(data, Load(data) * right);
    duk_dup(context, 0);
    return 1;
}

const duk_function_list_entry kStatics[] = {
    {"makeIdentity", &NativeFunction<&MakeIdentity>, 0},
    {"makeScale", &NativeFunction<&MakeScale>, 3},
    {"makeRotateX", &NativeFunction<&MakeRotate<0>>, 1},
    {"makeRotateY", &NativeFunction<&MakeRotate<1>>, 1},
    {"makeRotateZ", &NativeFunction<&MakeRotate<2>>, 1},
    {"makeTranslate", &NativeFunction<&MakeTranslate>, 3},
    {nullptr, nullptr, 0},
};

const duk_function_list_entry kMethods[] = {
    {"length", &NativeFunction<&Length>, 0},       {"toJSON", &NativeFunction<&ToJson>, 0},
    {"makeCopy", &NativeFunction<&MakeCopy>, 0},   {"setIdentity", &NativeFunction<&SetIdentity>, 0},
    {"scale", &NativeFunction<&Scale>, 3},         {"rotateX", &NativeFunction<&RotateX>, 1},
    {"rotateY", &NativeFunction<&Rotate<1>>, 1},   {"rotateZ", &NativeFunction<&Rotate<2>>, 1},
    {"translate", &NativeFunction<&Translate>, 3}, {"setMul", &NativeFunction<&SetMul>, 2},
    {"mulBy", &NativeFunction<&MulBy>, 1},         {nullptr, nullptr, 0},
};

}  // namespace

void DefineMatrix(duk_context* context) {
    duk_push_c_function(context, &NativeFunction<&Construct>, 0);
    duk_put_function_list(context, -1, kStatics);
    duk_push_object(context);
    duk_put_function_list(context, -1, kMethods);
    duk_put_prop_string(context, -2, "prototype");
    duk_put_global_string(context, "mat4x4");
}

}  // namespace zeb::script
