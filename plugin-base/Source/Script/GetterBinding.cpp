// The script class ParameterCurrentValueGetter, through which scripts read parameters.
#include "GetterBinding.h"

#include <cmath>
#include <memory>
#include <string>

#include <glm/vec3.hpp>

#include "DuktapeUtil.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Misc/Utf8.h"
#include "PluginBase/Parameters/Values/ParameterAccess.h"

namespace zeb::script {
namespace {

/// What a script's getter object points to. The text lives here, not in a native function's frame, since an
/// engine error would jump over its destructor.
struct Cell {
    const ParameterCurrentValueGetter* mGetter = nullptr;
    std::string mText;
};

/// A parameter's value without anything that must be destroyed; texts are left in the cell.
struct Value {
    enum class Type { Null, Number, Boolean, Vec3, Text } mType = Type::Null;
    double mNumber = 0.0;
    bool mBoolean = false;
    float mVec3[3] = {};
};

Value Number(double number) {
    Value value;
    value.mType = Value::Type::Number;
    value.mNumber = number;
    return value;
}

Value Text(Cell& cell, std::string text) {
    cell.mText = std::move(text);
    Value value;
    value.mType = Value::Type::Text;
    return value;
}

/// Reads a parameter without a call of the engine.
Value Read(Cell& cell, std::int32_t index) {
    if (cell.mGetter == nullptr) ZEB_THROW(kInternalError, "The parameter getter is no longer valid.");
    const ParameterCurrentValueGetter& getter = *cell.mGetter;
    const ParameterDescription& description = getter.GetDescription(index);
    if (description.mParameterIndex == -1) return {};  // a parameter that the host never sees has no value
    Value value;
    switch (description.mValueKind) {
        case ValueKind::None:
        case ValueKind::Clip: break;
        case ValueKind::Int: return Number(getter.GetInt(index));
        case ValueKind::Popup: return Number(getter.GetPopup(index));
        case ValueKind::Double: return Number(getter.GetDouble(index));
        case ValueKind::Bool:
            value.mType = Value::Type::Boolean;
            value.mBoolean = getter.GetBool(index);
            break;
        case ValueKind::Vec3: {
            const glm::vec3 vector = getter.GetRawVec3(index);
            value.mType = Value::Type::Vec3;
            for (int i = 0; i < 3; ++i) value.mVec3[i] = vector[i];
            break;
        }
        case ValueKind::String: return Text(cell, ToUtf8(getter.GetString(index)));
        case ValueKind::Custom: return Text(cell, getter.GetCustom(index));
    }
    return value;
}

/// The cell behind a getter object, or null if the object is none.
Cell* GetCell(duk_context* context, duk_idx_t index) {
    duk_get_prop_string(context, index, kPointerKey);
    auto* cell = static_cast<Cell*>(duk_get_pointer(context, -1));
    duk_pop(context);
    return cell;
}

duk_ret_t Get(duk_context* context) {
    // A name that the scripts' table of indices lacks arrives as undefined, and must not read parameter 0.
    const double number = duk_to_number(context, 0);
    if (!(std::fabs(number) < 2147483648.0))
        return RaiseError(context, DUK_ERR_RANGE_ERROR, "Get needs the index of a parameter");
    duk_push_this(context);
    Cell* cell = GetCell(context, -1);
    if (cell == nullptr) return RaiseError(context, DUK_ERR_TYPE_ERROR, "Get needs a parameter getter");
    const Value value = Read(*cell, static_cast<std::int32_t>(number));
    switch (value.mType) {
        case Value::Type::Null: duk_push_null(context); break;
        case Value::Type::Number: duk_push_number(context, value.mNumber); break;
        case Value::Type::Boolean: duk_push_boolean(context, value.mBoolean ? 1 : 0); break;
        case Value::Type::Text: duk_push_lstring(context, cell->mText.data(), cell->mText.size()); break;
        case Value::Type::Vec3:
            duk_get_global_string(context, "vec3");
            for (const float component : value.mVec3) duk_push_number(context, static_cast<double>(component));
            duk_new(context, 3);
            break;
    }
    return 1;
}

/// Called with the collected object, perhaps twice: the pointer is cleared before the cell goes.
duk_ret_t Finalize(duk_context* context) {
    Cell* cell = GetCell(context, 0);
    duk_push_pointer(context, nullptr);
    duk_put_prop_string(context, 0, kPointerKey);
    delete cell;
    return 0;
}

}  // namespace

void DefineGetter(duk_context* context) {
    duk_push_object(context);
    duk_push_object(context);
    duk_push_c_function(context, &NativeFunction<&Get>, 1);
    duk_put_prop_string(context, -2, "Get");
    duk_set_prototype(context, -2);
    duk_put_global_string(context, "ParameterCurrentValueGetter");
}

void PushGetterObject(duk_context* context, const ParameterCurrentValueGetter& getter) {
    auto cell = std::make_unique<Cell>();
    cell->mGetter = &getter;
    Cell* pointer = cell.get();
    RunProtected(context, 1, "Failed to wrap a parameter getter", [pointer](duk_context* inner) -> duk_ret_t {
        duk_push_object(inner);
        duk_get_global_string(inner, "ParameterCurrentValueGetter");
        duk_get_prototype(inner, -1);
        duk_remove(inner, -2);
        duk_set_prototype(inner, -2);
        duk_push_pointer(inner, pointer);
        duk_put_prop_string(inner, -2, kPointerKey);
        // Last, since from here on the object owns the cell.
        duk_push_c_function(inner, &NativeFunction<&Finalize>, 1);
        duk_set_finalizer(inner, -2);
        return 1;
    });
    (void)cell.release();
}

void InvalidateGetterObject(duk_context* context, duk_idx_t index) noexcept {
    const StackGuard guard(context);
    duk_idx_t object = duk_normalize_index(context, index);
    const duk_safe_call_function invalidate = [](duk_context* inner, void* data) -> duk_ret_t {
        Cell* cell = GetCell(inner, *static_cast<duk_idx_t*>(data));
        if (cell != nullptr) cell->mGetter = nullptr;
        return 0;
    };
    duk_safe_call(context, invalidate, &object, 0, 1);
}

}  // namespace zeb::script
