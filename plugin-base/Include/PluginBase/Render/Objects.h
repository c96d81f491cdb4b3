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
///
/// The public operations check their arguments, once for all devices, and forward to a virtual Do... operation, which
/// is all that a back end supplies.
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
    /// CPU address of the buffer's first byte. [begin, end) is the range that the CPU will read; equal
    /// values mean that nothing is read. Every Map needs an Unmap before the buffer is destroyed.
    std::byte* Map(std::uint64_t begin, std::uint64_t end);
    void Unmap();

    std::uint64_t GetSizeInBytes() const { return mSizeInBytes; }
    MemoryKind GetMemory() const { return mMemory; }

protected:
    Buffer(std::string name, std::uint64_t sizeInBytes, MemoryKind memory)
        : ObjectWithName(std::move(name)), mSizeInBytes(sizeInBytes), mMemory(memory) {}

    /// What is wrong with destroying the buffer now, as a text; empty when nothing is.
    std::string CheckUnmapped() const;

    virtual std::byte* DoMap(std::uint64_t begin, std::uint64_t end) = 0;
    virtual void DoUnmap() = 0;

private:
    std::uint64_t mSizeInBytes;
    MemoryKind mMemory;
    std::uint32_t mOpenMaps = 0;
};

class Texture : public ObjectWithName {
public:
    /// Layout that a subresource takes in a read-back buffer.
    CopyableLayout GetCopyableLayout(std::uint32_t mipLevel, std::uint32_t arrayIndex) const;

    const TextureDescription& GetDescription() const { return mDescription; }
    Format GetFormat() const { return mDescription.mFormat; }
    std::uint32_t GetWidth() const { return mDescription.mWidth; }
    std::uint32_t GetHeight() const { return mDescription.mHeight; }

protected:
    Texture(std::string name, const TextureDescription& description)
        : ObjectWithName(std::move(name)), mDescription(description) {}

    /// Rows that begin at multiples of 256 bytes, as Direct3D has them.
    virtual CopyableLayout DoGetCopyableLayout(std::uint32_t mipLevel, std::uint32_t arrayIndex) const;

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

enum class RootParameterKind : std::uint32_t { Table, Constants, ConstantBuffer, ReadOnlyBuffer, ReadWriteBuffer };

/// One parameter of a root signature.
struct RootParameter {
    RootParameterKind mKind = RootParameterKind::Table;
    ShaderVisibility mVisibility = ShaderVisibility::All;
    std::vector<DescriptorTableRange> mRanges;  ///< of a table
    std::uint32_t mRegister = 0;                ///< of any other kind
    std::uint32_t mSpace = 0;                   ///< of the register
    std::uint32_t mConstantCount = 0;           ///< 32-bit words, of root constants
};

/// What a program is bound to. Each Add operation appends one parameter; its index is the order of
/// addition, and the encoders' SetRoot... operations use that index. Direct3D alone has register spaces besides 0.
class RootSignature : public ObjectWithName {
public:
    explicit RootSignature(std::string name);

    void AddDescriptorTable(const std::vector<DescriptorTableRange>& ranges,
                            ShaderVisibility visibility = ShaderVisibility::All);
    void AddRootConstants(std::uint32_t count, std::uint32_t shaderRegister, std::uint32_t space = 0);
    void AddRootConstantBufferView(std::uint32_t shaderRegister, std::uint32_t space = 0);
    void AddRootShaderResourceBufferView(std::uint32_t shaderRegister, std::uint32_t space = 0);
    void AddRootUnorderedAccessBufferView(std::uint32_t shaderRegister, std::uint32_t space = 0);

    const std::vector<RootParameter>& GetParameters() const { return mParameters; }
    /// Differs from that of every other signature of the process.
    std::uint64_t GetIdentity() const { return mIdentity; }

protected:
    /// Called before the parameter is appended; throws for a value that the device does not know.
    virtual void DoAddParameter(const RootParameter& parameter) = 0;

private:
    void AddRoot(RootParameterKind kind, std::uint32_t shaderRegister, std::uint32_t space,
                 std::uint32_t constantCount = 0);
    void CheckRegisters(std::uint32_t first, std::uint32_t count) const;
    void Append(RootParameter parameter);

    std::vector<RootParameter> mParameters;
    std::uint64_t mIdentity;
};

/// A run of descriptors; its destructor gives the run back to the heap.
class DescriptorRange {
public:
    virtual ~DescriptorRange() = default;
    DescriptorRange(const DescriptorRange&) = delete;
    DescriptorRange& operator=(const DescriptorRange&) = delete;

    std::uint32_t GetCount() const { return mCount; }
    /// Throws unless descriptors [index, index + count) lie in the range and its heap holds views of `type`.
    void Check(std::uint32_t index, std::uint32_t count, DescriptorHeapType type) const;

protected:
    DescriptorRange(std::string heapName, DescriptorHeapType type, std::int32_t count)
        : mHeapName(std::move(heapName)), mType(type), mCount(static_cast<std::uint32_t>(count)) {}

private:
    std::string mHeapName;
    DescriptorHeapType mType;
    std::uint32_t mCount;
};

class DescriptorHeap : public ObjectWithName {
public:
    UniquePtr<DescriptorRange> AllocateRange(std::int32_t count);
    DescriptorHeapType GetType() const { return mType; }

protected:
    DescriptorHeap(std::string name, DescriptorHeapType type) : ObjectWithName(std::move(name)), mType(type) {}
    virtual UniquePtr<DescriptorRange> DoAllocateRange(std::int32_t count) = 0;

private:
    DescriptorHeapType mType;
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

/// Vertex buffers are bound to slots below this.
inline constexpr std::size_t kMaxVertexSlots = 4;

class GraphicsPipelineState : public ObjectWithName {
public:
    GraphicsPipelineState(std::string name, const GraphicsPipelineDescription& description);

    /// Without the objects that the pipeline was made with, which may be gone.
    const GraphicsPipelineDescription& GetDescription() const { return mDescription; }
    /// Bits of the vertex slots that the program reads.
    std::uint32_t GetVertexSlots() const { return mVertexSlots; }
    /// RootSignature::GetIdentity of the signature that it was made with.
    std::uint64_t GetSignature() const { return mSignature; }

private:
    GraphicsPipelineDescription mDescription;
    std::uint32_t mVertexSlots = 0;
    std::uint64_t mSignature = 0;
};

class ComputePipelineState : public ObjectWithName {
public:
    ComputePipelineState(std::string name, const ComputePipelineDescription& description);
    std::uint64_t GetSignature() const { return mSignature; }

private:
    std::uint64_t mSignature = 0;
};

/// Per-thread, per-device state of a user of the layer; destroyed with the thread's record.
class DeviceCache {
public:
    virtual ~DeviceCache() = default;
};

}  // namespace zeb::render
