#include <algorithm>
#include <cstring>
#include <limits>

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "PluginBase/PluginBaseCommon.h"
#include "PluginBaseCache.h"

namespace zeb {
namespace {

std::uint32_t GetChannelCount(PixelChannels channels) {
    switch (channels) {
        case PixelChannels::RGBA:
        case PixelChannels::ARGB: return 4;
        case PixelChannels::RGB: return 3;
        case PixelChannels::Alpha: return 1;
    }
    ZEB_THROW(kInternalError, "Unsupported output format");
}

std::uint32_t GetChannelBytes(ChannelFormat format) {
    return render::GetBytesPerPixel(PluginBaseCommon::GetRGBARenderFormat(format)) / 4;
}

/// The image as it is read back. Rows stand as close as the copy programs allow, which store whole
/// 32-bit words of up to four pixels; the host's own distance of rows need not be a multiple of that.
render::CopyFromTextureToBuffer::Layout GetReadBackLayout(const ImageInfo& image) {
    const std::uint64_t channelBytes = GetChannelBytes(image.mChannelFormat);
    const std::uint64_t pixelsPerStore = 4 / channelBytes;
    const auto width = static_cast<std::uint64_t>(image.mWidth);
    const auto height = static_cast<std::uint64_t>(image.mHeight);
    const std::uint64_t pitch = (width + pixelsPerStore - 1) / pixelsPerStore * pixelsPerStore *
                                GetChannelCount(image.mPixelChannels) * channelBytes;
    // The programs address the buffer by 32-bit byte addresses.
    if (pitch * height > std::numeric_limits<std::uint32_t>::max()) {
        ZEB_THROW(kInternalError, fmt::format("An image of {} by {} pixels is too large to be read back: {} bytes",
                                              width, height, pitch * height));
    }
    render::CopyFromTextureToBuffer::Layout layout;
    layout.mWidth = static_cast<std::uint32_t>(width);
    layout.mHeight = static_cast<std::uint32_t>(height);
    layout.mRowPitch = static_cast<std::uint32_t>(pitch);
    layout.mTotalSize = pitch * height;
    return layout;
}

/// Submits the transfer to read-back memory, waits, and writes the pixels, and nothing else, to the host.
void ReadBack(render::CommandQueue& queue, render::CopyFromTextureToBuffer& copyUtil,
              const render::CopyFromTextureToBuffer::Layout& layout, const ImageInfo& image) {
    render::Buffer& source = copyUtil.GetReadWriteBuffer();
    render::Buffer& readBack = copyUtil.GetReadbackBuffer();
    auto commandList = queue.CreateCommandList("ReadbackPixels");
    const auto encoder = commandList->CreateCopyCommandEncoder();
    encoder->BufferTransitionBarrier(source, render::BufferState::CopySource);
    encoder->CopyBuffer(readBack, 0, source, 0, layout.mTotalSize);
    encoder->End();
    queue.Execute(std::move(commandList))->Wait();

    const std::size_t rowSize = static_cast<std::size_t>(layout.mWidth) * GetChannelCount(image.mPixelChannels) *
                                GetChannelBytes(image.mChannelFormat);
    const std::byte* row = readBack.Map(0, layout.mTotalSize);
    auto* out = static_cast<std::byte*>(image.mData);
    for (std::uint32_t y = 0; y < layout.mHeight; ++y, row += layout.mRowPitch, out += image.mRowBytes)
        std::memcpy(out, row, rowSize);
    readBack.Unmap();
}

}  // namespace

void PluginBaseCommon::DrawTiledToOutput(render::Device& device, const DrawInfo& drawInfo, const ImageInfo& image) {
    const std::uint32_t width = drawInfo.mOutputWidth;
    const std::uint32_t height = drawInfo.mOutputHeight;
    if (std::int64_t{width} != image.mWidth || std::int64_t{height} != image.mHeight) {
        ZEB_THROW(kInternalError, fmt::format("A frame of {} by {} pixels does not fit an image of {} by {}", width,
                                              height, image.mWidth, image.mHeight));
    }
    const bool unmultiply = image.mPreMultiplication == PreMultiplication::UnPreMultiplied;
    const render::Format outputFormat = GetRGBARenderFormat(image.mChannelFormat);
    const render::Format pluginFormat = GetPluginRenderFormat(image.mPixelChannels, image.mChannelFormat);
    const auto layout = GetReadBackLayout(image);
    if (width == 0 || height == 0) return;

    const std::uint32_t tileSize = device.GetTileSize();
    PluginBaseCache& cache = PluginBaseCache::Get(device);
    render::Texture& output =
        cache.GetOutputTarget(outputFormat, std::min(width, tileSize), std::min(height, tileSize));
    render::CopyFromTextureToBuffer& copyUtil = cache.GetCopyUtil();
    copyUtil.SetLayout(layout);
    render::CommandQueue& queue = *device.GetThreadData().mCommandQueue;

    for (std::uint32_t x = 0; x < width; x += tileSize) {
        for (std::uint32_t y = 0; y < height; y += tileSize) {
            DrawInfo tile = drawInfo;
            tile.mPivotX += static_cast<std::int32_t>(x);
            tile.mPivotY += static_cast<std::int32_t>(y);
            tile.mOutputWidth = std::min(tileSize, width - x);
            tile.mOutputHeight = std::min(tileSize, height - y);
            auto commandList = DefaultMainDraw(device, tile, output, pluginFormat, unmultiply);
            copyUtil.Copy(*commandList, layout, image.mPixelChannels, image.mChannelFormat, x, y, output, 0, 0,
                          tile.mOutputWidth, tile.mOutputHeight, true, render::TextureState::RenderTarget);
            queue.Execute(std::move(commandList))->Wait();
        }
    }
    ReadBack(queue, copyUtil, layout, image);
}

UniquePtr<render::CommandList> PluginBaseCommon::DefaultMainDraw(render::Device& device, const DrawInfo& drawInfo,
                                                                 render::Texture& output, render::Format pluginFormat,
                                                                 bool unmultiply) {
    PluginBaseCache& cache = PluginBaseCache::Get(device);
    const bool needsConversion = unmultiply || pluginFormat != output.GetFormat();
    render::Texture& target =
        needsConversion ? cache.GetPluginTarget(pluginFormat, output.GetWidth(), output.GetHeight()) : output;

    UniquePtr<render::CommandList> commandList;
    Draw(commandList, device, drawInfo, target);
    if (commandList == nullptr) {
        render::ThreadData& threadData = device.GetThreadData();
        commandList = threadData.mCommandQueue->CreateCommandList("MainDraw");
        commandList->SetDescriptorHeaps(*threadData.mShaderResourceHeap, threadData.mSamplerHeap.get());
        device.CreateRenderTargetView(cache.GetClearRange(), 0, target);
        render::RenderPassDescription pass;
        pass.mColorAttachments.push_back({&target, &cache.GetClearRange(), 0, render::LoadOperation::Clear, {}});
        commandList->CreateGraphicsCommandEncoder(pass)->End();
    }
    if (!needsConversion) return commandList;

    device.CreateRenderTargetView(cache.GetConversionRange(), 0, output);
    cache.GetConversion(unmultiply)
        .Record(*commandList, target, output, cache.GetConversionRange(), drawInfo.mOutputWidth,
                drawInfo.mOutputHeight);
    return commandList;
}

}  // namespace zeb
