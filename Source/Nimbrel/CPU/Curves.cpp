#include "Nimbrel/CPU/Curves.h"

#include <algorithm>
#include <cmath>

#include "Render/CPU/Arithmetic.h"

namespace nimbrel::cpu {

using zeb::render::Format;
using zeb::render::cpu::TextureView;

CurveRow::CurveRow(const TextureView& texture, std::uint32_t line, int channels) : mChannels(channels) {
    if (texture.mData == nullptr || texture.mWidth == 0 || texture.mHeight == 0) return;
    mWidth = texture.mWidth;
    const auto height = static_cast<float>(texture.mHeight);
    const float y = (static_cast<float>(line) + 0.5F) / height * height;
    const float top = std::floor(y - 0.5F);
    mShare = y - 0.5F - top;
    const auto clampRow = [&](std::int64_t row) { return std::clamp<std::int64_t>(row, 0, texture.mHeight - 1); };
    const std::int64_t rows[2] = {clampRow(zeb::render::cpu::ToInt(top)),
                                  clampRow(std::int64_t{zeb::render::cpu::ToInt(top)} + 1)};
    const auto count = static_cast<std::size_t>(channels);
    if (texture.mFormat == (channels == 1 ? Format::R32Float : Format::RGBA32Float)) {
        const auto* const texels = reinterpret_cast<const float*>(texture.mData);
        mUpper = texels + static_cast<std::size_t>(rows[0]) * mWidth * count;
        mLower = texels + static_cast<std::size_t>(rows[1]) * mWidth * count;
        return;
    }
    mOwn.reserve(2 * count * mWidth);
    for (const std::int64_t row : rows) {
        for (std::uint32_t x = 0; x < mWidth; ++x) {
            const glm::vec4 texel = texture.Load(x, row);
            mOwn.insert(mOwn.end(), &texel.x, &texel.x + channels);
        }
    }
}

InstanceCurves::InstanceCurves(const CurveTextures& textures, std::uint32_t instance)
    : mGradient(textures.mGradients, instance, 4) {
    for (std::uint32_t row = 0; row < gpu::kRampRows; ++row)
        mRamps[row] = CurveRow(textures.mRamps, gpu::kRampRows * instance + row, 1);
}

}  // namespace nimbrel::cpu
