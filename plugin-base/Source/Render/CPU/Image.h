#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <glm/vec4.hpp>

#include "PluginBase/Render/Types.h"

namespace zeb::render::cpu {

/// Texels that a program reads, owned by someone else: rows from the top, layers one after another
/// without gaps. Formats are those of `Format` except `Unknown`. Copies share the texels.
struct TextureView {
    const std::byte* mData = nullptr;
    Format mFormat = Format::Unknown;
    std::uint32_t mWidth = 0;
    std::uint32_t mHeight = 0;
    std::uint32_t mLayers = 1;

    /// Texel (x, y) of a layer, unfiltered; outside the texture all zero, as a GPU's fetch is. A
    /// one-channel format gives (r, 0, 0, 1).
    glm::vec4 Load(std::int64_t x, std::int64_t y, std::int64_t layer = 0) const;
};

/// A texel of `format` at `source`.
glm::vec4 DecodeTexel(Format format, const std::byte* source);

/// Writes a colour into a texel of `format`: normalised formats clamp to 0..1 (NaN is 0) and round to the nearest
/// step, halves round to nearest even, floats are kept.
void EncodeTexel(Format format, const glm::vec4& color, std::byte* destination);

/// A texture or render target that owns its texels; new ones are zero. Throws zeb::RenderException for
/// an unknown format.
class Image {
public:
    Image() = default;
    Image(Format format, std::uint32_t width, std::uint32_t height, std::uint32_t layers = 1);

    glm::vec4 Load(std::uint32_t x, std::uint32_t y) const { return DecodeTexel(mFormat, At(x, y)); }
    void Store(std::uint32_t x, std::uint32_t y, const glm::vec4& color) {
        EncodeTexel(mFormat, color, mTexels.data() + Offset(x, y));
    }

    TextureView View() const { return {mTexels.data(), mFormat, mWidth, mHeight, mLayers}; }
    Format GetFormat() const { return mFormat; }
    std::uint32_t GetWidth() const { return mWidth; }
    std::uint32_t GetHeight() const { return mHeight; }
    std::vector<std::byte>& Texels() { return mTexels; }
    const std::vector<std::byte>& Texels() const { return mTexels; }

private:
    std::size_t Offset(std::uint32_t x, std::uint32_t y) const {
        return (static_cast<std::size_t>(y) * mWidth + x) * mBytesPerPixel;
    }
    const std::byte* At(std::uint32_t x, std::uint32_t y) const { return mTexels.data() + Offset(x, y); }

    Format mFormat = Format::Unknown;
    std::uint32_t mWidth = 0;
    std::uint32_t mHeight = 0;
    std::uint32_t mLayers = 1;
    std::uint32_t mBytesPerPixel = 0;
    std::vector<std::byte> mTexels;
};

}  // namespace zeb::render::cpu
