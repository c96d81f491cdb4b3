#include "Render/CPU/Image.h"

#include <cstring>

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/HalfConversion.h"

namespace zeb::render::cpu {
namespace {

/// The nearest of the steps 0 to `steps`.
template <class Channel>
Channel Normalise(float value, float steps) {
    return static_cast<Channel>(ToUint(Saturate(value) * steps + 0.5F));
}

template <class Channel, class Convert>
glm::vec4 DecodeChannels(const std::byte* source, Convert convert) {
    Channel channels[4];
    std::memcpy(channels, source, sizeof channels);
    return {convert(channels[0]), convert(channels[1]), convert(channels[2]), convert(channels[3])};
}

template <class Channel, class Convert>
void EncodeChannels(const glm::vec4& color, std::byte* destination, Convert convert) {
    const Channel channels[4] = {convert(color.x), convert(color.y), convert(color.z), convert(color.w)};
    std::memcpy(destination, channels, sizeof channels);
}

}  // namespace

glm::vec4 DecodeTexel(Format format, const std::byte* source) {
    switch (format) {
        case Format::RGBA32Float: return DecodeChannels<float>(source, [](float c) { return c; });
        case Format::RGBA16Float: return DecodeChannels<std::uint16_t>(source, HalfToFloat);
        case Format::RGBA16Unorm:
            return DecodeChannels<std::uint16_t>(source, [](auto c) { return static_cast<float>(c) / 65535.0F; });
        case Format::RGBA8Unorm:
            return DecodeChannels<std::uint8_t>(source, [](auto c) { return static_cast<float>(c) / 255.0F; });
        case Format::R32Float: {
            float red = 0.0F;
            std::memcpy(&red, source, sizeof red);
            return {red, 0.0F, 0.0F, 1.0F};
        }
        default: return glm::vec4(0.0F);
    }
}

void EncodeTexel(Format format, const glm::vec4& color, std::byte* destination) {
    switch (format) {
        case Format::RGBA32Float: std::memcpy(destination, &color, sizeof color); break;
        case Format::RGBA16Float: EncodeChannels<std::uint16_t>(color, destination, FloatToHalf); break;
        case Format::RGBA16Unorm:
            EncodeChannels<std::uint16_t>(color, destination,
                                          [](float c) { return Normalise<std::uint16_t>(c, 65535.0F); });
            break;
        case Format::RGBA8Unorm:
            EncodeChannels<std::uint8_t>(color, destination,
                                         [](float c) { return Normalise<std::uint8_t>(c, 255.0F); });
            break;
        case Format::R32Float: std::memcpy(destination, &color.x, sizeof color.x); break;
        default: break;
    }
}

glm::vec4 TextureView::Load(std::int64_t x, std::int64_t y, std::int64_t layer) const {
    if (x < 0 || y < 0 || layer < 0 || x >= mWidth || y >= mHeight || layer >= mLayers) return glm::vec4(0.0F);
    const auto index = (static_cast<std::size_t>(layer) * mHeight + static_cast<std::size_t>(y)) * mWidth;
    return DecodeTexel(mFormat, mData + (index + static_cast<std::size_t>(x)) * GetBytesPerPixel(mFormat));
}

Image::Image(Format format, std::uint32_t width, std::uint32_t height, std::uint32_t layers)
    : mFormat(format), mWidth(width), mHeight(height), mLayers(layers), mBytesPerPixel(GetBytesPerPixel(format)) {
    if (mBytesPerPixel == 0) {
        ZEB_THROW_AS(RenderException, kInternalError,
                     fmt::format("Failed to create an image of the format {}", static_cast<std::uint32_t>(format)));
    }
    mTexels.resize(static_cast<std::size_t>(width) * height * layers * mBytesPerPixel);
}

}  // namespace zeb::render::cpu
