// Apart from Render.cpp, so that a program which only registers shaders needs no back end.
#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "RenderFactory.h"

namespace zeb::render {

UniquePtr<Render> Render::Create(std::int32_t type, const RenderOptions& options) {
    if (type != 0 && type != 1) ZEB_THROW(kInternalError, fmt::format("Failed to create a render of type {}", type));
    return MakeRender(options);
}

}  // namespace zeb::render
