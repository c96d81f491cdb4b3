#include "ShaderLibrary.h"

#include <fmt/format.h>

#include "PluginBase/Exception.h"

namespace zeb::render {
namespace {

class EmbeddedShader final : public Shader {
public:
    explicit EmbeddedShader(const EmbeddedShaderData::Stage& stage) : mStage(stage) {}
    const void* GetData() const override { return mStage.mData; }
    std::size_t GetSize() const override { return mStage.mSize; }

private:
    EmbeddedShaderData::Stage mStage;
};

constexpr std::uint32_t kStageCount = 3;

}  // namespace

ShaderLibraryFromEmbeddedData::ShaderLibraryFromEmbeddedData(std::string name, ShaderFormat format)
    : ShaderLibrary(std::move(name)), mData(Render::GetEmbeddedShaderData(GetName(), format)) {}

UniquePtr<Shader> ShaderLibraryFromEmbeddedData::GetShader(ShaderType type) const {
    const auto index = static_cast<std::uint32_t>(type);
    if (index >= kStageCount) ZEB_THROW(kInternalError, fmt::format("Unexpected shader type of {}", index));
    return MakeUnique<EmbeddedShader>(mData.mStages[index]);
}

UniquePtr<Shader> ShaderLibraryFromSource::GetShader(ShaderType type) const {
    const auto index = static_cast<std::uint32_t>(type);
    if (index >= kStageCount)
        ZEB_THROW(kInternalError, fmt::format("Failed to get target prefix for shader type {}", index));
    ZEB_THROW(kInternalError, "Shader compiling unavailable");
}

}  // namespace zeb::render
