#pragma once

#include <cstdint>

/// Enumerations and plain records of the render interface. The numbers are fixed: packed tables,
/// texts of failures and other modules use them.
namespace zeb::render {

/// Pixel formats of textures and render targets.
enum class Format : std::uint32_t {
    Unknown = 0,
    RGBA32Float = 1,
    RGBA16Float = 5,
    RGBA16Unorm = 6,
    RGBA8Unorm = 13,
    R32Float = 24,
};

/// Index formats of `IndexBufferView`.
enum class IndexFormat : std::uint32_t { UInt16 = 0, UInt32 = 1 };

/// State of a texture as the GPU uses it; transitions are spelled out by the caller.
enum class TextureState : std::uint32_t {
    Common = 0,
    PixelShaderRead = 1,
    NonPixelShaderRead = 2,
    ShaderRead = 3,
    RenderTarget = 4,
    DepthWrite = 5,
    DepthRead = 6,
    CopyDestination = 7,
    CopySource = 8,
    ResolveDestination = 9,
    ResolveSource = 10,
    UnorderedAccess = 11,
};

/// Where a buffer or texture lives. Upload is written by the CPU and read by the GPU.
enum class MemoryKind : std::uint32_t { Default = 0, Upload = 1, Readback = 2 };

/// State of a buffer; also the initial state that a buffer is created in.
enum class BufferState : std::uint32_t {
    Common = 0,
    CopyDestination = 1,
    CopySource = 2,
    GenericRead = 3,
    UnorderedAccess = 4,
};

/// What a buffer is for, beyond being read.
enum class BufferUsage : std::uint32_t { None = 0, UnorderedAccess = 1, DenyShaderResource = 2 };

/// Bits of `TextureDescription::mUsage`. A render target and a texture written by compute can be read
/// by programs too.
enum TextureUsage : std::uint32_t {
    kTextureUsageShaderRead = 1,
    kTextureUsageUnorderedAccess = 2,
    kTextureUsageRenderTarget = 4,
    kTextureUsageDepthTarget = 8,
};

enum class TextureDimension : std::uint32_t { Texture2D = 0, Texture2DArray = 1 };

struct TextureDescription {
    TextureDimension mDimension = TextureDimension::Texture2D;
    Format mFormat = Format::Unknown;
    std::uint32_t mWidth = 0;
    std::uint32_t mHeight = 0;
    std::uint32_t mArraySize = 1;
    std::uint32_t mMipLevels = 1;
    std::uint32_t mUsage = kTextureUsageShaderRead;
};

enum class Topology : std::uint32_t {
    Undefined = 0,
    PointList = 1,
    LineList = 2,
    LineStrip = 3,
    TriangleList = 4,
    TriangleStrip = 5,
};

enum class SamplerFilter : std::uint32_t { Point = 0, Linear = 1 };
enum class SamplerAddress : std::uint32_t { Wrap = 0, Mirror = 1, Clamp = 2 };

struct SamplerDescription {
    SamplerFilter mMinFilter = SamplerFilter::Point;
    SamplerFilter mMagFilter = SamplerFilter::Point;
    SamplerFilter mMipFilter = SamplerFilter::Point;
    SamplerAddress mAddressU = SamplerAddress::Wrap;
    SamplerAddress mAddressV = SamplerAddress::Wrap;
    SamplerAddress mAddressW = SamplerAddress::Wrap;
};

/// Kinds of descriptor heaps; programs see those of kind 0 and 3.
enum class DescriptorHeapType : std::uint32_t {
    ShaderResources = 0,
    RenderTargets = 1,
    DepthTargets = 2,
    Samplers = 3,
};

/// Kinds of ranges in a descriptor table: 0 and 1 read-only, 2 and 3 read-write, 4 constants, 5 samplers.
enum class DescriptorRangeType : std::uint32_t {
    Texture = 0,
    Buffer = 1,
    UnorderedAccessTexture = 2,
    UnorderedAccessBuffer = 3,
    ConstantBuffer = 4,
    Sampler = 5,
};

/// Which stages see a root parameter.
enum class ShaderVisibility : std::uint32_t { All = 0, Vertex = 1, Pixel = 2 };

enum class ShaderType : std::uint32_t { Vertex = 0, Pixel = 1, Compute = 2 };

enum class BlendFactor : std::uint32_t {
    Zero = 0,
    One = 1,
    SourceColor = 2,
    InverseSourceColor = 3,
    SourceAlpha = 4,
    InverseSourceAlpha = 5,
    DestinationAlpha = 6,
    InverseDestinationAlpha = 7,
    DestinationColor = 8,
    InverseDestinationColor = 9,
};

enum class BlendOperation : std::uint32_t { Add = 0, Subtract = 1, ReverseSubtract = 2, Minimum = 3, Maximum = 4 };
enum class FillMode : std::uint32_t { Solid = 0, Wireframe = 1 };
enum class CullMode : std::uint32_t { None = 0, Front = 1, Back = 2 };
enum class FrontFace : std::uint32_t { Clockwise = 0, CounterClockwise = 1 };
enum class TopologyType : std::uint32_t { Point = 0, Line = 1, Triangle = 2 };
enum class LoadOperation : std::uint32_t { Load = 0, Clear = 1 };

/// Layout of one subresource of a texture in a read-back buffer, in bytes and rows.
struct CopyableLayout {
    std::uint64_t mRowPitch = 0;
    std::uint64_t mRowSize = 0;
    std::uint32_t mRowCount = 0;
    std::uint64_t mTotalSize = 0;
};

/// Bytes of one pixel of `format`; 0 for an unknown one.
constexpr std::uint32_t GetBytesPerPixel(Format format) {
    switch (format) {
        case Format::RGBA32Float: return 16;
        case Format::RGBA16Float:
        case Format::RGBA16Unorm: return 8;
        case Format::RGBA8Unorm:
        case Format::R32Float: return 4;
        default: return 0;
    }
}

}  // namespace zeb::render
