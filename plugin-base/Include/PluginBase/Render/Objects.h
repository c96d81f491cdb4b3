#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "PluginBase/Misc/MakeUnique.h"
#include "PluginBase/Render/Types.h"

/// Objects that a `Device` makes. All are owned by the caller through stored deleters and belong to the
/// thread whose per-thread record they were made for. Every failure is a zeb::RenderException that
/// quotes the failed call or the object's name.
namespace zeb::render {

class ObjectWithName {
public:
    explicit ObjectWithName(std::string name) : mName(std::move(name)) {}
    virtual ~ObjectWithName() = default;
    ObjectWithName(const ObjectWithName&) = delete;
    ObjectWithName& operator=(const ObjectWithName&) = delete;

    const std::string& GetName() const { return mName; }

private:
    std::string mName;
};

class Buffer : public ObjectWithName {
public:
    Buffer(std::string name, std::uint64_t sizeInBytes) : ObjectWithName(std::move(name)), mSizeInBytes(sizeInBytes) {}

    /// CPU address of the buffer's first byte. [begin, end) is the range that the CPU will read; equal
    /// values mean that nothing is read. Every Map needs an Unmap before the buffer is destroyed.
    virtual std::byte* Map(std::uint64_t begin, std::uint64_t end) = 0;
    virtual void Unmap() = 0;

    std::uint64_t GetSizeInBytes() const { return mSizeInBytes; }

private:
    std::uint64_t mSizeInBytes;
};

class Texture : public ObjectWithName {
public:
    Texture(std::string name, const TextureDescription& description)
        : ObjectWithName(std::move(name)), mDescription(description) {}

    /// Layout that a subresource takes in a read-back buffer.
    virtual CopyableLayout GetCopyableLayout(std::uint32_t mipLevel, std::uint32_t arrayIndex) const = 0;

    const TextureDescription& GetDescription() const { return mDescription; }
    Format GetFormat() const { return mDescription.mFormat; }
    std::uint32_t GetWidth() const { return mDescription.mWidth; }
    std::uint32_t GetHeight() const { return mDescription.mHeight; }

private:
    TextureDescription mDescription;
};

class Sampler : public ObjectWithName {
public:
    using ObjectWithName::ObjectWithName;
};

/// One compiled stage. It refers to data that outlives it (embedded) or that its maker holds.
class Shader {
public:
    virtual ~Shader() = default;
    virtual const void* GetData() const = 0;
    virtual std::size_t GetSize() const = 0;
};

class ShaderLibrary : public ObjectWithName {
public:
    using ObjectWithName::ObjectWithName;
    /// The stage of `type`. A stage that the program lacks has size 0; it fails at pipeline creation.
    virtual UniquePtr<Shader> GetShader(ShaderType type) const = 0;
};

/// One range of a descriptor table: `mCount` descriptors from `mRegister` on, space 0.
struct DescriptorTableRange {
    DescriptorRangeType mType;
    std::uint32_t mCount;
    std::uint32_t mRegister;
};

/// What a program is bound to. Each Add operation appends one parameter; its index is the order of
/// addition, and the encoders' SetRoot... operations use that index.
class RootSignature : public ObjectWithName {
public:
    using ObjectWithName::ObjectWithName;
    virtual void AddDescriptorTable(const std::vector<DescriptorTableRange>& ranges,
                                    ShaderVisibility visibility = ShaderVisibility::All) = 0;
    virtual void AddRootConstants(std::uint32_t count, std::uint32_t shaderRegister, std::uint32_t space = 0) = 0;
    virtual void AddRootConstantBufferView(std::uint32_t shaderRegister, std::uint32_t space = 0) = 0;
    virtual void AddRootShaderResourceBufferView(std::uint32_t shaderRegister, std::uint32_t space = 0) = 0;
    virtual void AddRootUnorderedAccessBufferView(std::uint32_t shaderRegister, std::uint32_t space = 0) = 0;
};

/// A run of descriptors; its destructor gives the run back to the heap.
class DescriptorRange {
public:
    virtual ~DescriptorRange() = default;
    virtual std::uint32_t GetCount() const = 0;
};

class DescriptorHeap : public ObjectWithName {
public:
    using ObjectWithName::ObjectWithName;
    virtual UniquePtr<DescriptorRange> AllocateRange(std::int32_t count) = 0;
};

struct VertexElement {
    std::string mSemanticName;
    std::uint32_t mSemanticIndex = 0;
    Format mFormat = Format::Unknown;
    std::uint32_t mInputSlot = 0;
    std::uint32_t mAlignedByteOffset = 0;
};

inline constexpr std::size_t kMaxRenderTargets = 8;

/// Everything of a graphics pipeline that varies. Fixed: full sample and write masks, no logic
/// operation, depth clip on, no depth or stencil test.
struct GraphicsPipelineDescription {
    std::vector<VertexElement> mVertexElements;
    RootSignature* mRootSignature = nullptr;
    Shader* mVertexShader = nullptr;
    Shader* mPixelShader = nullptr;
    bool mBlendEnabled = false;
    BlendFactor mSourceColorFactor = BlendFactor::One;
    BlendFactor mDestinationColorFactor = BlendFactor::Zero;
    BlendOperation mColorOperation = BlendOperation::Add;
    BlendFactor mSourceAlphaFactor = BlendFactor::One;
    BlendFactor mDestinationAlphaFactor = BlendFactor::Zero;
    BlendOperation mAlphaOperation = BlendOperation::Add;
    FillMode mFillMode = FillMode::Solid;
    CullMode mCullMode = CullMode::None;
    FrontFace mFrontFace = FrontFace::Clockwise;
    TopologyType mTopologyType = TopologyType::Triangle;
    std::int32_t mRenderTargetCount = 1;
    Format mRenderTargetFormats[kMaxRenderTargets] = {};
    Format mDepthFormat = Format::Unknown;
    std::uint32_t mSampleCount = 1;
    std::uint32_t mSampleQuality = 0;
};

struct ComputePipelineDescription {
    RootSignature* mRootSignature = nullptr;
    Shader* mComputeShader = nullptr;
};

class GraphicsPipelineState : public ObjectWithName {
public:
    using ObjectWithName::ObjectWithName;
};

class ComputePipelineState : public ObjectWithName {
public:
    using ObjectWithName::ObjectWithName;
};

/// Per-thread, per-device state of a user of the layer; destroyed with the thread's record.
class DeviceCache {
public:
    virtual ~DeviceCache() = default;
};

}  // namespace zeb::render
