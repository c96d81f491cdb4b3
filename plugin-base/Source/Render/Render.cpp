#include "PluginBase/Render/Render.h"

#include <map>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "PluginBase/Misc/Hash.h"

namespace zeb::render {
namespace {

// Programs may be registered while other threads already look some up, so the map is guarded; records
// are never removed, and references to them stay good.
struct Registry {
    std::shared_mutex mMutex;
    std::map<ShaderFormat, std::unordered_map<std::string, EmbeddedShaderData, StringHash, std::equal_to<>>> mPrograms;
};

Registry& GetRegistry() {
    static Registry registry;
    return registry;
}

}  // namespace

std::vector<std::string> Render::GetDefines() const { return {"ZEB_API_AE"}; }

void Render::SetEmbeddedShaderData(const std::string& name, const EmbeddedShaderData& data, ShaderFormat format) {
    Registry& registry = GetRegistry();
    const std::unique_lock lock(registry.mMutex);
    if (!registry.mPrograms[format].emplace(name, data).second)
        ZEB_THROW(kInternalError, fmt::format("Embedded shader \"{}\" already registered", name));
}

const EmbeddedShaderData& Render::GetEmbeddedShaderData(const std::string& name, ShaderFormat format) {
    Registry& registry = GetRegistry();
    const std::shared_lock lock(registry.mMutex);
    const auto table = registry.mPrograms.find(format);
    if (table != registry.mPrograms.end()) {
        const auto found = table->second.find(name);
        if (found != table->second.end()) return found->second;
    }
    ZEB_THROW(kInternalError, fmt::format("Failed to get embedded shader \"{}\"", name));
}

}  // namespace zeb::render
