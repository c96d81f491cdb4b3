#pragma once

#include <fmt/format.h>

#include "PluginBase/Exception.h"

/// A failure of a back end itself: what a caller asked for cannot be done. Takes a format and its arguments.
#define ZEB_RENDER_THROW(...) ZEB_THROW_AS(::zeb::RenderException, ::zeb::kInternalError, ::fmt::format(__VA_ARGS__))
