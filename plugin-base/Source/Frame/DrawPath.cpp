#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

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

using Layout = render::CopyFromTextureToBuffer::Layout;

/// A rectangle of the image, in pixels.
struct Area {
    std::uint32_t mX, mY, mWidth, mHeight;
};

/// A part of the image as it is read back. Rows stand as close as the copy programs allow, which store whole
/// 32-bit words of up to four pixels; the host's own distance of rows need not be a multiple of that.
Layout GetReadBackLayout(const ImageInfo& image, std::uint64_t width, std::uint64_t height) {
    const std::uint64_t channelBytes = GetChannelBytes(image.mChannelFormat);
    const std::uint64_t pixelsPerStore = 4 / channelBytes;
    const std::uint64_t pitch = (width + pixelsPerStore - 1) / pixelsPerStore * pixelsPerStore *
                                GetChannelCount(image.mPixelChannels) * channelBytes;
    return {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), static_cast<std::uint32_t>(pitch),
            pitch * height};
}

std::size_t GetPixelBytes(const ImageInfo& image) {
    return std::size_t{GetChannelCount(image.mPixelChannels)} * GetChannelBytes(image.mChannelFormat);
}

/// Largest buffer that a frame is read back through at once. All devices beyond the smallest give as much; more would
/// only take more memory.
std::uint64_t GetBufferLimit(const render::Device& device) {
    constexpr std::uint64_t kMost = std::uint64_t{1} << 30;
    return std::min({kMost, device.GetStorageRange(), device.GetMemoryLimit()});
}

/// Strips are smaller, so that memory goes to the frame and not to them.
std::uint64_t GetStripLimit(const render::Device& device) {
    return std::min(std::uint64_t{1} << 27, GetBufferLimit(device));
}

/// Brings a finished frame from its tiles to the host. What the device can read back at once goes through one buffer at
/// the end. A larger frame goes tile by tile and strip by strip through a smaller one, into memory of the
/// process: the host's is written when nothing can fail any more.
class FrameReadBack {
public:
    FrameReadBack(render::Device& device, render::CopyFromTextureToBuffer& copyUtil, const ImageInfo& image,
                  std::uint32_t tileWidth)
        : mThreadData(device.GetThreadData()),
          mQueue(*mThreadData.mCommandQueue),
          mCopyUtil(copyUtil),
          mImage(image),
          mLayout(GetReadBackLayout(image, static_cast<std::uint64_t>(image.mWidth),
                                    static_cast<std::uint64_t>(image.mHeight))) {
        if (mLayout.mTotalSize > GetBufferLimit(device)) {
            const std::uint64_t pitch = GetReadBackLayout(image, tileWidth, 1).mRowPitch;
            mStripHeight = static_cast<std::uint32_t>(
                std::clamp<std::uint64_t>(GetStripLimit(device) / pitch, 1, mLayout.mHeight));
            mPixels.resize(GetPixelBytes(image) * mLayout.mWidth * mLayout.mHeight);
            mCopyUtil.SetLayout(GetReadBackLayout(image, tileWidth, mStripHeight));
        } else {
            mCopyUtil.SetLayout(mLayout);
        }
    }

    /// Executes the list that draws a tile, and takes the tile's pixels out of `output`.
    void TakeTile(UniquePtr<render::CommandList> drawing, const Area& tile, render::Texture& output) {
        if (mStripHeight == 0) {
            Copy(*drawing, mLayout, tile, 0, tile.mHeight, output, tile.mX, tile.mY);
            mQueue.Execute(std::move(drawing))->Wait();
            return;
        }
        mQueue.Execute(std::move(drawing))->Wait();
        for (std::uint32_t y = 0; y < tile.mHeight; y += mStripHeight) {
            const std::uint32_t height = std::min(mStripHeight, tile.mHeight - y);
            const Layout layout = GetReadBackLayout(mImage, tile.mWidth, height);
            auto commandList = mQueue.CreateCommandList("CopyStrip");
            commandList->SetDescriptorHeaps(*mThreadData.mShaderResourceHeap, mThreadData.mSamplerHeap.get());
            Copy(*commandList, layout, tile, y, height, output, 0, 0);
            mQueue.Execute(std::move(commandList))->Wait();
            const std::size_t rowBytes = GetPixelBytes(mImage) * mLayout.mWidth;
            Read(layout, mPixels.data() + rowBytes * (tile.mY + y) + GetPixelBytes(mImage) * tile.mX,
                 static_cast<std::ptrdiff_t>(rowBytes));
        }
    }

    /// Writes the pixels, and nothing else, to the host.
    void Finish() {
        auto* const out = static_cast<std::byte*>(mImage.mData);
        if (mStripHeight == 0)
            Read(mLayout, out, mImage.mRowBytes);
        else
            CopyRows(mPixels.data(), GetPixelBytes(mImage) * mLayout.mWidth, mLayout, out, mImage.mRowBytes);
    }

private:
    void Copy(render::CommandList& commandList, const Layout& layout, const Area& tile, std::uint32_t y,
              std::uint32_t height, render::Texture& output, std::uint32_t toX, std::uint32_t toY) {
        mCopyUtil.Copy(commandList, layout, mImage.mPixelChannels, mImage.mChannelFormat, toX, toY, output, 0, y,
                       tile.mWidth, height, true, render::TextureState::RenderTarget);
    }

    void CopyRows(const std::byte* from, std::size_t pitch, const Layout& layout, std::byte* out,
                  std::ptrdiff_t rowBytes) const {
        for (std::uint32_t y = 0; y < layout.mHeight; ++y, from += pitch, out += rowBytes)
            std::memcpy(out, from, GetPixelBytes(mImage) * layout.mWidth);
    }

    /// Submits the transfer to read-back memory, waits, and writes the rows to `out`.
    void Read(const Layout& layout, std::byte* out, std::ptrdiff_t rowBytes) {
        render::Buffer& source = mCopyUtil.GetReadWriteBuffer();
        render::Buffer& readBack = mCopyUtil.GetReadbackBuffer();
        auto commandList = mQueue.CreateCommandList("ReadbackPixels");
        const auto encoder = commandList->CreateCopyCommandEncoder();
        encoder->BufferTransitionBarrier(source, render::BufferState::CopySource);
        encoder->CopyBuffer(readBack, 0, source, 0, layout.mTotalSize);
        encoder->End();
        mQueue.Execute(std::move(commandList))->Wait();
        CopyRows(readBack.Map(0, layout.mTotalSize), layout.mRowPitch, layout, out, rowBytes);
        readBack.Unmap();
    }

    render::ThreadData& mThreadData;
    render::CommandQueue& mQueue;
    render::CopyFromTextureToBuffer& mCopyUtil;
    const ImageInfo& mImage;
    Layout mLayout;                  ///< of the whole image
    std::uint32_t mStripHeight = 0;  ///< 0: the image is read back at once
    std::vector<std::byte> mPixels;  ///< of all strips, rows without gaps
};

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
    GetChannelCount(image.mPixelChannels);  // throws for channels that are none
    if (width == 0 || height == 0) return;

    const std::uint32_t tileWidth = std::min(width, device.GetTileSize());
    const std::uint64_t rowBytes = std::uint64_t{tileWidth} * std::max(render::GetBytesPerPixel(outputFormat),
                                                                       render::GetBytesPerPixel(pluginFormat));
    const auto tileHeight = static_cast<std::uint32_t>(
        std::clamp<std::uint64_t>(device.GetMemoryLimit() / rowBytes, 1, std::min(height, device.GetTileSize())));
    PluginBaseCache& cache = PluginBaseCache::Get(device);
    render::Texture& output = cache.GetOutputTarget(outputFormat, tileWidth, tileHeight);
    FrameReadBack readBack(device, cache.GetCopyUtil(), image, tileWidth);

    for (std::uint32_t x = 0; x < width; x += tileWidth) {
        for (std::uint32_t y = 0; y < height; y += tileHeight) {
            DrawInfo tile = drawInfo;
            tile.mPivotX += static_cast<std::int32_t>(x);
            tile.mPivotY += static_cast<std::int32_t>(y);
            tile.mOutputWidth = std::min(tileWidth, width - x);
            tile.mOutputHeight = std::min(tileHeight, height - y);
            readBack.TakeTile(DefaultMainDraw(device, tile, output, pluginFormat, unmultiply),
                              {x, y, tile.mOutputWidth, tile.mOutputHeight}, output);
        }
    }
    readBack.Finish();
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
