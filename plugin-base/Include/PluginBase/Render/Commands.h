#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "PluginBase/Render/Objects.h"

/// Recording and submitting work.
///
/// One frame: CreateCommandList, SetDescriptorHeaps, then for each pass an encoder, its commands and
/// End, at last Execute and Wait. Only one encoder records at a time on a list. Clip space is that of
/// Direct3D on every device: y up, depth 0 to 1; texture and target rows run top to bottom.
namespace zeb::render {

class CommandEncoder {
public:
    virtual ~CommandEncoder() = default;
    /// Nothing is recorded when the object is in `state` already.
    virtual void TextureTransitionBarrier(Texture& texture, TextureState state) = 0;
    virtual void BufferTransitionBarrier(Buffer& buffer, BufferState state) = 0;
    virtual void TextureUnorderedAccessBarrier(Texture& texture) = 0;
    virtual void BufferUnorderedAccessBarrier(Buffer& buffer) = 0;
    /// After it the encoder takes no more commands.
    virtual void End() = 0;
};

class GraphicsAndComputeCommandEncoderBase : public CommandEncoder {
public:
    /// Binds descriptors [index, index + table size) of `range`.
    virtual void SetRootDescriptorTable(std::uint32_t parameter, DescriptorRange& range, std::uint32_t index) = 0;
    virtual void SetRootConstant(std::uint32_t parameter, std::uint32_t value) = 0;
    /// `data` holds `count` 32-bit words; they are copied.
    virtual void SetRootConstants(std::uint32_t parameter, std::uint32_t count, const void* data) = 0;
    /// Offsets of constant buffers are multiples of 256.
    virtual void SetRootConstantBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t byteOffset) = 0;
    /// Offsets are multiples of 4 and, for structured data, of its stride.
    virtual void SetRootShaderResourceBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t byteOffset) = 0;
    virtual void SetRootUnorderedAccessBufferView(std::uint32_t parameter, Buffer& buffer,
                                                  std::uint64_t byteOffset) = 0;
};

struct VertexBufferView {
    Buffer* mBuffer = nullptr;
    std::uint64_t mByteOffset = 0;
    std::uint32_t mSizeInBytes = 0;
    std::uint32_t mStride = 0;
};

struct IndexBufferView {
    Buffer* mBuffer = nullptr;
    std::uint32_t mSizeInBytes = 0;
    IndexFormat mFormat = IndexFormat::UInt16;
};

/// One colour attachment: a texture and the descriptor on which a view of it was made.
struct ColorAttachment {
    Texture* mTexture = nullptr;
    DescriptorRange* mRange = nullptr;
    std::uint32_t mIndex = 0;
    LoadOperation mLoadOperation = LoadOperation::Load;
    std::array<float, 4> mClearColor = {0.0F, 0.0F, 0.0F, 0.0F};
};

struct RenderPassDescription {
    std::vector<ColorAttachment> mColorAttachments;
    Texture* mDepthTarget = nullptr;
};

class GraphicsCommandEncoder : public GraphicsAndComputeCommandEncoderBase {
public:
    virtual void SetVertexBuffer(const VertexBufferView& view, std::uint32_t slot) = 0;
    virtual void SetIndexBuffer(const IndexBufferView& view) = 0;
    virtual void SetViewport(float x, float y, float width, float height, float minDepth, float maxDepth) = 0;
    virtual void SetScissor(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) = 0;
    virtual void SetPipelineState(GraphicsPipelineState& state) = 0;
    virtual void SetRootSignature(RootSignature& signature) = 0;
    virtual void Draw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount) = 0;
    virtual void DrawInstanced(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount,
                               std::uint32_t firstInstance, std::uint32_t instanceCount) = 0;
    virtual void DrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount) = 0;
    virtual void DrawIndexedInstanced(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount,
                                      std::uint32_t firstInstance, std::uint32_t instanceCount) = 0;
};

class ComputeCommandEncoder : public GraphicsAndComputeCommandEncoderBase {
public:
    virtual void SetPipelineState(ComputePipelineState& state) = 0;
    virtual void SetRootSignature(RootSignature& signature) = 0;
    /// The thread counts state the group size as the program has it. A group count of zero records nothing.
    virtual void Dispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ, std::uint32_t threadsX,
                          std::uint32_t threadsY, std::uint32_t threadsZ) = 0;
};

/// A rectangle of a texture's subresource, in texels.
struct TextureRegion {
    std::uint32_t mX = 0;
    std::uint32_t mY = 0;
    std::uint32_t mWidth = 0;
    std::uint32_t mHeight = 0;
    std::uint32_t mMipLevel = 0;
    std::uint32_t mArrayIndex = 0;
};

class CopyCommandEncoder : public CommandEncoder {
public:
    /// Rows of `region` lie in the buffer from `bufferOffset` on, `rowPitch` bytes apart.
    virtual void CopyToTextureFromBuffer(Texture& destination, const TextureRegion& region, Buffer& source,
                                         std::uint64_t bufferOffset, std::uint64_t rowPitch) = 0;
    /// The whole first subresource, with tightly packed rows from the buffer's first byte.
    virtual void CopyToTextureFromBuffer(Texture& destination, Buffer& source) = 0;
    virtual void CopyToBufferFromTexture(Buffer& destination, std::uint64_t bufferOffset, std::uint64_t rowPitch,
                                         Texture& source, const TextureRegion& region) = 0;
    virtual void CopyToBufferFromTexture(Buffer& destination, Texture& source) = 0;
    virtual void CopyTexture(Texture& destination, Texture& source) = 0;
    virtual void CopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source,
                            std::uint64_t sourceOffset, std::uint64_t sizeInBytes) = 0;
};

class CommandList : public ObjectWithName {
public:
    using ObjectWithName::ObjectWithName;
    virtual UniquePtr<GraphicsCommandEncoder> CreateGraphicsCommandEncoder(
        const RenderPassDescription& description) = 0;
    virtual UniquePtr<ComputeCommandEncoder> CreateComputeCommandEncoder() = 0;
    virtual UniquePtr<CopyCommandEncoder> CreateCopyCommandEncoder() = 0;
    virtual void SetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) = 0;
};

class CommandQueueCompletionEvent {
public:
    virtual ~CommandQueueCompletionEvent() = default;
    virtual bool IsCompleted() = 0;
    /// Blocks until the list has run; then what the list kept alive is released.
    virtual void Wait() = 0;
};

class CommandQueue : public ObjectWithName {
public:
    using ObjectWithName::ObjectWithName;
    virtual UniquePtr<CommandList> CreateCommandList(std::string name) = 0;
    /// Submits the list, which the event owns from then on. The caller owns the event.
    virtual UniquePtr<CommandQueueCompletionEvent> Execute(UniquePtr<CommandList> commandList) = 0;
};

}  // namespace zeb::render
