#include "PluginBase/RenderUtils/CopyFromTextureToBuffer.h"

#include <array>
#include <cstring>
#include <utility>

#include <fmt/format.h>

#include "PluginBase/Exception.h"

namespace zeb::render {
namespace {

// By ChannelFormat and by PixelChannels.
constexpr std::array kChannelFormatNames = {"U8", "U16", "I16", "F16", "F32"};
constexpr std::array<std::uint32_t, kChannelFormatNames.size()> kGroupWidths = {2, 4, 4, 4, 8};
constexpr std::array kPixelChannelsNames = {"RGBA", "RGB", "Alpha", "ARGB"};
constexpr std::uint32_t kGroupHeight = 8;
constexpr std::uint64_t kConstantsSize = 256;

std::size_t CheckedIndex(ChannelFormat format) {
    const auto index = static_cast<std::size_t>(format);
    if (index >= kChannelFormatNames.size())
        ZEB_THROW(kInternalError, fmt::format("Unknown ChannelFormat of {}", index));
    return index;
}

std::size_t CheckedIndex(PixelChannels channels) {
    const auto index = static_cast<std::size_t>(channels);
    if (index >= kPixelChannelsNames.size())
        ZEB_THROW(kInternalError, fmt::format("Unknown PixelChannels of {}", index));
    return index;
}

// Parameters of the root signature that all programs share.
enum Parameter : std::uint32_t { kConstants, kTexture, kOutput };

}  // namespace

CopyFromTextureToBuffer::CopyFromTextureToBuffer(Device& device, std::string name)
    : mDevice(device),
      mName(std::move(name)),
      mRootSignature(device.CreateRootSignature(mName)),
      mTextureRange(device.GetThreadData().mShaderResourceHeap->AllocateRange(1)),
      mConstantsBuffer(device.CreateBuffer(mName + "Constants", kConstantsSize, MemoryKind::Upload,
                                           BufferState::GenericRead, BufferUsage::None)) {
    mRootSignature->AddRootConstantBufferView(0);
    mRootSignature->AddDescriptorTable({{DescriptorRangeType::Texture, 1, 0}});
    mRootSignature->AddRootUnorderedAccessBufferView(1);
}

void CopyFromTextureToBuffer::SetLayout(const Layout& layout) {
    if (mReadWriteBuffer && mRoom.IsTooLarge(mReadWriteBuffer->GetSizeInBytes(), layout.mTotalSize)) {
        mReadWriteBuffer.reset();
        mReadbackBuffer.reset();
    }
    // An old one goes before the new one is made: both at once might not fit.
    if (!mReadWriteBuffer || mReadWriteBuffer->GetSizeInBytes() < layout.mTotalSize) {
        mReadWriteBuffer.reset();
        mReadWriteBuffer = mDevice.CreateBuffer(mName + "RW", layout.mTotalSize, MemoryKind::Default,
                                                BufferState::Common, BufferUsage::UnorderedAccess);
    }
    if (!mReadbackBuffer || mReadbackBuffer->GetSizeInBytes() < layout.mTotalSize) {
        mReadbackBuffer.reset();
        mReadbackBuffer = mDevice.CreateBuffer(mName + "Readback", layout.mTotalSize, MemoryKind::Readback,
                                               BufferState::CopyDestination, BufferUsage::DenyShaderResource);
    }
}

ComputePipelineState& CopyFromTextureToBuffer::GetPipelineState(PixelChannels pixelChannels,
                                                                ChannelFormat channelFormat) {
    const std::string name = fmt::format("Copy{}{}", kChannelFormatNames[CheckedIndex(channelFormat)],
                                         kPixelChannelsNames[CheckedIndex(pixelChannels)]);
    const std::uint32_t key =
        (static_cast<std::uint32_t>(channelFormat) << 16) | static_cast<std::uint32_t>(pixelChannels);
    const auto found = mPrograms.find(key);
    if (found != mPrograms.end()) return *found->second.mPipelineState;
    Program program;
    program.mLibrary = mDevice.CreateShaderLibraryFromEmbeddedData(name);
    program.mShader = program.mLibrary->GetShader(ShaderType::Compute);
    program.mPipelineState = mDevice.CreateComputePipelineState(name, {mRootSignature.get(), program.mShader.get()});
    return *mPrograms.emplace(key, std::move(program)).first->second.mPipelineState;
}

void CopyFromTextureToBuffer::Copy(CommandList& commandList, const Layout& layout, PixelChannels pixelChannels,
                                   ChannelFormat channelFormat, std::uint32_t dstX, std::uint32_t dstY,
                                   Texture& texture, std::uint32_t srcX, std::uint32_t srcY, std::uint32_t width,
                                   std::uint32_t height, bool restoreState, TextureState state) {
    const auto encoder = commandList.CreateComputeCommandEncoder();
    encoder->TextureTransitionBarrier(texture, TextureState::ShaderRead);
    encoder->BufferTransitionBarrier(*mReadWriteBuffer, BufferState::UnorderedAccess);
    ComputePipelineState& pipelineState = GetPipelineState(pixelChannels, channelFormat);

    const std::uint32_t constants[] = {width, height, srcX, srcY, dstX, dstY, layout.mRowPitch};
    std::memcpy(mConstantsBuffer->Map(0, 0), constants, sizeof(constants));
    mConstantsBuffer->Unmap();

    encoder->SetRootSignature(*mRootSignature);
    encoder->SetPipelineState(pipelineState);
    encoder->SetRootConstantBufferView(kConstants, *mConstantsBuffer, 0);
    mDevice.CreateTextureView(*mTextureRange, 0, texture);
    encoder->SetRootDescriptorTable(kTexture, *mTextureRange, 0);
    encoder->SetRootUnorderedAccessBufferView(kOutput, *mReadWriteBuffer, 0);
    // The count in x is by threads, not by pixels: narrow formats get more groups than they need, which end at once.
    const std::uint32_t groupWidth = kGroupWidths[CheckedIndex(channelFormat)];
    encoder->Dispatch((width - 1 + groupWidth) / groupWidth, (height + kGroupHeight - 1) / kGroupHeight, 1, groupWidth,
                      kGroupHeight, 1);
    if (restoreState) encoder->TextureTransitionBarrier(texture, state);
    encoder->End();
}

}  // namespace zeb::render
