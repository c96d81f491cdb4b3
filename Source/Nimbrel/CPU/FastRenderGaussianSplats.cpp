#include "Nimbrel/CPU/FastRenderGaussianSplats.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include <hwy/cache_control.h>

#include "Nimbrel/CPU/RenderGaussianSplats.h"
#include "Nimbrel/CPU/SplatTileKernel.h"
#include "Render/CPU/Parallel.h"
#include "Render/CPU/RowConversion.h"
#include "Render/CPU/ScratchArray.h"
#include "Render/CPU/ScratchPool.h"

namespace nimbrel::cpu {

using namespace zeb::render;
using namespace zeb::render::cpu;

namespace {

/// Records made ready at once (151 MB), and splats at a time where there are more (38 MB); what one task handles.
constexpr std::size_t kMostWhole = 1 << 21;
constexpr std::size_t kBatch = 1 << 19;
constexpr std::size_t kPart = 2048;
/// Places in tiles' lists filled at a time (16 MB); only a part of very large splats needs more.
constexpr std::size_t kMostEntries = 1 << 22;

bool GetRounding(Format format, TileRounding& rounding) {
    switch (format) {
        case Format::RGBA32Float: rounding = TileRounding::None; return true;
        case Format::RGBA16Float: rounding = TileRounding::Half; return true;
        case Format::RGBA16Unorm: rounding = TileRounding::Unorm16; return true;
        case Format::RGBA8Unorm: rounding = TileRounding::Unorm8; return true;
        default: return false;
    }
}

/// SplatTile::mLeastChange. Halves and floats keep their bits where alpha is 1. Floats stop earlier: what still shines
/// through 2^-17 of a pixel, all of it together, is 102 dB below a white one.
float GetLeastChange(TileRounding rounding) {
    switch (rounding) {
        case TileRounding::Unorm8: return 0.48F / 255.0F;
        case TileRounding::Unorm16: return 0.48F / 65535.0F;
        case TileRounding::Half: return std::numeric_limits<float>::min();
        case TileRounding::None: break;
    }
    return 0x1p-17F;
}

bool IsFrontToBack(const BlendState& blend) {
    const BlendState expected = GaussianSplatsBlend();
    return blend.mEnabled && blend.mSourceColor == expected.mSourceColor &&
           blend.mDestinationColor == expected.mDestinationColor && blend.mColorOperation == expected.mColorOperation &&
           blend.mSourceAlpha == expected.mSourceAlpha && blend.mDestinationAlpha == expected.mDestinationAlpha &&
           blend.mAlphaOperation == expected.mAlphaOperation;
}

/// Tiles over the scissor.
struct TileGrid {
    explicit TileGrid(const Scissor& scissor)
        : mFirstX(scissor.mLeft / kSplatTileSize),
          mFirstY(scissor.mTop / kSplatTileSize),
          mCountX((scissor.mRight - 1) / kSplatTileSize - mFirstX + 1),
          mCountY((scissor.mBottom - 1) / kSplatTileSize - mFirstY + 1) {}

    std::size_t GetCount() const { return static_cast<std::size_t>(mCountX) * static_cast<std::size_t>(mCountY); }

    template <class Function>
    void ForEach(const TileBox& box, const Function& function) const {
        for (std::int32_t y = box.mTop - mFirstY; y < box.mBottom - mFirstY; ++y) {
            const std::int32_t row = y * mCountX - mFirstX;
            for (std::int32_t x = box.mLeft; x < box.mRight; ++x) function(static_cast<std::size_t>(row + x));
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
    /// Lists the splats of `order`, places in `boxes`; those beyond are left out. False, with nothing listed, where
    /// that takes more than kMostEntries and there is more than one part.
    bool Fill(const TileGrid& grid, std::span<const TileBox> boxes, std::span<const std::uint32_t> order) {
        const std::size_t tiles = grid.GetCount();
        const std::size_t parts = std::clamp<std::size_t>(order.size() / kPart, 1, GetConcurrency());
        mPlaces.assign(parts * tiles, 0);
        const auto forSplats = [&](std::size_t part, const auto& function) {
            std::size_t* const places = mPlaces.data() + part * tiles;
            const std::size_t last = order.size() * (part + 1) / parts;
            for (std::size_t i = order.size() * part / parts; i < last; ++i) {
                constexpr std::size_t kAhead = 16;
                if (i + kAhead < last)
                    hwy::Prefetch(boxes.data() + std::min<std::size_t>(order[i + kAhead], boxes.size()));
                if (order[i] >= boxes.size()) continue;
                grid.ForEach(boxes[order[i]], [&](std::size_t tile) { function(order[i], places[tile]); });
            }
        };
        ParallelForEach(parts,
                        [&](std::size_t part) { forSplats(part, [](std::uint32_t, std::size_t& count) { ++count; }); });
        mBegins.resize(tiles + 1);
        std::size_t sum = 0;
        for (std::size_t tile = 0; tile < tiles; ++tile) {
            mBegins[tile] = sum;
            for (std::size_t part = 0; part < parts; ++part) sum += std::exchange(mPlaces[part * tiles + tile], sum);
        }
        mBegins[tiles] = sum;
        if (sum > kMostEntries && order.size() > kPart) return false;
        std::uint32_t* const entries = mEntries.Reserve(sum);
        ParallelForEach(parts, [&](std::size_t part) {
            forSplats(part, [entries](std::uint32_t splat, std::size_t& place) { entries[place++] = splat; });
        });
        return true;
    }

    std::span<const std::uint32_t> Get(std::size_t tile) const {
        return {mEntries.Get() + mBegins[tile], mBegins[tile + 1] - mBegins[tile]};
    }

private:
    std::vector<std::size_t> mPlaces;
    std::vector<std::size_t> mBegins;
    ScratchArray<std::uint32_t> mEntries;
};

/// What a draw needs besides its target, kept from one to the next.
struct DrawScratch {
    ScratchArray<PreparedSplat> mSplats;
    ScratchArray<TileBox> mBoxes;
    std::vector<std::uint32_t> mPlaces;
    std::vector<std::uint8_t> mPartScalars;  ///< whether there is a splat for the scalar form, by part
    TileLists mLists;
};

/// What stays the same over one draw, and the splats of the batch in hand.
class TiledDraw {
public:
    TiledDraw(const RenderPass& pass, const SplatSource& source, TileRounding rounding, DrawScratch& scratch)
        : mPass(pass), mSource(source), mRounding(rounding), mScratch(scratch), mGrid(pass.mScissor) {}

    /// Few enough records are made ready as they lie, if not too many of them are for nothing: they are read in turn
    /// then, and those of a tile lie together, since neighbours in an asset are neighbours in space.
    void Run(std::span<const std::uint32_t> order) {
        const std::size_t records = mSource.mRecords.size();
        if (records <= kMostWhole && records / 4 <= order.size()) {
            Prepare(records, [](std::size_t begin, std::span<std::uint32_t> part) {
                std::iota(part.begin(), part.end(), static_cast<std::uint32_t>(begin));
            });
            Draw(order);
            return;
        }
        for (std::size_t begin = 0; begin < order.size(); begin += kBatch) {
            const std::span<const std::uint32_t> batch = order.subspan(begin, std::min(kBatch, order.size() - begin));
            Prepare(batch.size(), [batch](std::size_t first, std::span<std::uint32_t> part) {
                std::copy_n(batch.begin() + static_cast<std::ptrdiff_t>(first), part.size(), part.begin());
            });
            mScratch.mPlaces.resize(batch.size());
            std::iota(mScratch.mPlaces.begin(), mScratch.mPlaces.end(), 0U);
            Draw(mScratch.mPlaces);
        }
    }

private:
    /// Makes `count` splats ready; `getIndices` tells the records of those from a place on.
    template <class GetIndices>
    void Prepare(std::size_t count, const GetIndices& getIndices) {
        DrawScratch& s = mScratch;
        PreparedSplat* const splats = s.mSplats.Reserve(count);
        TileBox* const boxes = s.mBoxes.Reserve(count);
        s.mPartScalars.assign((count + kPart - 1) / kPart, 0);
        ParallelForEach(s.mPartScalars.size(), [&](std::size_t part) {
            const std::size_t begin = part * kPart;
            const std::size_t end = std::min(count, begin + kPart);
            std::uint32_t indices[kPart];
            getIndices(begin, std::span(indices, end - begin));
            PrepareSplats(mSource, mPass.mScissor, std::span(indices, end - begin), splats + begin, boxes + begin);
            for (std::size_t i = begin; i < end; ++i) {
                if (!boxes[i].IsEmpty() && splats[i].IsScalar()) s.mPartScalars[part] = 1;
            }
        });
        mCount = count;
        mExpectScalar = std::find(s.mPartScalars.begin(), s.mPartScalars.end(), 1) != s.mPartScalars.end();
    }

    /// Draws splats made ready, in halves where their lists are too long.
    void Draw(std::span<const std::uint32_t> order) {
        if (!mScratch.mLists.Fill(mGrid, {mScratch.mBoxes.Get(), mCount}, order)) {
            Draw(order.first(order.size() / 2));
            Draw(order.subspan(order.size() / 2));
            return;
        }
        ParallelForEach(mGrid.GetCount(), [this](std::size_t tile) { DrawTile(tile); });
    }

    void DrawTile(std::size_t index) const {
        std::span<const std::uint32_t> entries = mScratch.mLists.Get(index);
        if (entries.empty()) return;
        const auto columns = static_cast<std::size_t>(mGrid.mCountX);
        SplatTile tile;
        tile.mLeft = (mGrid.mFirstX + static_cast<std::int32_t>(index % columns)) * kSplatTileSize;
        tile.mTop = (mGrid.mFirstY + static_cast<std::int32_t>(index / columns)) * kSplatTileSize;
        tile.mRounding = mRounding;
        tile.mExpectScalar = mExpectScalar;
        RenderPass tilePass = mPass;
        Scissor& scissor = tilePass.mScissor;
        scissor.mLeft = std::max(scissor.mLeft, tile.mLeft);
        scissor.mTop = std::max(scissor.mTop, tile.mTop);
        scissor.mRight = std::min(scissor.mRight, tile.mLeft + kSplatTileSize);
        scissor.mBottom = std::min(scissor.mBottom, tile.mTop + kSplatTileSize);

        LoadTile(scissor, tile);
        for (;;) {
            entries = entries.subspan(DrawSplatsInTile(tile, mSource, entries, mScratch.mSplats.Get()));
            if (entries.empty()) break;
            StoreTile(scissor, tile);
            const std::uint32_t record = mScratch.mSplats.Get()[entries.front()].mRecord;
            DrawGaussianSplat(tilePass, mSource.mConstants, mSource.mRecords[record]);
            LoadTile(scissor, tile);
            entries = entries.subspan(1);
        }
        StoreTile(scissor, tile);
    }

    std::size_t GetOffset(std::int32_t x, std::int32_t y) const {
        const Image& target = *mPass.mTarget;
        return (static_cast<std::size_t>(y) * target.GetWidth() + static_cast<std::size_t>(x)) *
               GetBytesPerPixel(target.GetFormat());
    }

    /// A full pixel keeps its bits but for a channel of -0, to which a splat adds 0; with one of those in
    /// the tile no pixel counts as full. Pixels outside the scissor count as full and are not stored.
    void LoadTile(const Scissor& scissor, SplatTile& tile) const {
        constexpr std::size_t kRow = std::size_t{4} * kSplatTileSize;
        const Image& target = *mPass.mTarget;
        const auto count = static_cast<std::size_t>(scissor.mRight - scissor.mLeft);
        const auto first = static_cast<std::size_t>(scissor.mLeft - tile.mLeft) * 4;
        alignas(64) float rgba[kRow];
        std::uint32_t negativeZeros = 0;
        for (std::int32_t y = 0; y < kSplatTileSize; ++y) {
            const std::int32_t row = tile.mTop + y;
            if (count < kSplatTileSize || row < scissor.mTop || row >= scissor.mBottom) std::fill_n(rgba, kRow, 1.0F);
            if (row >= scissor.mTop && row < scissor.mBottom) {
                DecodeRow(target.GetFormat(), target.Texels().data() + GetOffset(scissor.mLeft, row), count,
                          rgba + first);
            }
            for (const float value : rgba) negativeZeros += static_cast<std::uint32_t>(FloatBits(value) == 0x80000000U);
            LoadTileRow(rgba, y, tile);
        }
        tile.mLeastChange = negativeZeros != 0 ? -1.0F : GetLeastChange(mRounding);
    }

    void StoreTile(const Scissor& scissor, const SplatTile& tile) const {
        Image& target = *mPass.mTarget;
        const auto count = static_cast<std::size_t>(scissor.mRight - scissor.mLeft);
        const auto first = static_cast<std::size_t>(scissor.mLeft - tile.mLeft) * 4;
        alignas(64) float rgba[std::size_t{4} * kSplatTileSize];
        for (std::int32_t row = scissor.mTop; row < scissor.mBottom; ++row) {
            StoreTileRow(tile, row - tile.mTop, rgba);
            EncodeRow(target.GetFormat(), rgba + first, count, target.Texels().data() + GetOffset(scissor.mLeft, row));
        }
    }

    const RenderPass& mPass;
    const SplatSource& mSource;
    TileRounding mRounding;
    DrawScratch& mScratch;
    TileGrid mGrid;
    std::size_t mCount = 0;  ///< of splats made ready
    bool mExpectScalar = false;
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
    static ScratchPool<DrawScratch> pool;
    const auto scratch = pool.Take();
    const SplatSource source{records, constants, pass.mViewport};
    TiledDraw(pass, source, rounding, *scratch).Run(order);
}

}  // namespace nimbrel::cpu
