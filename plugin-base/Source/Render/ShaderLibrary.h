#pragma once

#include <string>

#include "PluginBase/Render/Objects.h"
#include "PluginBase/Render/Render.h"

/// Shader libraries, the same for every back end: what differs is the code inside the stages.
namespace zeb::render {

/// The stages registered under the library's name (Render::SetEmbeddedShaderData), handed out without a copy.
class ShaderLibraryFromEmbeddedData final : public ShaderLibrary {
public:
    explicit ShaderLibraryFromEmbeddedData(std::string name, ShaderFormat format = kDefaultShaderFormat);
    UniquePtr<Shader> GetShader(ShaderType type) const override;

private:
    const EmbeddedShaderData& mData;
};

/// A program given as source text. The system carries no compiler, so no stage can be had of it.
class ShaderLibraryFromSource final : public ShaderLibrary {
public:
    using ShaderLibrary::ShaderLibrary;
    UniquePtr<Shader> GetShader(ShaderType type) const override;
};

}  // namespace zeb::render
