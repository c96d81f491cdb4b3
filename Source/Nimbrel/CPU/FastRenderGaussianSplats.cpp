#include "Nimbrel/CPU/FastRenderGaussianSplats.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include "Nimbrel/CPU/RenderGaussianSplats.h"
#include "Nimbrel/CPU/SplatTileKernel.h"

namespace nimbrel::cpu {

using namespace zeb::render;
using namespace zeb::render::cpu;

namespace {

/// Splats made ready at a time (100 MB), and the share of them that one task handles.
constexpr std::size_t kBatch = 1 << 20;
constexpr std::size_t kPart = 4096;
/// Places in tiles' lists filled at a time (128 MB); only one part of very large splats needs more.
constexpr std::size_t kMostEntries = 1 << 25;

bool GetRounding(Format format, TileRounding& rounding) {
    switch (format) {
        case Format::RGBA32Float: rounding = TileRounding::None; return true;
        case Format::RGBA16Float: rounding = TileRounding::Half; return true;
        case Format::RGBA16Unorm: rounding = TileRounding::Unorm16; return true;
        case Format::RGBA8Unorm: rounding = TileRounding::Unorm8; return true;
        default: return false;
    }
}

bool IsFrontToBack(const BlendState& blend) {
    const BlendState expected = GaussianSplatsBlend();
    return blend.mEnabled && blend.mSourceColor == expected.mSourceColor &&
           blend.mDestinationColor == expected.mDestinationColor && blend.mColorOperation == expected.mColorOperation &&
           blend.mSourceAlpha == expected.mSourceAlpha && blend.mDestinationAlpha == expected.mDestinationAlpha &&
           blend.mAlphaOperation == expected.mAlphaOperation;
}

/// Pixels around the ellipse in which alpha reaches 1/255, with a pixel of room, inside the scissor.
PixelBox FindBox(const SplatQuad& quad, const Scissor& scissor) {
    const float squared = std::min(8.0F, std::log(255.0F * quad.mColor.w) + 0.01F);
    const float radius = std::sqrt(squared) * 0.25F / 256.0F;
    const auto extent = [radius](const std::int32_t* corners) {
        const auto along = static_cast<float>(corners[1] - corners[0]);
        const auto across = static_cast<float>(corners[3] - corners[0]);
        return radius * std::sqrt(along * along + across * across) * 1.01F + 1.0F;
    };
    const auto middle = [](const std::int32_t* corners) {
        return static_cast<float>(corners[0] + corners[1] + corners[2] + corners[3]) / 1024.0F;
    };
    const auto pixel = [](float value, std::int32_t low, std::int32_t high) {
        return static_cast<std::int32_t>(std::clamp(value, static_cast<float>(low), static_cast<float>(high)));
    };
    const float x = middle(quad.mX);
    const float y = middle(quad.mY);
    const float extentX = extent(quad.mX);
    const float extentY = extent(quad.mY);
    return {pixel(x - extentX, scissor.mLeft, scissor.mRight), pixel(y - extentY, scissor.mTop, scissor.mBottom),
            pixel(x + extentX + 1.0F, scissor.mLeft, scissor.mRight),
            pixel(y + extentY + 1.0F, scissor.mTop, scissor.mBottom)};
}

/// Makes a splat ready; an empty box if it shows nowhere.
void Prepare(const RenderPass& pass, const gpu::TextureConstants& constants, const gpu::SplatViewData& record,
             BinnedSplat& splat) {
    splat.mScalar = false;
    splat.mBox = {};
    const SplatQuadKind kind = MakeSplatQuad(record, constants, pass.mViewport, splat.mQuad);
    if (kind == SplatQuadKind::Nothing) return;
    const Scissor& scissor = pass.mScissor;
    const glm::vec4& color = splat.mQuad.mColor;
    const bool plain = kind == SplatQuadKind::Quad && color.w >= 0.0F && std::isfinite(color.x) &&
                       std::isfinite(color.y) && std::isfinite(color.z) && std::isfinite(color.w);
    if (!plain) {
        splat.mScalar = true;
        splat.mBox = {scissor.mLeft, scissor.mTop, scissor.mRight, scissor.mBottom};
    } else if (color.w >= 1.0F / 255.0F) {
        splat.mBox = FindBox(splat.mQuad, scissor);
    }
}

/// Tiles over the scissor; their corners are multiples of the tile's size.
struct TileGrid {
    explicit TileGrid(const Scissor& scissor)
        : mFirstX(scissor.mLeft / kSplatTileSize),
          mFirstY(scissor.mTop / kSplatTileSize),
          mCountX((scissor.mRight - 1) / kSplatTileSize - mFirstX + 1),
          mCountY((scissor.mBottom - 1) / kSplatTileSize - mFirstY + 1) {}

    std::size_t GetCount() const { return static_cast<std::size_t>(mCountX) * static_cast<std::size_t>(mCountY); }

    template <class Function>
    void ForEach(const PixelBox& box, const Function& function) const {
        if (box.IsEmpty()) return;
        const std::int32_t endX = (box.mRight - 1) / kSplatTileSize - mFirstX;
        const std::int32_t endY = (box.mBottom - 1) / kSplatTileSize - mFirstY;
        for (std::int32_t y = box.mTop / kSplatTileSize - mFirstY; y <= endY; ++y) {
            for (std::int32_t x = box.mLeft / kSplatTileSize - mFirstX; x <= endX; ++x) {
                function(static_cast<std::size_t>(y) * static_cast<std::size_t>(mCountX) + static_cast<std::size_t>(x));
            }
        }
    }

    std::int32_t mFirstX;
    std::int32_t mFirstY;
    std::int32_t mCountX;
    std::int32_t mCountY;
};

/// Lists of splats by tile, in the splats' order: those of tile t are [mBegins[t], mBegins[t + 1]) of the entries.
class TileLists {
public:
    /// Lists splats [begin, end), whose places in the lists are their indices in `splats`.
    void Fill(const TileGrid& grid, const std::vector<BinnedSplat>& splats, std::size_t begin, std::size_t end) {
        const std::size_t tiles = grid.GetCount();
        const auto threads = static_cast<std::size_t>(std::max(1, tbb::this_task_arena::max_concurrency()));
        const std::size_t parts = std::clamp<std::size_t>((end - begin) / kPart, 1, threads);
        mPlaces.assign(parts * tiles, 0);
        const auto forSplats = [&](std::size_t part, const auto& function) {
            const std::size_t last = begin + (end - begin) * (part + 1) / parts;
            for (std::size_t i = begin + (end - begin) * part / parts; i < last; ++i) {
                grid.ForEach(splats[i].mBox, [&](std::size_t tile) { function(i, mPlaces[part * tiles + tile]); });
            }
        };
        tbb::parallel_for(std::size_t{0}, parts,
                          [&](std::size_t part) { forSplats(part, [](std::size_t, std::size_t& count) { ++count; }); });
        mBegins.resize(tiles + 1);
        std::size_t sum = 0;
        for (std::size_t tile = 0; tile < tiles; ++tile) {
            mBegins[tile] = sum;
            for (std::size_t part = 0; part < parts; ++part) sum += std::exchange(mPlaces[part * tiles + tile], sum);
        }
        mBegins[tiles] = sum;
        if (mEntries.size() < sum) mEntries.resize(sum);
        tbb::parallel_for(std::size_t{0}, parts, [&](std::size_t part) {
            forSplats(part, [this](std::size_t splat, std::size_t& place) {
                mEntries[place++] = static_cast<std::uint32_t>(splat);
            });
        });
    }

    std::span<const std::uint32_t> Get(std::size_t tile) const {
        return {mEntries.data() + mBegins[tile], mBegins[tile + 1] - mBegins[tile]};
    }

private:
    std::vector<std::size_t> mPlaces;
    std::vector<std::size_t> mBegins;
    std::vector<std::uint32_t> mEntries;
};

/// What stays the same over one draw, and the splats of the batch in hand.
class TiledDraw {
public:
    TiledDraw(const RenderPass& pass, const gpu::TextureConstants& constants, TileRounding rounding,
              std::span<const std::uint32_t> order, std::span<const gpu::SplatViewData> records)
        : mPass(pass),
          mConstants(constants),
          mRounding(rounding),
          mOrder(order),
          mRecords(records),
          mGrid(pass.mScissor) {}

    void Run() {
        for (std::size_t begin = 0; begin < mOrder.size(); begin += kBatch) {
            const std::size_t count = std::min(kBatch, mOrder.size() - begin);
            mBatch = mOrder.subspan(begin, count);
            PrepareBatch();
            DrawBatch();
        }
    }

private:
    void PrepareBatch() {
        const std::size_t count = mBatch.size();
        mSplats.resize(count);
        mPartEntries.assign((count + kPart - 1) / kPart, 0);
        tbb::parallel_for(std::size_t{0}, mPartEntries.size(), [&](std::size_t part) {
            const std::size_t end = std::min(count, (part + 1) * kPart);
            std::size_t entries = 0;
            for (std::size_t i = part * kPart; i < end; ++i) {
                mSplats[i].mBox = {};
                if (mBatch[i] < mRecords.size()) Prepare(mPass, mConstants, mRecords[mBatch[i]], mSplats[i]);
                mGrid.ForEach(mSplats[i].mBox, [&entries](std::size_t) { ++entries; });
            }
            mPartEntries[part] = entries;
        });
    }

    /// Parts whose lists fit the limit together are drawn together.
    void DrawBatch() {
        std::size_t first = 0;
        while (first < mPartEntries.size()) {
            std::size_t last = first;
            std::size_t entries = 0;
            do {
                entries += mPartEntries[last++];
            } while (last < mPartEntries.size() && entries + mPartEntries[last] <= kMostEntries);
            mLists.Fill(mGrid, mSplats, first * kPart, std::min(mSplats.size(), last * kPart));
            tbb::parallel_for(std::size_t{0}, mGrid.GetCount(), [this](std::size_t tile) { DrawTile(tile); });
            first = last;
        }
    }

    void DrawTile(std::size_t index) const {
        std::span<const std::uint32_t> entries = mLists.Get(index);
        if (entries.empty()) return;
        const auto columns = static_cast<std::size_t>(mGrid.mCountX);
        SplatTile tile;
        tile.mLeft = (mGrid.mFirstX + static_cast<std::int32_t>(index % columns)) * kSplatTileSize;
        tile.mTop = (mGrid.mFirstY + static_cast<std::int32_t>(index / columns)) * kSplatTileSize;
        tile.mRounding = mRounding;
        RenderPass tilePass = mPass;
        Scissor& scissor = tilePass.mScissor;
        scissor.mLeft = std::max(scissor.mLeft, tile.mLeft);
        scissor.mTop = std::max(scissor.mTop, tile.mTop);
        scissor.mRight = std::min(scissor.mRight, tile.mLeft + kSplatTileSize);
        scissor.mBottom = std::min(scissor.mBottom, tile.mTop + kSplatTileSize);
        while (!entries.empty()) {
            LoadTile(scissor, tile);
            entries = entries.subspan(DrawQuadsInTile(tile, entries, mSplats.data()));
            StoreTile(scissor, tile);
            for (; !entries.empty() && mSplats[entries[0]].mScalar; entries = entries.subspan(1)) {
                DrawGaussianSplat(tilePass, mConstants, mRecords[mBatch[entries[0]]]);
            }
        }
    }

    /// A pixel of alpha 1 keeps its bits but for a channel of -0, to which a splat adds 0; with one of those in
    /// the tile no pixel counts as full.
    void LoadTile(const Scissor& scissor, SplatTile& tile) const {
        for (auto& channel : tile.mChannels) std::fill(std::begin(channel), std::end(channel), 1.0F);
        bool negativeZero = false;
        for (std::int32_t y = scissor.mTop; y < scissor.mBottom; ++y) {
            std::size_t at = static_cast<std::size_t>((y - tile.mTop) * kSplatTileSize + scissor.mLeft - tile.mLeft);
            for (std::int32_t x = scissor.mLeft; x < scissor.mRight; ++x, ++at) {
                const glm::vec4 color =
                    mPass.mTarget->Load(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y));
                for (int channel = 0; channel < 4; ++channel) {
                    tile.mChannels[channel][at] = color[channel];
                    negativeZero = negativeZero || (color[channel] == 0.0F && std::signbit(color[channel]));
                }
            }
        }
        tile.mFull = negativeZero ? std::numeric_limits<float>::quiet_NaN() : 1.0F;
    }

    void StoreTile(const Scissor& scissor, const SplatTile& tile) const {
        for (std::int32_t y = scissor.mTop; y < scissor.mBottom; ++y) {
            std::size_t at = static_cast<std::size_t>((y - tile.mTop) * kSplatTileSize + scissor.mLeft - tile.mLeft);
            for (std::int32_t x = scissor.mLeft; x < scissor.mRight; ++x, ++at) {
                mPass.mTarget->Store(
                    static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                    {tile.mChannels[0][at], tile.mChannels[1][at], tile.mChannels[2][at], tile.mChannels[3][at]});
            }
        }
    }

    const RenderPass& mPass;
    const gpu::TextureConstants& mConstants;
    TileRounding mRounding;
    std::span<const std::uint32_t> mOrder;
    std::span<const gpu::SplatViewData> mRecords;
    TileGrid mGrid;
    std::span<const std::uint32_t> mBatch;
    std::vector<BinnedSplat> mSplats;
    std::vector<std::size_t> mPartEntries;
    TileLists mLists;
};

}  // namespace

void FastDrawGaussianSplats(const RenderPass& pass, const gpu::TextureConstants& constants,
                            std::span<const std::uint32_t> order, std::span<const gpu::SplatViewData> records) {
    const Scissor& scissor = pass.mScissor;
    if (scissor.mLeft >= scissor.mRight || scissor.mTop >= scissor.mBottom) return;
    TileRounding rounding = TileRounding::None;
    if (!IsFrontToBack(pass.mBlend) || !GetRounding(pass.mTarget->GetFormat(), rounding)) {
        DrawGaussianSplats(pass, constants, order, records, 0, static_cast<std::uint32_t>(order.size()));
        return;
    }
    TiledDraw(pass, constants, rounding, order, records).Run();
}

}  // namespace nimbrel::cpu
