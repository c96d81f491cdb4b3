#include "Nimbrel/CPU/CalcDistances.h"

#include <algorithm>

#include "Nimbrel/EffectSwitches.h"
#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/CalcDistances.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/highway.h>

#include "Nimbrel/CPU/SplatDecoding-inl.h"
#include "Nimbrel/CPU/SplatEffects-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

/// The keys of splats at `position` in asset space.
template <bool kEffects, class N>
HWY_INLINE WordsOf<N> CalcKeys(const CalcDistancesInputs& inputs, const InstanceCurves& curves, NoiseCells<N>& cells,
                               Vec3<N> position) {
    const gpu::CalcDistancesConstants& constants = inputs.mConstants;
    Vec3<N> place = TransformPoint(constants._CalcDistancesMatrixAlign, position);
    if constexpr (kEffects) place = EffectPosition(inputs.mNoise, curves, cells, place);
    const WordsOf<N> depth = ToBits(RowTimesPoint(constants._CalcDistancesMatrixVP, 2, place));
    return depth ^ (SpreadSign(depth) | WordsOf<N>(0x80000000U));
}

/// Keys of the splats [begin, end) of one chunk, as many as fill whole vectors; returns the first that is left.
template <bool kEffects>
HWY_INLINE std::uint32_t CalcChunk(const CalcDistancesInputs& inputs, const InstanceCurves& curves, std::uint32_t begin,
                                   std::uint32_t end, std::uint32_t* keys) {
    const WordTag d;
    constexpr auto kCount = static_cast<std::uint32_t>(kMostLanes);
    const gpu::SplatChunkInfo chunk = LoadChunk(inputs.mBlocks, begin);
    const std::uint32_t* const packed = PackedSplats::ToWords(inputs.mBlocks.mPositions);
    NoiseCells<Lanes> cells;
    std::uint32_t splat = begin;
    for (; splat + kCount <= end; splat += kCount) {
        const Vec3<Lanes> position = MapPosition(chunk, UnpackNorm11(LaneWords(hn::LoadU(d, packed + splat))));
        hn::StoreU(CalcKeys<kEffects>(inputs, curves, cells, position).mLanes, d, keys + splat);
    }
    return splat;
}

std::uint32_t CalcChunkDistances(const CalcDistancesInputs& inputs, const InstanceCurves& curves, std::uint32_t begin,
                                 std::uint32_t end, std::uint32_t* keys) {
    return MovesSplats(inputs.mNoise) ? CalcChunk<true>(inputs, curves, begin, end, keys)
                                      : CalcChunk<false>(inputs, curves, begin, end, keys);
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace nimbrel::cpu {

HWY_EXPORT(CalcChunkDistances);

std::uint32_t CalcSplatDistance(const CalcDistancesInputs& inputs, std::uint32_t splat) {
    using namespace HWY_NAMESPACE;
    const InstanceCurves curves(inputs.mCurves, inputs.mConstants._CalcDistancesInstanceIndex);
    NoiseCells<float> cells;
    const Vec3<float> stored = PackedSplat::From(LoadPosition(inputs.mBlocks, splat));
    return CalcKeys<true>(inputs, curves, cells, MapPosition(LoadChunk(inputs.mBlocks, splat), stored));
}

void CalcDistances(const CalcDistancesInputs& inputs, std::uint32_t begin, std::uint32_t end,
                   std::span<std::uint32_t> keys) {
    const auto last = static_cast<std::uint32_t>(
        std::min<std::size_t>(std::min(end, inputs.mConstants._CalcDistancesSplatCount), keys.size()));
    // In vectors the format that assets are made in, and splats whose words lie wholly in the block.
    const bool inVectors = inputs.mBlocks.PositionFormat() == 2;
    const auto stored = static_cast<std::uint32_t>(std::min<std::size_t>(inputs.mBlocks.mPositions.size() / 4, last));
    const InstanceCurves curves(inputs.mCurves, inputs.mConstants._CalcDistancesInstanceIndex);
    std::uint32_t splat = begin;
    while (splat < last) {
        const std::uint32_t chunkEnd = std::min(last, (splat / gpu::kSplatsPerChunk + 1) * gpu::kSplatsPerChunk);
        const std::uint32_t vectorEnd = std::min(stored, chunkEnd);
        if (inVectors && splat < vectorEnd)
            splat = HWY_DYNAMIC_DISPATCH(CalcChunkDistances)(inputs, curves, splat, vectorEnd, keys.data());
        for (; splat < chunkEnd; ++splat) keys[splat] = CalcSplatDistance(inputs, splat);
    }
}

}  // namespace nimbrel::cpu
#endif
