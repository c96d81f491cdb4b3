#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include "PluginBase/Render/Types.h"
#include "Render/CPU/Image.h"
#include "Render/CPU/Rasteriser.h"
#include "Render/RootRegisters.h"

/// Programs of the CPU device: C++ functions under the names that the GPU programs have, with the same registers.
namespace zeb::render::cpu {

using render::RegisterKind;
enum class BindingType : std::uint8_t { Constants, Buffer, Texture, Sampler };

/// One register that a program uses; `mStride` is the size of a structured buffer's elements, 4 for raw bytes.
struct ProgramBinding {
    RegisterKind mKind;
    BindingType mType;
    std::uint32_t mRegister;
    std::uint32_t mStride = 1;
};

constexpr ProgramBinding UsesConstants(std::uint32_t b) { return {RegisterKind::Constants, BindingType::Constants, b}; }
constexpr ProgramBinding ReadsBuffer(std::uint32_t t, std::uint32_t stride) {
    return {RegisterKind::ReadOnly, BindingType::Buffer, t, stride};
}
constexpr ProgramBinding WritesBuffer(std::uint32_t u, std::uint32_t stride) {
    return {RegisterKind::ReadWrite, BindingType::Buffer, u, stride};
}
constexpr ProgramBinding ReadsTexture(std::uint32_t t) { return {RegisterKind::ReadOnly, BindingType::Texture, t}; }
constexpr ProgramBinding WritesTexture(std::uint32_t u) { return {RegisterKind::ReadWrite, BindingType::Texture, u}; }
constexpr ProgramBinding UsesSampler(std::uint32_t s) { return {RegisterKind::Sampler, BindingType::Sampler, s}; }

/// What a dispatch or draw finds in its registers. A register that the program does not declare is empty. Views stay
/// good while the program runs.
class Bindings {
public:
    struct Slot {
        ProgramBinding mBinding;
        std::span<std::byte> mBytes;  ///< from the bound offset to the end of the view
        Image* mImage = nullptr;
        SamplerDescription mSampler;
    };

    void Add(const Slot& slot) { mSlots.push_back(slot); }

    /// A constant block; what the bound bytes do not reach is zero.
    template <class T>
    T Constants(std::uint32_t b) const {
        T value{};
        const std::span<std::byte> bytes = Find(RegisterKind::Constants, b).mBytes;
        std::memcpy(&value, bytes.data(), bytes.size() < sizeof(T) ? bytes.size() : sizeof(T));
        return value;
    }
    std::span<const std::byte> ReadBytes(std::uint32_t t) const { return Find(RegisterKind::ReadOnly, t).mBytes; }
    std::span<std::byte> WriteBytes(std::uint32_t u) const { return Find(RegisterKind::ReadWrite, u).mBytes; }
    /// Whole elements only. T must not need more than the 4-byte alignment that offsets have.
    template <class T>
    std::span<const T> Read(std::uint32_t t) const {
        const std::span<const std::byte> bytes = ReadBytes(t);
        return {reinterpret_cast<const T*>(bytes.data()), bytes.size() / sizeof(T)};
    }
    template <class T>
    std::span<T> Write(std::uint32_t u) const {
        const std::span<std::byte> bytes = WriteBytes(u);
        return {reinterpret_cast<T*>(bytes.data()), bytes.size() / sizeof(T)};
    }
    /// Level 0 of a texture, all layers.
    TextureView Texture(std::uint32_t t) const {
        const Image* image = Find(RegisterKind::ReadOnly, t).mImage;
        return image != nullptr ? image->View() : TextureView{};
    }
    Image* WriteTexture(std::uint32_t u) const { return Find(RegisterKind::ReadWrite, u).mImage; }
    SamplerDescription Sampler(std::uint32_t s) const { return Find(RegisterKind::Sampler, s).mSampler; }

private:
    const Slot& Find(RegisterKind kind, std::uint32_t shaderRegister) const;

    std::vector<Slot> mSlots;
};

/// One vertex element as it lies in its buffer.
struct VertexStream {
    std::span<const std::byte> mBytes;
    std::uint32_t mStride = 0;
    std::uint32_t mOffset = 0;
    Format mFormat = Format::Unknown;
};

/// One draw, whole. Vertices are named by their numbers, which count from `mFirst`, or by indices.
struct DrawCall {
    explicit DrawCall(const Bindings& bindings) : mBindings(bindings) {}

    const Bindings& mBindings;
    RenderPass mPass;
    Topology mTopology = Topology::TriangleList;
    CullMode mCullMode = CullMode::None;
    FrontFace mFrontFace = FrontFace::Clockwise;
    FillMode mFillMode = FillMode::Solid;
    std::uint32_t mFirst = 0;  ///< vertex, or place in the indices
    std::uint32_t mCount = 0;
    std::uint32_t mFirstInstance = 0;
    std::uint32_t mInstanceCount = 1;
    std::span<const std::byte> mIndices;  ///< empty for a draw without indices
    IndexFormat mIndexFormat = IndexFormat::UInt16;
    std::vector<VertexStream> mStreams;

    /// Whether it is the vertices 0 to `count` - 1, once, filled, whichever way they face.
    bool IsPlain(Topology topology, std::uint32_t count) const;
    /// Number of the vertex at place `i` of the draw, 0 to `mCount`.
    std::uint32_t GetVertexNumber(std::uint32_t i) const;
    /// Element of a vertex, missing components (0, 0, 0, 1); zeros beyond the buffer.
    glm::vec4 GetElement(std::size_t element, std::uint32_t vertex) const;
};

using ComputeFunction = void (*)(const Bindings& bindings, const glm::uvec3& groups);
using DrawFunction = void (*)(const DrawCall& call);

/// A compute program runs all its groups, a graphics program a whole draw; both may use several threads and return
/// when all is done. They are called from any thread.
struct Program {
    std::vector<ProgramBinding> mBindings;
    ComputeFunction mCompute = nullptr;
    DrawFunction mDraw = nullptr;
    std::uint32_t mVertexElements = 0;  ///< that the vertex stage reads
};

/// Enters a program. A name that is taken throws.
void SetProgram(const std::string& name, Program program);

/// The program of that name; a form of a program ("NAME.Serial") without a function of its own is the program itself,
/// since all forms have the same results. Throws "Failed to get embedded shader" for an unknown name.
const Program& GetProgram(std::string_view name);

/// Registers "ConvertNone", "ConvertUnmultiply", "TextDrawing" and the twenty Copy programs: once, any thread.
void RegisterFrameworkPrograms();

}  // namespace zeb::render::cpu
