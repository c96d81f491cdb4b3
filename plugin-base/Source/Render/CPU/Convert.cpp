#include "Render/CPU/Convert.h"

#include <algorithm>

#include "Render/CPU/RowConversion.h"

namespace zeb::render::cpu {
namespace {

constexpr float kLeastAlpha = 0.00100000005F;

}  // namespace

Vertex<2> ConvertVertex(std::uint32_t vertex, const glm::vec2& size) {
    const auto right = static_cast<float>(vertex & 1U);
    const auto lower = static_cast<float>(vertex >> 1U);
    Vertex<2> result;
    result.mPosition = {right * 2.0F - 1.0F, 1.0F - lower * 2.0F, 0.0F, 1.0F};
    result.mAttributes = {right * size.x, lower * size.y};
    return result;
}

glm::vec4 Unmultiply(const glm::vec4& color) {
    if (color.w < kLeastAlpha) return {color.x, color.y, color.z, 0.0F};
    return {color.x / color.w, color.y / color.w, color.z / color.w, color.w};
}

std::optional<RenderPass> FindTexelToPixel(const RenderPass& pass, const glm::vec2& size) {
    const Viewport& viewport = pass.mViewport;
    const bool isWhole = viewport.mX == 0.0F && viewport.mY == 0.0F && viewport.mWidth == size.x &&
                         viewport.mHeight == size.y && size.x == static_cast<float>(ToUint(size.x)) &&
                         size.y == static_cast<float>(ToUint(size.y));
    if (!isWhole || pass.mBlend.mEnabled) return std::nullopt;
    RenderPass cut = pass;
    // Through floats: a size may be more than an integer holds.
    cut.mScissor.mRight = static_cast<std::int32_t>(std::min(static_cast<float>(pass.mScissor.mRight), size.x));
    cut.mScissor.mBottom = static_cast<std::int32_t>(std::min(static_cast<float>(pass.mScissor.mBottom), size.y));
    return cut;
}

void ConvertRows(const RenderPass& pass, const TextureView& source, RowChange change, std::int32_t beginRow,
                 std::int32_t endRow) {
    constexpr std::int64_t kBlock = 512;
    Image& target = *pass.mTarget;
    const auto bytesOf = [](Format format, std::int64_t texels) {
        return static_cast<std::size_t>(texels) * GetBytesPerPixel(format);
    };
    alignas(64) float rgba[4 * kBlock];
    for (std::int64_t y = beginRow; y < endRow; ++y) {
        const std::int64_t available = y < source.mHeight ? source.mWidth : 0;
        for (std::int64_t x = pass.mScissor.mLeft; x < pass.mScissor.mRight; x += kBlock) {
            const std::int64_t count = std::min<std::int64_t>(kBlock, pass.mScissor.mRight - x);
            const std::int64_t loaded = std::clamp<std::int64_t>(available - x, 0, count);
            if (loaded > 0) {
                const std::byte* const from = source.mData + bytesOf(source.mFormat, y * source.mWidth + x);
                DecodeRow(source.mFormat, from, static_cast<std::size_t>(loaded), rgba);
            }
            std::fill(rgba + 4 * loaded, rgba + 4 * count, 0.0F);
            if (change != nullptr) change(rgba, static_cast<std::size_t>(count));
            std::byte* const to = target.Texels().data() + bytesOf(target.GetFormat(), y * target.GetWidth() + x);
            EncodeRow(target.GetFormat(), rgba, static_cast<std::size_t>(count), to);
        }
    }
}

void Convert(const TextureView& source, bool unmultiply, const glm::uvec2& size, Image& target) {
    const RenderPass pass = MakeRenderPass(target, size.x, size.y);
    const glm::vec2 extent(size);
    Vertex<2> corners[4];
    for (std::uint32_t vertex = 0; vertex < 4; ++vertex) corners[vertex] = ConvertVertex(vertex, extent);
    const auto pixel = [&](const std::array<float, 2>& coordinate, glm::vec4& color) {
        const glm::vec4 texel = source.Load(ToInt(coordinate[0]), ToInt(coordinate[1]));
        color = unmultiply ? Unmultiply(texel) : texel;
        return true;
    };
    DrawTriangle(pass, corners[0], corners[1], corners[2], pixel);
    DrawTriangle(pass, corners[1], corners[3], corners[2], pixel);
}

}  // namespace zeb::render::cpu
