#pragma once

#include <string>

#include <fmt/format.h>

#include "PluginBase/Exception.h"

/// A failure of a back end itself: what a caller asked for cannot be done. Takes a format and its arguments.
#define ZEB_RENDER_THROW(...) ZEB_THROW_AS(::zeb::RenderException, ::zeb::kInternalError, ::fmt::format(__VA_ARGS__))

namespace zeb::render {

/// The back end's own object behind an interface; a stranger's object is a failure that names it.
template <class Own, class Interface>
Own& ToOwn(Interface& object, const char* kind) {
    auto* own = dynamic_cast<Own*>(&object);
    if (own == nullptr) ZEB_RENDER_THROW("The {} \"{}\" belongs to another device", kind, object.GetName());
    return *own;
}

/// For what one draw, dispatch or copy both reads and writes, or reads in two layouts.
[[noreturn]] inline void ThrowUsedInTwoWays(const char* kind, const std::string& name) {
    ZEB_RENDER_THROW("The {} \"{}\" is used in two ways at once", kind, name);
}

}  // namespace zeb::render
