#include "Nimbrel/CPU/CalcViewData.h"

#include <algorithm>
#include <cstring>

#include "Nimbrel/EffectSwitches.h"
#include "Render/CPU/HalfConversion.h"
#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/CalcViewData.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/highway.h>

#include "Nimbrel/CPU/SphericalHarmonics-inl.h"
#include "Nimbrel/CPU/SplatDecoding-inl.h"
#include "Nimbrel/CPU/SplatEffects-inl.h"
#include "Nimbrel/CPU/SplatShape-inl.h"
#include "Render/CPU/VectorConversion-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

/// What one run of the kernel needs besides splats.
template <class N>
struct ViewDataRun {
    explicit ViewDataRun(const CalcViewDataInputs& inputs, const InstanceCurves& curves)
        : mInputs(inputs), mConstants(inputs.mConstants), mCurves(curves) {
        // An orthographic camera has no view direction; there only the constant term counts.
        if (mConstants._CameraType == 0) mOrder = static_cast<std::int32_t>(mConstants._SHOrder);
    }

    const CalcViewDataInputs& mInputs;
    const gpu::CalcViewDataConstants& mConstants;
    const InstanceCurves& mCurves;
    NoiseCells<N> mCells;
    std::int32_t mOrder = 0;  ///< of harmonics
};

/// The members of records, each of one splat or several.
template <class N>
struct ViewData {
    N mPosition[4];
    ScreenAxes<N> mAxes;
    Vec3<N> mColor;
    N mOpacity;
    MaskOf<N> mHidden;  ///< all but the position is zero
};

/// Unit direction from the splat to the camera, in the asset's axes.
template <class N>
HWY_INLINE Vec3<N> GetViewDirection(const gpu::CalcViewDataConstants& constants, Vec3<N> world) {
    const Vec3<N> toCamera = Broadcast<N>(constants._VecWorldSpaceCameraPos) - world;
    const glm::mat4& m = constants._MatrixWorldToObject;
    const Vec3<N> direction{Dot(Row3<N>(m, 0), toCamera), Dot(Row3<N>(m, 1), toCamera), Dot(Row3<N>(m, 2), toCamera)};
    return direction * (N(1.0F) / Sqrt(Dot(direction, direction)));
}

/// 1 at the near end of the range and in front of it.
template <class N>
HWY_INLINE Vec3<N> GetDepthColor(const gpu::CalcViewDataConstants& constants, Vec3<N> world) {
    const N depth = RowTimesPoint(constants._MatrixCamera, 2, world) - N(constants._ZDepthNear);
    const N shade = Saturate(N(1.0F) - depth / N(constants._ZDepthFar - constants._ZDepthNear));
    return {shade, shade, shade};
}

/// Colour before opacity: harmonics, colour effect, depth.
template <bool kEffects, class N, class Packed>
HWY_INLINE Vec3<N> GetColor(const ViewDataRun<N>& run, const ChunkRanges& ranges, const Packed& packed, Vec3<N> effect,
                            Vec3<N> world) {
    if (run.mConstants._DrawZDepth == 1) return GetDepthColor(run.mConstants, world);
    const auto sh = [&](int index) HWY_ATTR { return DecodeSH(ranges, packed, index); };
    const Vec3<N> direction = GetViewDirection(run.mConstants, world);
    const Vec3<N> color = EvaluateSH(DecodeColor(ranges, packed), sh, direction, run.mOrder);
    if constexpr (kEffects) return BlendedColor(run.mInputs.mModel, run.mCurves, effect, color);
    return color;
}

/// The kernel.
template <bool kEffects, class Packed, class N = typename Packed::Number>
HWY_INLINE ViewData<N> CalcRecords(ViewDataRun<N>& run, const ChunkRanges& ranges, const Packed& packed) {
    const gpu::CalcViewDataConstants& constants = run.mConstants;
    const gpu::ModelConstants1& model = run.mInputs.mModel;
    const Vec3<N> position = DecodePosition(ranges, packed);
    Vec3<N> place = TransformPoint(constants._MatrixAlign, position);
    N size(constants._SplatScale);
    N opacity = N(constants._SplatOpacityScale) * DecodeOpacity(ranges, packed);
    MaskOf<N> cropped = Everywhere<N>(false);
    if constexpr (kEffects) {
        cropped = IsCroppedByShape(model, place);
        place = EffectPosition(run.mInputs.mNoise, run.mCurves, run.mCells, place);
        size = ScaleFactor(model, run.mCurves, place) * size;
        opacity = opacity * OpacityFactor(model, run.mCurves, place);
    }
    const Vec3<N> world = TransformPoint(constants._MatrixTransform, place);
    const SplatAxes<N> axes = MakeSplatAxes(DecodeRotation(packed.GetRotation()), DecodeScale(ranges, packed));
    ViewData<N> data;
    data.mAxes = MakeScreenAxes(ProjectCovariance(constants, position, MakeCovariance(axes, size)));
    data.mColor = GetColor<kEffects>(run, ranges, packed, place, world);
    data.mOpacity = Min(opacity, N(65000.0F));  // inside the range of a half
    for (int row = 0; row < 4; ++row) data.mPosition[row] = RowTimesPoint(constants._MatrixVP, row, world);
    data.mHidden = constants._CameraType == 1 ? Everywhere<N>(false) : data.mPosition[3] <= N(0.0F);
    if constexpr (kEffects) {
        if (model.model_crop_yPlane_enabled == 1) {
            const N highest = FindHighestCorner(constants._MatrixAlign, position, axes);
            const MaskOf<N> above = Not(highest < N(model.model_crop_yPlane_altitude));
            cropped = Or(cropped, And(above, Not(data.mHidden)));
        }
        for (N& value : data.mPosition) value = ZeroWhere(cropped, value);
        data.mHidden = Or(data.mHidden, cropped);
    }
    return data;
}

HWY_INLINE LaneWords ToHalfBits(Lanes value) {
    return zeb::render::cpu::HWY_NAMESPACE::VectorToHalfBits(FloatTag(), value.mLanes);
}
HWY_INLINE std::uint32_t ToHalfBits(float value) { return zeb::render::cpu::FloatToHalf(value); }

/// Two numbers as halves in a word, none where the splat is hidden.
template <class N>
HWY_INLINE WordsOf<N> PackHalves(MaskOf<N> hidden, N high, N low) {
    return ShiftLeft<16>(WordsOf<N>(ToHalfBits(ZeroWhere(hidden, high)))) |
           WordsOf<N>(ToHalfBits(ZeroWhere(hidden, low)));
}

HWY_INLINE void StoreRecords(const ViewData<float>& data, gpu::SplatViewData* record) {
    const auto shown = [&](float v) HWY_ATTR { return ZeroWhere(data.mHidden, v); };
    *record = {{data.mPosition[0], data.mPosition[1], data.mPosition[2], data.mPosition[3]},
               {shown(data.mAxes.mMajorX), shown(data.mAxes.mMajorY)},
               {shown(data.mAxes.mMinorX), shown(data.mAxes.mMinorY)},
               {PackHalves(data.mHidden, data.mColor.x, data.mColor.y),
                PackHalves(data.mHidden, data.mColor.z, data.mOpacity)}};
}

HWY_INLINE void StoreRecords(const ViewData<Lanes>& data, gpu::SplatViewData* records) {
    const FloatTag d;
    constexpr std::size_t kHalf = sizeof(glm::vec4);
    HWY_ALIGN float positions[4 * kMostLanes];
    HWY_ALIGN float axes[4 * kMostLanes];
    HWY_ALIGN std::uint32_t colors[2 * kMostLanes];
    const auto shown = [&](Lanes v) HWY_ATTR { return ZeroWhere(data.mHidden, v).mLanes; };
    const Lanes* const p = data.mPosition;
    hn::StoreInterleaved4(p[0].mLanes, p[1].mLanes, p[2].mLanes, p[3].mLanes, d, positions);
    hn::StoreInterleaved4(shown(data.mAxes.mMajorX), shown(data.mAxes.mMajorY), shown(data.mAxes.mMinorX),
                          shown(data.mAxes.mMinorY), d, axes);
    hn::StoreInterleaved2(PackHalves(data.mHidden, data.mColor.x, data.mColor.y).mLanes,
                          PackHalves(data.mHidden, data.mColor.z, data.mOpacity).mLanes, WordTag(), colors);
    for (std::size_t i = 0; i < kMostLanes; ++i) {
        auto* const bytes = reinterpret_cast<std::byte*>(records + i);
        std::memcpy(bytes, positions + 4 * i, kHalf);
        std::memcpy(bytes + kHalf, axes + 4 * i, kHalf);
        std::memcpy(bytes + 2 * kHalf, colors + 2 * i, sizeof records[i].color);
    }
}

/// Records of the splats [begin, end) of one chunk, as many as fill whole vectors; returns the first that is left.
template <bool kEffects>
HWY_INLINE std::uint32_t CalcChunk(ViewDataRun<Lanes>& run, const std::byte* texels, std::uint32_t begin,
                                   std::uint32_t end, gpu::SplatViewData* records) {
    constexpr auto kCount = static_cast<std::uint32_t>(kMostLanes);
    const ChunkRanges ranges(LoadChunk(run.mInputs.mBlocks, begin));
    std::uint32_t splat = begin;
    for (; splat + kCount <= end; splat += kCount) {
        const PackedSplats packed(run.mInputs.mBlocks, texels, splat, run.mOrder > 0);
        StoreRecords(CalcRecords<kEffects>(run, ranges, packed), records + splat);
    }
    return splat;
}

/// `texels`: the first of the chunk's.
std::uint32_t CalcChunkViewData(const CalcViewDataInputs& inputs, const InstanceCurves& curves, bool hasEffects,
                                const std::byte* texels, std::uint32_t begin, std::uint32_t end,
                                gpu::SplatViewData* records) {
    ViewDataRun<Lanes> run(inputs, curves);
    return hasEffects ? CalcChunk<true>(run, texels, begin, end, records)
                      : CalcChunk<false>(run, texels, begin, end, records);
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace nimbrel::cpu {

HWY_EXPORT(CalcChunkViewData);

namespace {

/// The formats that assets are made in.
bool HasVectorForm(const SplatBlocks& blocks) {
    return blocks.PositionFormat() == 2 && blocks.ScaleFormat() == 2 && blocks.SHFormat() == 3 &&
           blocks.mColor.mFormat == zeb::render::Format::RGBA8Unorm;
}

/// First texel of the block of the chunk that a splat is in; null where the block does not lie wholly in the texture.
const std::byte* FindTexels(const SplatBlocks& blocks, std::uint32_t splat) {
    constexpr std::uint64_t kSize = 16;
    constexpr std::uint64_t kBlocksInRow = 128;
    const std::uint64_t chunk = splat / gpu::kSplatsPerChunk;
    const std::uint64_t x = chunk % kBlocksInRow * kSize;
    const std::uint64_t y = chunk / kBlocksInRow * kSize + blocks.mConstants._SplatColorYOffset;
    if (x + kSize > blocks.mColor.mWidth || y + kSize > blocks.mColor.mHeight) return nullptr;
    return blocks.mColor.mData + 4 * (y * blocks.mColor.mWidth + x);
}

}  // namespace

gpu::SplatViewData CalcSplatViewData(const CalcViewDataInputs& inputs, std::uint32_t splat) {
    using namespace HWY_NAMESPACE;
    const InstanceCurves curves(inputs.mCurves, inputs.mConstants._DrawingIndex);
    ViewDataRun<float> run(inputs, curves);
    const ChunkRanges ranges(LoadChunk(inputs.mBlocks, splat));
    gpu::SplatViewData record{};
    StoreRecords(CalcRecords<true>(run, ranges, PackedSplat(LoadSplat(inputs.mBlocks, splat))), &record);
    return record;
}

void CalcViewData(const CalcViewDataInputs& inputs, std::uint32_t begin, std::uint32_t end,
                  std::span<gpu::SplatViewData> records) {
    const auto last =
        static_cast<std::uint32_t>(std::min<std::size_t>(std::min(end, inputs.mConstants._SplatCount), records.size()));
    // Only splats whose bytes lie wholly in the blocks.
    const SplatBlocks& blocks = inputs.mBlocks;
    const std::size_t stored = std::min({blocks.mPositions.size() / 4, blocks.mOther.size() / 8, blocks.mSH.size() / 32,
                                         static_cast<std::size_t>(last)});
    const bool inVectors = HasVectorForm(blocks);
    const bool hasEffects = MovesSplats(inputs.mNoise) || ChangesLook(inputs.mModel);
    const InstanceCurves curves(inputs.mCurves, inputs.mConstants._DrawingIndex);
    std::uint32_t splat = begin;
    while (splat < last) {
        const std::uint32_t chunkEnd = std::min(last, (splat / gpu::kSplatsPerChunk + 1) * gpu::kSplatsPerChunk);
        const std::uint32_t vectorEnd = std::min(static_cast<std::uint32_t>(stored), chunkEnd);
        const std::byte* const texels = inVectors && splat < vectorEnd ? FindTexels(blocks, splat) : nullptr;
        if (texels != nullptr)
            splat = HWY_DYNAMIC_DISPATCH(CalcChunkViewData)(inputs, curves, hasEffects, texels, splat, vectorEnd,
                                                            records.data());
        for (; splat < chunkEnd; ++splat) records[splat] = CalcSplatViewData(inputs, splat);
    }
}

}  // namespace nimbrel::cpu
#endif
