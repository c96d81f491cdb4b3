#include "WebPImage.h"

#include <webp/decode.h>

#include "NimbrelConvert/Errors.h"

namespace nimbrel::convert {

Image ReadWebPSize(std::span<const std::uint8_t> file) {
    WebPBitstreamFeatures features;
    if (WebPGetFeatures(file.data(), file.size(), &features) != VP8_STATUS_OK || features.has_animation != 0 ||
        features.width <= 0 || features.height <= 0) {
        throw FormatError("it is no still WebP picture");
    }
    // A lossy picture has other values than were put into it.
    constexpr int kLossless = 2;
    if (features.format != kLossless) throw FormatError("it is a WebP picture with losses, which no value survives");
    return {static_cast<std::uint64_t>(features.width), static_cast<std::uint64_t>(features.height), {}};
}

Image ReadWebP(std::span<const std::uint8_t> file) {
    Image image = ReadWebPSize(file);
    image.mTexels.resize(static_cast<std::size_t>(4 * image.Count()));
    if (WebPDecodeRGBAInto(file.data(), file.size(), image.mTexels.data(), image.mTexels.size(),
                           static_cast<int>(4 * image.mWidth)) == nullptr) {
        throw FormatError("it is a broken WebP picture");
    }
    return image;
}

}  // namespace nimbrel::convert
