#pragma once

#include "Shot.h"

namespace nimbrel::endtoend {

/// The shot's frame from the cross-built nimbrel-render under Wine. Throws std::runtime_error with its exit status and
/// what it said if it fails.
host::Frame RenderOnWindows(const Shot& shot);

}  // namespace nimbrel::endtoend
