#include "Render/CPU/Sampling.h"

#include <algorithm>

#include "Render/CPU/Arithmetic.h"

namespace zeb::render::cpu {
namespace {

/// The texel that an address mode gives for a coordinate outside 0..size-1.
std::int64_t Address(SamplerAddress mode, std::int64_t texel, std::int64_t size) {
    const auto modulo = [](std::int64_t value, std::int64_t divisor) {
        return ((value % divisor) + divisor) % divisor;
    };
    switch (mode) {
        case SamplerAddress::Wrap: return modulo(texel, size);
        case SamplerAddress::Mirror: {
            const std::int64_t place = modulo(texel, 2 * size);
            return place < size ? place : 2 * size - 1 - place;
        }
        default: return std::clamp<std::int64_t>(texel, 0, size - 1);
    }
}

/// With one rounding of the product and the sum, as filters on devices with a fused multiplication do.
float FilterLerp(float low, float high, float t) {
    return static_cast<float>(static_cast<double>(low) + static_cast<double>(t) * static_cast<double>(high - low));
}

glm::vec4 LerpColor(const glm::vec4& low, const glm::vec4& high, float t) {
    return {FilterLerp(low.x, high.x, t), FilterLerp(low.y, high.y, t), FilterLerp(low.z, high.z, t),
            FilterLerp(low.w, high.w, t)};
}

}  // namespace

glm::vec4 Sample(const TextureView& texture, const SamplerDescription& sampler, float u, float v, float layer) {
    if (texture.mWidth == 0 || texture.mHeight == 0) return glm::vec4(0.0F);
    const std::int64_t slice =
        std::clamp<std::int64_t>(ToInt(std::nearbyint(layer)), 0, static_cast<std::int64_t>(texture.mLayers) - 1);
    const auto fetch = [&](std::int64_t x, std::int64_t y) {
        return texture.Load(Address(sampler.mAddressU, x, texture.mWidth),
                            Address(sampler.mAddressV, y, texture.mHeight), slice);
    };
    const float x = u * static_cast<float>(texture.mWidth);
    const float y = v * static_cast<float>(texture.mHeight);
    if (sampler.mMagFilter == SamplerFilter::Point) return fetch(ToInt(std::floor(x)), ToInt(std::floor(y)));

    const float left = std::floor(x - 0.5F);
    const float top = std::floor(y - 0.5F);
    // A coordinate that is no number has no place between texels: the first texel answers.
    const float tx = std::isfinite(x) ? x - 0.5F - left : 0.0F;
    const float ty = std::isfinite(y) ? y - 0.5F - top : 0.0F;
    const std::int64_t x0 = ToInt(left);
    const std::int64_t y0 = ToInt(top);
    const glm::vec4 upper = LerpColor(fetch(x0, y0), fetch(x0 + 1, y0), tx);
    if (ty == 0.0F) return upper;
    return LerpColor(upper, LerpColor(fetch(x0, y0 + 1), fetch(x0 + 1, y0 + 1), tx), ty);
}

}  // namespace zeb::render::cpu
