#include "Suites/DrawbotObjects.h"

#include <algorithm>
#include <cstdint>

namespace nimbrel::host {
namespace {

constexpr int kMaxSide = 30000;

/// Where a pixel has its bytes; an alpha of -1 is none.
struct Layout {
    int mBytes, mRed, mGreen, mBlue, mAlpha;
    bool mPremultiplied;
};

const Layout* FindLayout(int layout) {
    static constexpr Layout rgb = {3, 0, 1, 2, -1, false}, bgr = {3, 2, 1, 0, -1, false};
    static constexpr Layout argb = {4, 1, 2, 3, 0, false}, argbPremul = {4, 1, 2, 3, 0, true};
    static constexpr Layout bgra = {4, 2, 1, 0, 3, false}, bgraPremul = {4, 2, 1, 0, 3, true};
    switch (layout) {
        case kDRAWBOT_PixelLayout_24RGB: return &rgb;
        case kDRAWBOT_PixelLayout_24BGR: return &bgr;
        case kDRAWBOT_PixelLayout_32ARGB_Straight: return &argb;
        case kDRAWBOT_PixelLayout_32ARGB_Premul: return &argbPremul;
        case kDRAWBOT_PixelLayout_32BGRA_Straight: return &bgra;
        case kDRAWBOT_PixelLayout_32BGRA_Premul: return &bgraPremul;
        default: return nullptr;
    }
}

std::uint32_t ReadPixel(const std::uint8_t* bytes, const Layout& layout) {
    const std::uint32_t alpha = layout.mAlpha < 0 ? 255 : bytes[layout.mAlpha];
    const auto channel = [&](int at) {
        return layout.mPremultiplied ? std::min<std::uint32_t>(bytes[at], alpha) : (bytes[at] * alpha + 127) / 255;
    };
    return alpha << 24 | channel(layout.mRed) << 16 | channel(layout.mGreen) << 8 | channel(layout.mBlue);
}

}  // namespace

std::shared_ptr<DrawingImage> ReadImage(int width, int height, int rowBytes, int layoutNumber, const void* pixels) {
    const Layout* const layout = FindLayout(layoutNumber);
    const bool isSized = width > 0 && height > 0 && width <= kMaxSide && height <= kMaxSide;
    if (layout == nullptr || !isSized || rowBytes < width * layout->mBytes || pixels == nullptr) return nullptr;
    auto image = std::make_shared<DrawingImage>();
    image->mWidth = width;
    image->mHeight = height;
    image->mPixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y) {
        const auto* bytes = static_cast<const std::uint8_t*>(pixels) + static_cast<std::ptrdiff_t>(y) * rowBytes;
        for (int x = 0; x < width; ++x, bytes += layout->mBytes) image->mPixels.push_back(ReadPixel(bytes, *layout));
    }
    return image;
}

}  // namespace nimbrel::host
