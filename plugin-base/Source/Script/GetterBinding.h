#pragma once

#include <duktape.h>

namespace zeb {
class ParameterCurrentValueGetter;
}

namespace zeb::script {

/// Pushes a script object of class ParameterCurrentValueGetter around a native getter.
void PushGetterObject(duk_context* context, const ParameterCurrentValueGetter& getter);

/// Cuts the tie between the object at `index` and its getter: `Get` fails from now on. Never throws.
void InvalidateGetterObject(duk_context* context, duk_idx_t index) noexcept;

}  // namespace zeb::script
