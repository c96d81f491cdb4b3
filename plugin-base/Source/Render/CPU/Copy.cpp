#include "Render/CPU/Copy.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/HalfConversion.h"
#include "Render/CPU/RowConversion.h"

namespace zeb::render::cpu {
namespace {

/// Components of a pixel in memory order, as indices into red, green, blue, alpha.
struct ChannelOrder {
    std::uint32_t mCount;
    int mComponents[4];
};

ChannelOrder GetOrder(PixelChannels channels) {
    switch (channels) {
        case PixelChannels::RGBA: return {4, {0, 1, 2, 3}};
        case PixelChannels::RGB: return {3, {0, 1, 2}};
        case PixelChannels::Alpha: return {1, {3}};
        case PixelChannels::ARGB: return {4, {3, 0, 1, 2}};
    }
    ZEB_THROW(kInternalError, fmt::format("Unknown PixelChannels of {}", static_cast<std::uint32_t>(channels)));
}

std::uint32_t GetChannelBytes(ChannelFormat format) {
    switch (format) {
        case ChannelFormat::U8: return 1;
        case ChannelFormat::U16:
        case ChannelFormat::I16:
        case ChannelFormat::F16: return 2;
        case ChannelFormat::F32: return 4;
    }
    ZEB_THROW(kInternalError, fmt::format("Unknown ChannelFormat of {}", static_cast<std::uint32_t>(format)));
}

/// Programs of these depths read the texture as halves.
bool ReadsHalves(ChannelFormat format) { return format == ChannelFormat::U8 || format == ChannelFormat::F16; }

/// Words that a thread stores when `pixels` of its run lie inside the row.
std::uint32_t GetStoredWords(PixelChannels channels, ChannelFormat format, std::uint32_t pixels) {
    const std::uint32_t channelBytes = GetChannelBytes(format);
    const std::uint32_t bytes = pixels * GetOrder(channels).mCount * channelBytes;
    // The lone last pixel of 16-bit RGB is one word, its blue is not stored.
    if (channels == PixelChannels::RGB && channelBytes == 2 && pixels == 1) return 1;
    return (bytes + 3) / 4;
}

}  // namespace

std::uint32_t GetCopyPixelsPerThread(ChannelFormat format) { return 4 / GetChannelBytes(format); }

std::uint32_t ConvertChannel(ChannelFormat format, float value) {
    const auto scale = [value](float steps) { return ToUint(Min(Max(value * steps + 0.5F, 0.0F), steps)); };
    switch (format) {
        case ChannelFormat::U8: return scale(255.0F);
        case ChannelFormat::U16: return scale(65535.0F);
        case ChannelFormat::I16: return scale(32767.0F);
        case ChannelFormat::F16: return FloatToHalf(value);
        case ChannelFormat::F32: return FloatBits(value);
    }
    ZEB_THROW(kInternalError, fmt::format("Unknown ChannelFormat of {}", static_cast<std::uint32_t>(format)));
}

namespace {

/// What stays the same over the rows of one copy.
struct RowCopier {
    RowCopier(const TextureView& source, PixelChannels channels, ChannelFormat format, const CopyConstants& constants,
              std::span<std::byte> destination)
        : mSource(source),
          mFormat(format),
          mConstants(constants),
          mDestination(destination),
          mOrder(GetOrder(channels)),
          mChannels(channels),
          mChannelBytes(GetChannelBytes(format)),
          mPixelBytes(mOrder.mCount * mChannelBytes),
          mRun(GetCopyPixelsPerThread(format)) {}

    std::uint64_t GetAddress(std::uint32_t x, std::uint32_t y) const {
        return (std::uint64_t{mConstants.mDestinationOffset.y} + y) * mConstants.mRowPitch +
               (std::uint64_t{mConstants.mDestinationOffset.x} + x) * mPixelBytes;
    }

    std::uint32_t CopyWholeRuns(std::uint32_t y) const;
    void CopyRun(std::uint32_t x, std::uint32_t y) const;
    void Pick(const std::byte* rgba, std::size_t count, std::byte* destination) const;

    const TextureView& mSource;
    ChannelFormat mFormat;
    const CopyConstants& mConstants;
    std::span<std::byte> mDestination;
    ChannelOrder mOrder;
    PixelChannels mChannels;
    std::uint32_t mChannelBytes;
    std::uint32_t mPixelBytes;
    std::uint32_t mRun;
};

/// Some of the four channels of each pixel.
template <class Channel, std::size_t kCount>
void PickChannels(const std::byte* rgba, const int* components, std::size_t count, std::byte* destination) {
    for (std::size_t pixel = 0; pixel < count; ++pixel) {
        Channel from[4];
        Channel to[kCount];
        std::memcpy(from, rgba + pixel * sizeof from, sizeof from);
        for (std::size_t i = 0; i < kCount; ++i) to[i] = from[components[i]];
        std::memcpy(destination + pixel * sizeof to, to, sizeof to);
    }
}

template <class Channel>
void PickChannels(const std::byte* rgba, const ChannelOrder& order, std::size_t count, std::byte* destination) {
    if (order.mCount == 1)
        PickChannels<Channel, 1>(rgba, order.mComponents, count, destination);
    else
        PickChannels<Channel, 3>(rgba, order.mComponents, count, destination);
}

void RowCopier::Pick(const std::byte* rgba, std::size_t count, std::byte* destination) const {
    switch (mChannelBytes) {
        case 1: PickChannels<std::uint8_t>(rgba, mOrder, count, destination); break;
        case 2: PickChannels<std::uint16_t>(rgba, mOrder, count, destination); break;
        default: PickChannels<std::uint32_t>(rgba, mOrder, count, destination); break;
    }
}

/// The part of a row that fills whole words, where it lies inside the texture and the destination; returns how many
/// pixels that were.
std::uint32_t RowCopier::CopyWholeRuns(std::uint32_t y) const {
    constexpr std::size_t kBlock = 512;
    const std::uint64_t sourceX = mConstants.mSourceOffset.x;
    const std::uint64_t sourceY = std::uint64_t{mConstants.mSourceOffset.y} + y;
    const std::uint32_t pixels = mConstants.mSize.x / mRun * mRun;
    const std::uint64_t address = GetAddress(0, y);
    if (sourceY >= mSource.mHeight || sourceX + pixels > mSource.mWidth) return 0;
    if (address + std::uint64_t{pixels} * mPixelBytes > mDestination.size() || address % 4 != 0) return 0;
    const std::uint64_t texelBytes = GetBytesPerPixel(mSource.mFormat);
    const std::byte* const row = mSource.mData + (sourceY * mSource.mWidth + sourceX) * texelBytes;
    alignas(64) float rgba[4 * kBlock];
    alignas(64) std::byte converted[sizeof rgba];
    for (std::uint32_t x = 0; x < pixels; x += kBlock) {
        const std::size_t count = std::min<std::size_t>(kBlock, pixels - x);
        std::byte* const place = mDestination.data() + address + std::uint64_t{x} * mPixelBytes;
        DecodeRow(mSource.mFormat, row + x * texelBytes, count, rgba);
        if (ReadsHalves(mFormat)) RoundRowToHalves(rgba, 4 * count);
        if (mChannels == PixelChannels::ARGB) MoveAlphaFirst(rgba, count);
        ConvertChannels(mFormat, rgba, 4 * count, mOrder.mCount == 4 ? place : converted);
        if (mOrder.mCount != 4) Pick(converted, count, place);
    }
    return pixels;
}

void RowCopier::CopyRun(std::uint32_t x, std::uint32_t y) const {
    std::byte words[16] = {};
    const std::uint32_t pixels = std::min(mRun, mConstants.mSize.x - x);
    std::byte* next = words;
    for (std::uint32_t pixel = 0; pixel < pixels; ++pixel) {
        const glm::vec4 texel = mSource.Load(static_cast<std::int64_t>(mConstants.mSourceOffset.x) + x + pixel,
                                             static_cast<std::int64_t>(mConstants.mSourceOffset.y) + y);
        for (std::uint32_t channel = 0; channel < mOrder.mCount; ++channel) {
            float value = texel[mOrder.mComponents[channel]];
            if (ReadsHalves(mFormat)) value = HalfToFloat(FloatToHalf(value));
            const std::uint32_t bits = ConvertChannel(mFormat, value);
            std::memcpy(next, &bits, mChannelBytes);
            next += mChannelBytes;
        }
    }
    const std::uint64_t address = GetAddress(x, y);
    const std::uint32_t stored = GetStoredWords(mChannels, mFormat, pixels);
    for (std::uint32_t word = 0; word < stored; ++word) {
        if (address + 4 * word + 4 > mDestination.size()) break;
        std::memcpy(mDestination.data() + address + 4 * word, words + 4 * word, 4);
    }
}

}  // namespace

void Copy(const TextureView& source, PixelChannels channels, ChannelFormat format, const CopyConstants& constants,
          std::uint32_t beginRow, std::uint32_t endRow, std::span<std::byte> destination) {
    const RowCopier copier(source, channels, format, constants, destination);
    const std::uint32_t bottom = std::min(endRow, constants.mSize.y);
    for (std::uint32_t y = beginRow; y < bottom; ++y) {
        for (std::uint32_t x = copier.CopyWholeRuns(y); x < constants.mSize.x; x += copier.mRun) copier.CopyRun(x, y);
    }
}

}  // namespace zeb::render::cpu
