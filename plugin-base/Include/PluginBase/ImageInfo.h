#pragma once

#include <cstdint>

/// The host's output world without host types.
namespace zeb {

/// Order and count of a pixel's channels in memory.
enum class PixelChannels : std::uint32_t { RGBA = 0, RGB = 1, Alpha = 2, ARGB = 3 };
/// Depth of a channel. I16 is the host's 16-bit form, white at 32768.
enum class ChannelFormat : std::uint32_t { U8 = 0, U16 = 1, I16 = 2, F16 = 3, F32 = 4 };
enum class PreMultiplication : std::uint32_t { Opaque = 0, PreMultiplied = 1, UnPreMultiplied = 2 };

struct ImageInfo {
    std::int32_t mOriginX = 0;  ///< layer coordinate of the first pixel, in pixels of the render
    std::int32_t mOriginY = 0;
    std::int32_t mWidth = 0;
    std::int32_t mHeight = 0;
    std::int32_t mRowBytes = 0;  ///< bytes from one row to the next; may exceed the pixels' bytes
    PixelChannels mPixelChannels = PixelChannels::ARGB;
    ChannelFormat mChannelFormat = ChannelFormat::U8;
    PreMultiplication mPreMultiplication = PreMultiplication::UnPreMultiplied;
    void* mData = nullptr;  ///< first pixel; owned by the host
};

}  // namespace zeb
