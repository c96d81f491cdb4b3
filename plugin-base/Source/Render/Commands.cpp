// Command lists, queues and copies: what is checked before a back end records or submits.
#include "PluginBase/Render/Commands.h"

#include <algorithm>
#include <utility>

#include "RenderFailure.h"

namespace zeb::render {
namespace {

void CheckAttachment(const ColorAttachment& attachment, const Texture& first, const std::string& list) {
    if (attachment.mTexture == nullptr || attachment.mRange == nullptr)
        ZEB_RENDER_THROW("A colour attachment of the command list \"{}\" has no texture or no view", list);
    attachment.mRange->Check(attachment.mIndex, 1, DescriptorHeapType::RenderTargets);
    const Texture& texture = *attachment.mTexture;
    if (texture.GetWidth() != first.GetWidth() || texture.GetHeight() != first.GetHeight())
        ZEB_RENDER_THROW("The texture \"{}\" differs in size from the pass's other targets", texture.GetName());
}

void CheckPass(const RenderPassDescription& description, const std::string& list) {
    const auto& attachments = description.mColorAttachments;
    if (attachments.empty() || attachments.size() > kMaxRenderTargets) {
        ZEB_RENDER_THROW(
            "A render pass of the command list \"{}\" has {} colour attachments: "
            "*renderPassDesc.mColorAttachments",
            list, attachments.size());
    }
    if (description.mDepthTarget != nullptr) {
        ZEB_RENDER_THROW(
            "A render pass of the command list \"{}\" has a depth target, which this device does not draw to", list);
    }
    for (const ColorAttachment& attachment : attachments) {
        const Texture* first = attachments.front().mTexture;
        CheckAttachment(attachment, first != nullptr ? *first : *attachment.mTexture, list);
    }
}

void CheckBufferRange(const Buffer& buffer, std::uint64_t offset, std::uint64_t size) {
    if (offset <= buffer.GetSizeInBytes() && size <= buffer.GetSizeInBytes() - offset) return;
    ZEB_RENDER_THROW("A copy of {} bytes at {} lies outside the buffer \"{}\" of {} bytes", size, offset,
                     buffer.GetName(), buffer.GetSizeInBytes());
}

// The copy between a texture's rectangle and rows in a buffer, checked against both.
TextureBufferCopy MakeCopy(const Texture& texture, const TextureRegion& region, const Buffer& buffer,
                           std::uint64_t bufferOffset, std::uint64_t rowPitch) {
    const TextureDescription& description = texture.GetDescription();
    const auto fits = [&](std::uint32_t at, std::uint32_t length, std::uint32_t whole) {
        const std::uint32_t size = std::max(whole >> std::min(region.mMipLevel, 31U), 1U);
        return length > 0 && at <= size && length <= size - at;
    };
    if (region.mMipLevel >= description.mMipLevels || region.mArrayIndex >= description.mArraySize ||
        !fits(region.mX, region.mWidth, description.mWidth) || !fits(region.mY, region.mHeight, description.mHeight)) {
        ZEB_RENDER_THROW(
            "A copy of {} x {} at ({}, {}), level {}, layer {}, lies outside the texture \"{}\" of {} x {}",
            region.mWidth, region.mHeight, region.mX, region.mY, region.mMipLevel, region.mArrayIndex,
            texture.GetName(), description.mWidth, description.mHeight);
    }
    const std::uint64_t texel = GetBytesPerPixel(description.mFormat);
    const std::uint64_t rowSize = texel * region.mWidth;
    if (bufferOffset % texel != 0 || rowPitch % texel != 0 || rowPitch < rowSize || rowPitch / texel > UINT32_MAX) {
        ZEB_RENDER_THROW("Rows of {} bytes at offset {} with a pitch of {} bytes do not fit the texture \"{}\"",
                         rowSize, bufferOffset, rowPitch, texture.GetName());
    }
    CheckBufferRange(buffer, bufferOffset, rowPitch * (region.mHeight - 1) + rowSize);
    return {region, bufferOffset, rowPitch};
}

TextureRegion GetWhole(const Texture& texture) { return {0, 0, texture.GetWidth(), texture.GetHeight(), 0, 0}; }

std::uint64_t GetTightPitch(const Texture& texture) {
    return std::uint64_t{texture.GetWidth()} * GetBytesPerPixel(texture.GetFormat());
}

}  // namespace

void CopyCommandEncoder::CopyToTextureFromBuffer(Texture& destination, const TextureRegion& region, Buffer& source,
                                                 std::uint64_t bufferOffset, std::uint64_t rowPitch) {
    CheckOpen();
    DoCopyToTexture(destination, source, MakeCopy(destination, region, source, bufferOffset, rowPitch));
}

void CopyCommandEncoder::CopyToTextureFromBuffer(Texture& destination, Buffer& source) {
    CopyToTextureFromBuffer(destination, GetWhole(destination), source, 0, GetTightPitch(destination));
}

void CopyCommandEncoder::CopyToBufferFromTexture(Buffer& destination, std::uint64_t bufferOffset,
                                                 std::uint64_t rowPitch, Texture& source, const TextureRegion& region) {
    CheckOpen();
    DoCopyToBuffer(destination, source, MakeCopy(source, region, destination, bufferOffset, rowPitch));
}

void CopyCommandEncoder::CopyToBufferFromTexture(Buffer& destination, Texture& source) {
    CopyToBufferFromTexture(destination, 0, GetTightPitch(source), source, GetWhole(source));
}

void CopyCommandEncoder::CopyTexture(Texture& destination, Texture& source) {
    CheckOpen();
    const TextureDescription& a = destination.GetDescription();
    const TextureDescription& b = source.GetDescription();
    if (&destination == &source || a.mFormat != b.mFormat || a.mWidth != b.mWidth || a.mHeight != b.mHeight ||
        a.mArraySize != b.mArraySize || a.mMipLevels != b.mMipLevels) {
        ZEB_RENDER_THROW("The texture \"{}\" cannot be copied to \"{}\": they differ in format or size, or are one",
                         source.GetName(), destination.GetName());
    }
    DoCopyTexture(destination, source);
}

void CopyCommandEncoder::CopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source,
                                    std::uint64_t sourceOffset, std::uint64_t sizeInBytes) {
    CheckOpen();
    CheckBufferRange(destination, destinationOffset, sizeInBytes);
    CheckBufferRange(source, sourceOffset, sizeInBytes);
    if (&destination == &source && sourceOffset < destinationOffset + sizeInBytes &&
        destinationOffset < sourceOffset + sizeInBytes) {
        ZEB_RENDER_THROW("A copy of {} bytes within the buffer \"{}\" overlaps itself", sizeInBytes,
                         destination.GetName());
    }
    if (sizeInBytes != 0) DoCopyBuffer(destination, destinationOffset, source, sourceOffset, sizeInBytes);
}

void CommandList::CheckNoEncoder() const {
    if (mIsClosed) ZEB_RENDER_THROW("The command list \"{}\" is closed", GetName());
    if (mHasEncoder) ZEB_RENDER_THROW("The command list \"{}\" has an open encoder already", GetName());
}

UniquePtr<GraphicsCommandEncoder> CommandList::CreateGraphicsCommandEncoder(const RenderPassDescription& description) {
    CheckNoEncoder();
    CheckPass(description, GetName());
    return DoCreateGraphicsCommandEncoder(description);
}

UniquePtr<ComputeCommandEncoder> CommandList::CreateComputeCommandEncoder() {
    CheckNoEncoder();
    return DoCreateComputeCommandEncoder();
}

UniquePtr<CopyCommandEncoder> CommandList::CreateCopyCommandEncoder() {
    CheckNoEncoder();
    return DoCreateCopyCommandEncoder();
}

void CommandList::CallWhenFinished(std::function<void()> function) {
    if (mIsClosed) ZEB_RENDER_THROW("The command list \"{}\" is closed", GetName());
    mFinishedCalls.push_back(std::move(function));
}

void CommandList::RunFinishedCalls() {
    for (const std::function<void()>& call : std::exchange(mFinishedCalls, {})) call();
}

void CommandList::Close() {
    if (mHasEncoder) ZEB_RENDER_THROW("The command list \"{}\" still has an open encoder", GetName());
    if (mIsClosed) ZEB_RENDER_THROW("The command list \"{}\" was executed already", GetName());
    mIsClosed = true;
    DoClose();
}

UniquePtr<CommandQueueCompletionEvent> CommandQueue::Execute(UniquePtr<CommandList> commandList) {
    if (!commandList) ZEB_RENDER_THROW("Failed to execute a command list on the queue \"{}\": commandList", GetName());
    commandList->Close();
    return DoExecute(std::move(commandList));
}

}  // namespace zeb::render
