#include "Render/CPU/Programs.h"

#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "PluginBase/Misc/Hash.h"
#include "Render/RenderFailure.h"

namespace zeb::render::cpu {
namespace {

// Guarded as the registry of compiled programs is; records are never removed.
struct Registry {
    std::shared_mutex mMutex;
    std::unordered_map<std::string, Program, StringHash, std::equal_to<>> mPrograms;
};

Registry& GetRegistry() {
    static Registry registry;
    return registry;
}

}  // namespace

const Bindings::Slot& Bindings::Find(RegisterKind kind, std::uint32_t shaderRegister) const {
    static const Slot empty{};
    for (const Slot& slot : mSlots) {
        if (slot.mBinding.mKind == kind && slot.mBinding.mRegister == shaderRegister) return slot;
    }
    return empty;
}

bool DrawCall::IsPlain(Topology topology, std::uint32_t count) const {
    return mTopology == topology && mFirst == 0 && mCount == count && mIndices.empty() && mInstanceCount == 1 &&
           mCullMode == CullMode::None && mFillMode == FillMode::Solid;
}

std::uint32_t DrawCall::GetVertexNumber(std::uint32_t i) const {
    if (mIndices.empty()) return mFirst + i;
    const std::size_t size = mIndexFormat == IndexFormat::UInt16 ? 2 : 4;
    std::uint32_t index = 0;  // little-endian
    std::memcpy(&index, mIndices.data() + (std::size_t{mFirst} + i) * size, size);
    return index;
}

glm::vec4 DrawCall::GetElement(std::size_t element, std::uint32_t vertex) const {
    const VertexStream& stream = mStreams[element];
    const std::uint64_t offset = std::uint64_t{vertex} * stream.mStride + stream.mOffset;
    const std::uint64_t size = GetBytesPerPixel(stream.mFormat);
    if (offset > stream.mBytes.size() || size > stream.mBytes.size() - offset) return glm::vec4(0.0F);
    return DecodeTexel(stream.mFormat, stream.mBytes.data() + offset);
}

void SetProgram(const std::string& name, Program program) {
    Registry& registry = GetRegistry();
    const std::unique_lock lock(registry.mMutex);
    if (!registry.mPrograms.emplace(name, std::move(program)).second)
        ZEB_RENDER_THROW("Embedded shader \"{}\" already registered", name);
}

const Program& GetProgram(std::string_view name) {
    Registry& registry = GetRegistry();
    const std::shared_lock lock(registry.mMutex);
    auto found = registry.mPrograms.find(name);
    if (found == registry.mPrograms.end()) found = registry.mPrograms.find(name.substr(0, name.find('.')));
    if (found == registry.mPrograms.end()) ZEB_RENDER_THROW("Failed to get embedded shader \"{}\"", name);
    return found->second;
}

}  // namespace zeb::render::cpu
