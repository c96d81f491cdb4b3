#pragma once

#include <array>
#include <cstdint>
#include <functional>
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

class CommandList;

/// The checks of arguments and of the order of calls are made here, once for all devices; back ends supply the
/// Do... operations, which are called with what passed them.
class CommandEncoder {
public:
    virtual ~CommandEncoder();
    CommandEncoder(const CommandEncoder&) = delete;
    CommandEncoder& operator=(const CommandEncoder&) = delete;

    /// Nothing is recorded when the object is in `state` already.
    void TextureTransitionBarrier(Texture& texture, TextureState state);
    void BufferTransitionBarrier(Buffer& buffer, BufferState state);
    /// Between dispatches of which one writes what another reads or writes.
    void TextureUnorderedAccessBarrier(Texture& texture);
    void BufferUnorderedAccessBarrier(Buffer& buffer);
    /// After it the encoder takes no more commands.
    void End();

protected:
    explicit CommandEncoder(CommandList& list);
    void CheckOpen() const;

    virtual void DoTextureTransitionBarrier(Texture& texture, TextureState state) = 0;
    virtual void DoBufferTransitionBarrier(Buffer& buffer, BufferState state) = 0;
    virtual void DoTextureUnorderedAccessBarrier(Texture& texture) = 0;
    virtual void DoBufferUnorderedAccessBarrier(Buffer& buffer) = 0;
    virtual void DoEnd() {}

    CommandList& mCommandList;

private:
    bool mIsOpen = true;
};

/// A draw or dispatch throws if a buffer or texture is bound to it both for reading and for writing.
class GraphicsAndComputeCommandEncoderBase : public CommandEncoder {
public:
    /// Another signature than the one set before empties all parameters.
    void SetRootSignature(RootSignature& signature);
    /// Binds descriptors [index, index + table size) of `range`.
    void SetRootDescriptorTable(std::uint32_t parameter, DescriptorRange& range, std::uint32_t index);
    void SetRootConstant(std::uint32_t parameter, std::uint32_t value) { SetRootConstants(parameter, 1, &value); }
    /// `data` holds `count` 32-bit words; they are copied.
    void SetRootConstants(std::uint32_t parameter, std::uint32_t count, const void* data);
    /// Offsets of constant buffers are multiples of 256.
    void SetRootConstantBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t byteOffset);
    /// Offsets are multiples of 4 and, for structured data, of its stride. A size other than 0 promises that programs
    /// touch no more than so many bytes from there on, which lie in the buffer: a device that binds ranges of limited
    /// size (Device::GetStorageRange) takes a larger buffer so.
    void SetRootShaderResourceBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t byteOffset,
                                         std::uint64_t sizeInBytes = 0);
    void SetRootUnorderedAccessBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t byteOffset,
                                          std::uint64_t sizeInBytes = 0);

protected:
    using CommandEncoder::CommandEncoder;

    /// Throws unless the pipeline's own root signature is set, with a value for each of its parameters.
    void CheckArguments(const std::string& pipeline, std::uint64_t signature) const;

    virtual void DoSetRootSignature(RootSignature& signature) = 0;
    virtual void DoSetRootDescriptorTable(std::uint32_t parameter, DescriptorRange& range, std::uint32_t index) = 0;
    virtual void DoSetRootConstants(std::uint32_t parameter, std::uint32_t count, const void* data) = 0;
    /// `sizeInBytes` is what is left of the buffer where the caller gave none.
    virtual void DoSetRootBufferView(std::uint32_t parameter, RootParameterKind kind, Buffer& buffer,
                                     std::uint64_t byteOffset, std::uint64_t sizeInBytes) = 0;

private:
    const RootParameter& CheckParameter(std::uint32_t parameter, RootParameterKind kind) const;
    void SetRootBufferView(std::uint32_t parameter, RootParameterKind kind, Buffer& buffer, std::uint64_t byteOffset,
                           std::uint64_t sizeInBytes);

    RootSignature* mSignature = nullptr;
    std::vector<bool> mIsSet;
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
    void SetVertexBuffer(const VertexBufferView& view, std::uint32_t slot);
    void SetIndexBuffer(const IndexBufferView& view);
    void SetViewport(float x, float y, float width, float height, float minDepth, float maxDepth);
    void SetScissor(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom);
    void SetPipelineState(GraphicsPipelineState& state);
    // Counts of zero record nothing.
    void Draw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount);
    void DrawInstanced(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount,
                       std::uint32_t firstInstance, std::uint32_t instanceCount);
    void DrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount);
    void DrawIndexedInstanced(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount,
                              std::uint32_t firstInstance, std::uint32_t instanceCount);

protected:
    /// Viewport and scissor are the targets' size until they are set; the back end sees to that.
    GraphicsCommandEncoder(CommandList& list, const RenderPassDescription& description);

    virtual void DoSetVertexBuffer(const VertexBufferView& view, std::uint32_t slot) = 0;
    virtual void DoSetIndexBuffer(const IndexBufferView& view) = 0;
    virtual void DoSetViewport(float x, float y, float width, float height, float minDepth, float maxDepth) = 0;
    virtual void DoSetScissor(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) = 0;
    virtual void DoSetPipelineState(GraphicsPipelineState& state) = 0;
    virtual void DoDraw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount,
                        std::uint32_t firstInstance, std::uint32_t instanceCount) = 0;
    virtual void DoDrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount,
                               std::uint32_t firstInstance, std::uint32_t instanceCount) = 0;

private:
    void CheckDraw(Topology topology) const;

    std::vector<Texture*> mTargets;
    GraphicsPipelineState* mPipeline = nullptr;
    std::uint32_t mBoundVertexSlots = 0;
    std::uint32_t mIndexCount = 0;
};

class ComputeCommandEncoder : public GraphicsAndComputeCommandEncoderBase {
public:
    void SetPipelineState(ComputePipelineState& state);
    /// The thread counts state the group size as the program has it. A group count of zero records nothing.
    void Dispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ, std::uint32_t threadsX,
                  std::uint32_t threadsY, std::uint32_t threadsZ);
    /// Sorts the first `count` 32-bit words of `keys` ascending and as many of `payload` with them, in place; equal
    /// keys keep their order. For devices that can sort. A count of zero records nothing.
    void Sort(Buffer& keys, Buffer& payload, std::uint32_t count);

protected:
    using GraphicsAndComputeCommandEncoderBase::GraphicsAndComputeCommandEncoderBase;

    virtual void DoSetPipelineState(ComputePipelineState& state) = 0;
    virtual void DoDispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                            std::uint32_t threadsX) = 0;
    virtual void DoSort(Buffer& keys, Buffer& payload, std::uint32_t count);

private:
    ComputePipelineState* mPipeline = nullptr;
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

/// Rows of a texture's rectangle in a buffer: `mRowPitch` bytes apart from `mBufferOffset` on.
struct TextureBufferCopy {
    TextureRegion mRegion;
    std::uint64_t mBufferOffset = 0;
    std::uint64_t mRowPitch = 0;
};

class CopyCommandEncoder : public CommandEncoder {
public:
    /// Rows of `region` lie in the buffer from `bufferOffset` on, `rowPitch` bytes apart.
    void CopyToTextureFromBuffer(Texture& destination, const TextureRegion& region, Buffer& source,
                                 std::uint64_t bufferOffset, std::uint64_t rowPitch);
    /// The whole first subresource, with tightly packed rows from the buffer's first byte.
    void CopyToTextureFromBuffer(Texture& destination, Buffer& source);
    void CopyToBufferFromTexture(Buffer& destination, std::uint64_t bufferOffset, std::uint64_t rowPitch,
                                 Texture& source, const TextureRegion& region);
    void CopyToBufferFromTexture(Buffer& destination, Texture& source);
    /// All levels and layers, between textures of the same format and size.
    void CopyTexture(Texture& destination, Texture& source);
    void CopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source, std::uint64_t sourceOffset,
                    std::uint64_t sizeInBytes);

protected:
    using CommandEncoder::CommandEncoder;

    virtual void DoCopyToTexture(Texture& destination, Buffer& source, const TextureBufferCopy& copy) = 0;
    virtual void DoCopyToBuffer(Buffer& destination, Texture& source, const TextureBufferCopy& copy) = 0;
    virtual void DoCopyTexture(Texture& destination, Texture& source) = 0;
    virtual void DoCopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source,
                              std::uint64_t sourceOffset, std::uint64_t sizeInBytes) = 0;
};

/// What a device allows a command to be, along each axis. The defaults are the least that graphics interfaces allow.
struct CommandLimits {
    std::array<std::uint32_t, 3> mGroups = {65535, 65535, 65535};
    std::array<std::uint32_t, 2> mViewport = {16384, 16384};
};

class CommandList : public ObjectWithName {
public:
    UniquePtr<GraphicsCommandEncoder> CreateGraphicsCommandEncoder(const RenderPassDescription& description);
    UniquePtr<ComputeCommandEncoder> CreateComputeCommandEncoder();
    UniquePtr<CopyCommandEncoder> CreateCopyCommandEncoder();
    void SetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) {
        DoSetDescriptorHeaps(textureHeap, samplerHeap);
    }
    /// The wait for the list calls `function`, before what the list keeps alive is released. A list that never runs
    /// calls nobody.
    void CallWhenFinished(std::function<void()> function);
    /// The recording is complete; called by the queue that executes it.
    void Close();

    const CommandLimits& GetLimits() const { return mLimits; }

protected:
    explicit CommandList(std::string name, const CommandLimits& limits = {})
        : ObjectWithName(std::move(name)), mLimits(limits) {}

    virtual UniquePtr<GraphicsCommandEncoder> DoCreateGraphicsCommandEncoder(
        const RenderPassDescription& description) = 0;
    virtual UniquePtr<ComputeCommandEncoder> DoCreateComputeCommandEncoder() = 0;
    virtual UniquePtr<CopyCommandEncoder> DoCreateCopyCommandEncoder() = 0;
    virtual void DoSetDescriptorHeaps(DescriptorHeap& textureHeap, DescriptorHeap* samplerHeap) = 0;
    virtual void DoClose() = 0;

    /// For back ends, once the list's work is done and before they release anything. Each function is called once.
    void RunFinishedCalls();

private:
    friend class CommandEncoder;
    void CheckNoEncoder() const;

    CommandLimits mLimits;
    std::vector<std::function<void()>> mFinishedCalls;
    bool mHasEncoder = false;
    bool mIsClosed = false;
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
    UniquePtr<CommandList> CreateCommandList(std::string name) { return DoCreateCommandList(std::move(name)); }
    /// Submits the list, which the event owns from then on. The caller owns the event.
    UniquePtr<CommandQueueCompletionEvent> Execute(UniquePtr<CommandList> commandList);

protected:
    virtual UniquePtr<CommandList> DoCreateCommandList(std::string name) = 0;
    /// The list is closed.
    virtual UniquePtr<CommandQueueCompletionEvent> DoExecute(UniquePtr<CommandList> commandList) = 0;
};

}  // namespace zeb::render
