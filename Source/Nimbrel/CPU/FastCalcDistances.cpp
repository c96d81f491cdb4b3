#include "Nimbrel/CPU/FastCalcDistances.h"

#include <algorithm>

#include "Nimbrel/CPU/EffectPosition.h"
#include "Nimbrel/CPU/SplatDecoding.h"
#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/FastCalcDistances.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/highway.h>

#include "Nimbrel/CPU/SplatLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

HWY_INLINE Vector ApplyEffects(const CalcDistancesInputs& inputs, Vector aligned) {
    Points points(aligned);
    for (std::size_t i = 0; i < hn::Lanes(FloatTag()); ++i) {
        points.Set(i, EffectPosition(inputs.mNoise, inputs.mCurves, inputs.mConstants._CalcDistancesInstanceIndex,
                                     points.Get(i)));
    }
    return points.Load();
}

/// Keys of the splats [begin, end) of one chunk, as many as fill whole vectors; returns the first that is left.
std::uint32_t CalcChunkDistances(const CalcDistancesInputs& inputs, bool hasEffects, std::uint32_t begin,
                                 std::uint32_t end, std::uint32_t* keys) {
    const WordTag d;
    const auto lanes = static_cast<std::uint32_t>(hn::Lanes(d));
    const gpu::SplatChunkInfo chunk = LoadChunk(inputs.mBlocks, begin);
    const auto* const packed = reinterpret_cast<const std::uint32_t*>(inputs.mBlocks.mPositions.data());
    std::uint32_t splat = begin;
    for (; splat + lanes <= end; splat += lanes) {
        const Vector position = DecodePosition(chunk, hn::LoadU(d, packed + splat));
        Vector place = TransformPoint(inputs.mConstants._CalcDistancesMatrixAlign, position);
        if (hasEffects) place = ApplyEffects(inputs, place);
        const auto depth = RowTimesPoint(inputs.mConstants._CalcDistancesMatrixVP, 2, place).mLanes;
        const auto signs = hn::BitCast(d, hn::ShiftRight<31>(hn::BitCast(IntTag(), depth)));
        hn::StoreU(hn::Xor(hn::BitCast(d, depth), hn::Or(signs, hn::Set(d, 0x80000000U))), d, keys + splat);
    }
    return splat;
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace nimbrel::cpu {

HWY_EXPORT(CalcChunkDistances);

void FastCalcDistances(const CalcDistancesInputs& inputs, std::uint32_t begin, std::uint32_t end,
                       std::span<std::uint32_t> keys) {
    const auto last = static_cast<std::uint32_t>(
        std::min<std::size_t>(std::min(end, inputs.mConstants._CalcDistancesSplatCount), keys.size()));
    const bool fast = inputs.mBlocks.PositionFormat() == 2;
    const bool hasEffects = inputs.mNoise.displacement_enabled != 0 || inputs.mNoise.noise_enabled != 0;
    // Only splats whose words lie wholly in the block.
    const auto stored = static_cast<std::uint32_t>(std::min<std::size_t>(inputs.mBlocks.mPositions.size() / 4, last));
    std::uint32_t splat = begin;
    while (fast && splat < stored) {
        const std::uint32_t chunkEnd = std::min(stored, (splat / gpu::kSplatsPerChunk + 1) * gpu::kSplatsPerChunk);
        const std::uint32_t done =
            HWY_DYNAMIC_DISPATCH(CalcChunkDistances)(inputs, hasEffects, splat, chunkEnd, keys.data());
        CalcDistances(inputs, done, chunkEnd, keys);
        splat = chunkEnd;
    }
    CalcDistances(inputs, splat, last, keys);
}

}  // namespace nimbrel::cpu
#endif
