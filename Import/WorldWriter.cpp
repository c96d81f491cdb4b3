#include "WorldWriter.h"

#include <algorithm>
#include <cmath>

namespace nimbrel::importer {
namespace {

using Mean = std::array<double, 3>;

/// What one pixel of `count` covers of `length` source pixels.
struct Span {
    int mBegin, mEnd;
    double mFrom, mTo;

    Span(int pixel, int count, int length) {
        mFrom = static_cast<double>(length) * pixel / count;
        mTo = static_cast<double>(length) * (pixel + 1) / count;
        mBegin = std::clamp(static_cast<int>(mFrom), 0, length - 1);
        mEnd = std::clamp(static_cast<int>(std::ceil(mTo)), mBegin + 1, length);
    }

    double Weigh(int source) const {
        return std::max(std::min(mTo, source + 1.0) - std::max(mFrom, static_cast<double>(source)), 0.0);
    }
};

Mean Average(const Picture& picture, const Span& across, const Span& down) {
    Mean sum{};
    double weights = 0;
    for (int y = down.mBegin; y < down.mEnd; ++y) {
        for (int x = across.mBegin; x < across.mEnd; ++x) {
            const double weight = across.Weigh(x) * down.Weigh(y);
            const Color& color = picture.At(x, y);
            for (std::size_t c = 0; c < 3; ++c) sum[c] += weight * color[c];
            weights += weight;
        }
    }
    for (double& channel : sum) channel /= weights;
    return sum;
}

void Store(const Mean& color, PF_Pixel& pixel) {
    const auto convert = [](double value) { return static_cast<A_u_char>(value + 0.5); };
    pixel = {255, convert(color[0]), convert(color[1]), convert(color[2])};
}

void Store(const Mean& color, PF_Pixel16& pixel) {
    const auto convert = [](double value) { return static_cast<A_u_short>(value * (32768.0 / 255.0) + 0.5); };
    pixel = {32768, convert(color[0]), convert(color[1]), convert(color[2])};
}

void Store(const Mean& color, PF_PixelFloat& pixel) {
    const auto convert = [](double value) { return static_cast<PF_FpShort>(value / 255.0); };
    pixel = {1.0F, convert(color[0]), convert(color[1]), convert(color[2])};
}

template <class Pixel>
void Write(const Picture* picture, const WorldPlacement& placement, const A_LRect& region, PF_EffectWorld& world) {
    for (A_long y = region.top; y < region.bottom; ++y) {
        auto* const row = reinterpret_cast<Pixel*>(reinterpret_cast<char*>(world.data) +
                                                   static_cast<std::ptrdiff_t>(y) * world.rowbytes);
        for (A_long x = region.left; x < region.right; ++x) {
            Mean color = {kBackground[0], kBackground[1], kBackground[2]};
            if (picture != nullptr) {
                color = Average(*picture, Span(placement.mLeft + x, placement.mWidth, picture->mWidth),
                                Span(placement.mTop + y, placement.mHeight, picture->mHeight));
            }
            Store(color, row[x]);
        }
    }
}

}  // namespace

bool WriteWorld(const Picture* picture, const WorldPlacement& placement, const A_LRect& region, PF_PixelFormat format,
                PF_EffectWorld& world) {
    const A_LRect clipped = {std::max(region.left, 0), std::max(region.top, 0), std::min(region.right, world.width),
                             std::min(region.bottom, world.height)};
    switch (format) {
        case PF_PixelFormat_ARGB32: Write<PF_Pixel>(picture, placement, clipped, world); return true;
        case PF_PixelFormat_ARGB64: Write<PF_Pixel16>(picture, placement, clipped, world); return true;
        case PF_PixelFormat_ARGB128: Write<PF_PixelFloat>(picture, placement, clipped, world); return true;
        default: return false;
    }
}

}  // namespace nimbrel::importer
