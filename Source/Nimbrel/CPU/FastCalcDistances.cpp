#include "Nimbrel/CPU/FastCalcDistances.h"

#include <algorithm>
#include <cstring>

#include "Nimbrel/CPU/SplatDecoding.h"
#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/FastCalcDistances.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using FloatTag = hn::CappedTag<float, 16>;
using IntTag = hn::RebindToSigned<FloatTag>;
using WordTag = hn::RebindToUnsigned<FloatTag>;
using Floats = hn::Vec<FloatTag>;

template <int kShift, std::uint32_t kMask>
HWY_INLINE Floats MapField(hn::Vec<WordTag> words, float step, const glm::vec2& range) {
    const FloatTag d;
    const auto field = hn::And(hn::ShiftRight<kShift>(words), hn::Set(WordTag(), kMask));
    const auto value = hn::Mul(hn::ConvertTo(d, hn::BitCast(IntTag(), field)), hn::Set(d, step));
    return hn::Add(hn::Set(d, range.x), hn::Mul(value, hn::Set(d, range.y - range.x)));
}

/// A row of a matrix times (x, y, z, 1), summed from left to right.
HWY_INLINE Floats RowTimes(const glm::vec4& row, Floats x, Floats y, Floats z) {
    const FloatTag d;
    const auto xy = hn::Add(hn::Mul(hn::Set(d, row.x), x), hn::Mul(hn::Set(d, row.y), y));
    return hn::Add(hn::Add(xy, hn::Mul(hn::Set(d, row.z), z)), hn::Set(d, row.w));
}

/// Keys of the splats [begin, end) of one chunk, as many as fill whole vectors; returns the first that is left.
std::uint32_t CalcChunkDistances(const CalcDistancesInputs& inputs, std::uint32_t begin, std::uint32_t end,
                                 std::uint32_t* keys) {
    using zeb::render::cpu::Row;
    const FloatTag d;
    const WordTag dw;
    const auto lanes = static_cast<std::uint32_t>(hn::Lanes(d));
    const gpu::SplatChunkInfo chunk = LoadChunk(inputs.mBlocks, begin);
    const glm::mat4& align = inputs.mConstants._CalcDistancesMatrixAlign;
    const glm::vec4 rows[4] = {Row(align, 0), Row(align, 1), Row(align, 2),
                               Row(inputs.mConstants._CalcDistancesMatrixVP, 2)};
    std::uint32_t splat = begin;
    for (; splat + lanes <= end; splat += lanes) {
        HWY_ALIGN std::uint32_t words[hn::MaxLanes(WordTag())];
        std::memcpy(words, inputs.mBlocks.mPositions.data() + std::size_t{4} * splat, std::size_t{4} * lanes);
        const auto word = hn::Load(dw, words);
        const auto x = MapField<0, 2047>(word, 0.000488519785F, chunk.posX);
        const auto y = MapField<11, 1023>(word, 0.000977517106F, chunk.posY);
        const auto z = MapField<21, 2047>(word, 0.000488519785F, chunk.posZ);
        const auto depth =
            RowTimes(rows[3], RowTimes(rows[0], x, y, z), RowTimes(rows[1], x, y, z), RowTimes(rows[2], x, y, z));
        const auto bits = hn::BitCast(dw, depth);
        const auto signs = hn::BitCast(dw, hn::ShiftRight<31>(hn::BitCast(IntTag(), depth)));
        hn::StoreU(hn::Xor(bits, hn::Or(signs, hn::Set(dw, 0x80000000U))), dw, keys + splat);
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
    const bool fast = inputs.mBlocks.PositionFormat() == 2 && inputs.mNoise.displacement_enabled == 0 &&
                      inputs.mNoise.noise_enabled == 0;
    // Only splats whose words lie wholly in the block.
    const auto stored = static_cast<std::uint32_t>(std::min<std::size_t>(inputs.mBlocks.mPositions.size() / 4, last));
    std::uint32_t splat = begin;
    while (fast && splat < stored) {
        const std::uint32_t chunkEnd = std::min(stored, (splat / gpu::kSplatsPerChunk + 1) * gpu::kSplatsPerChunk);
        const std::uint32_t done = HWY_DYNAMIC_DISPATCH(CalcChunkDistances)(inputs, splat, chunkEnd, keys.data());
        CalcDistances(inputs, done, chunkEnd, keys);
        splat = chunkEnd;
    }
    CalcDistances(inputs, splat, last, keys);
}

}  // namespace nimbrel::cpu
#endif
