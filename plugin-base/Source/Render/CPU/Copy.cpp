#include "Render/CPU/Copy.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/HalfConversion.h"

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

void Copy(const TextureView& source, PixelChannels channels, ChannelFormat format, const CopyConstants& constants,
          std::uint32_t beginRow, std::uint32_t endRow, std::span<std::byte> destination) {
    const ChannelOrder order = GetOrder(channels);
    const std::uint32_t channelBytes = GetChannelBytes(format);
    const std::uint32_t bytesPerPixel = order.mCount * channelBytes;
    const std::uint32_t run = GetCopyPixelsPerThread(format);
    const std::uint32_t bottom = std::min(endRow, constants.mSize.y);
    for (std::uint32_t y = beginRow; y < bottom; ++y) {
        const std::uint64_t rowBase =
            (static_cast<std::uint64_t>(constants.mDestinationOffset.y) + y) * constants.mRowPitch;
        for (std::uint32_t x = 0; x < constants.mSize.x; x += run) {
            std::byte words[16] = {};
            const std::uint32_t pixels = std::min(run, constants.mSize.x - x);
            std::byte* next = words;
            for (std::uint32_t pixel = 0; pixel < pixels; ++pixel) {
                const glm::vec4 texel = source.Load(static_cast<std::int64_t>(constants.mSourceOffset.x) + x + pixel,
                                                    static_cast<std::int64_t>(constants.mSourceOffset.y) + y);
                for (std::uint32_t channel = 0; channel < order.mCount; ++channel) {
                    float value = texel[order.mComponents[channel]];
                    if (ReadsHalves(format)) value = HalfToFloat(FloatToHalf(value));
                    const std::uint32_t bits = ConvertChannel(format, value);
                    std::memcpy(next, &bits, channelBytes);
                    next += channelBytes;
                }
            }
            const std::uint64_t address =
                rowBase + (static_cast<std::uint64_t>(constants.mDestinationOffset.x) + x) * bytesPerPixel;
            const std::uint32_t stored = GetStoredWords(channels, format, pixels);
            for (std::uint32_t word = 0; word < stored; ++word) {
                if (address + 4 * word + 4 > destination.size()) break;
                std::memcpy(destination.data() + address + 4 * word, words + 4 * word, 4);
            }
        }
    }
}

}  // namespace zeb::render::cpu
