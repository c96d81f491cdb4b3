#pragma once

#include "PluginBase/Render/Render.h"

namespace zeb::render {

/// The render of this build. Declared here and defined by the back end that the program is linked with,
/// so that the interface's own library names no graphics API.
UniquePtr<Render> MakeRender(const RenderOptions& options);

}  // namespace zeb::render
