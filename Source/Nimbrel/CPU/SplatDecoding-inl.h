// Packed fields of one splat or several, and what they are within their chunk's ranges. Included once for each vector
// target, behind Highway's headers.
#if defined(NIMBREL_SPLAT_DECODING_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NIMBREL_SPLAT_DECODING_INL_H
#undef NIMBREL_SPLAT_DECODING_INL_H
#else
#define NIMBREL_SPLAT_DECODING_INL_H
#endif

#include <hwy/highway.h>
#include <glm/vec2.hpp>

#include "Nimbrel/CPU/Lanes-inl.h"
#include "Nimbrel/CPU/SplatDecoding.h"
#include "Render/CPU/VectorConversion-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

template <int kShift, std::uint32_t kMask, class W>
HWY_INLINE auto Field(W words) {
    return ToNumber(ShiftRight<kShift>(words) & W(kMask));
}

/// Three fields of 11, 10 and 11 bits.
template <class W>
HWY_INLINE auto UnpackNorm11(W words) {
    using N = decltype(Field<0, 1>(words));
    return Vec3<N>{Field<0, 2047>(words) * N(kStep11), Field<11, 1023>(words) * N(kStep10),
                   Field<21, 2047>(words) * N(kStep11)};
}

/// Three fields of 5, 6 and 5 bits.
template <class W>
HWY_INLINE auto UnpackNorm565(W words) {
    using N = decltype(Field<0, 1>(words));
    return Vec3<N>{Field<0, 31>(words) * N(kStep5), Field<5, 63>(words) * N(kStep6), Field<11, 31>(words) * N(kStep5)};
}

/// One splat of any format.
class PackedSplat {
public:
    using Number = float;

    HWY_INLINE explicit PackedSplat(const StoredSplat& stored) : mStored(stored) {}

    HWY_INLINE Vec3<float> GetPosition() const { return From(mStored.mPosition); }
    HWY_INLINE std::uint32_t GetRotation() const { return mStored.mRotation; }
    HWY_INLINE Vec3<float> GetScale() const { return From(mStored.mScale); }
    HWY_INLINE float GetTexel(int channel) const { return mStored.mTexel[channel]; }
    HWY_INLINE Vec3<float> GetSH(int index) const { return From(mStored.mSH[index]); }
    HWY_INLINE bool IsSHMapped() const { return mStored.mIsSHMapped; }

    static HWY_INLINE Vec3<float> From(const glm::vec3& v) { return {v.x, v.y, v.z}; }

private:
    StoredSplat mStored;
};

/// As many splats as a vector holds, in the formats that assets are made in: positions and scales of 11, 10 and 11
/// bits, coefficients of 5, 6 and 5, channels of 8.
class PackedSplats {
public:
    using Number = Lanes;

    /// `texels` is the first texel of the chunk's block.
    HWY_INLINE PackedSplats(const SplatBlocks& blocks, const std::byte* texels, std::uint32_t splat, bool withSH) {
        const WordTag d;
        mPositions = hn::LoadU(d, ToWords(blocks.mPositions) + splat);
        hn::LoadInterleaved2(d, ToWords(blocks.mOther) + std::size_t{2} * splat, mRotations, mScales);
        if (withSH) {
            const auto places = hn::Mul(hn::Iota(IntTag(), 0), hn::Set(IntTag(), kSHWords));
            const std::uint32_t* const words = ToWords(blocks.mSH) + kSHWords * splat;
            for (std::size_t i = 0; i < kSHWords; ++i) mSH[i] = hn::GatherIndex(d, words + i, places);
        }
        const LaneWords texel = GatherTexels(texels, blocks.mColor.mWidth, splat);
        mTexels[0] = ToChannel(Field<0, 255>(texel));
        mTexels[1] = ToChannel(Field<8, 255>(texel));
        mTexels[2] = ToChannel(Field<16, 255>(texel));
        mTexels[3] = ToChannel(Field<24, 255>(texel));
    }

    HWY_INLINE Vec3<Lanes> GetPosition() const { return UnpackNorm11(LaneWords(mPositions)); }
    HWY_INLINE LaneWords GetRotation() const { return mRotations; }
    HWY_INLINE Vec3<Lanes> GetScale() const { return UnpackNorm11(LaneWords(mScales)); }
    HWY_INLINE Lanes GetTexel(int channel) const { return mTexels[channel]; }
    HWY_INLINE Vec3<Lanes> GetSH(int index) const {
        const LaneWords pair = mSH[index / 2];
        return UnpackNorm565(index % 2 == 0 ? pair : ShiftRight<16>(pair));
    }
    HWY_INLINE bool IsSHMapped() const { return true; }

    /// Words of a block, which starts and ends at a multiple of 4 bytes.
    static HWY_INLINE const std::uint32_t* ToWords(std::span<const std::byte> block) {
        return reinterpret_cast<const std::uint32_t*>(block.data());
    }

private:
    static constexpr std::size_t kSHWords = 8;

    /// Texels of a chunk lie in a block of 16 x 16 in Morton order; see LoadSplat.
    static HWY_INLINE LaneWords GatherTexels(const std::byte* texels, std::uint32_t width, std::uint32_t splat) {
        const LaneWords index = LaneWords(hn::Iota(WordTag(), splat)) & LaneWords(255);
        const LaneWords a = (index & LaneWords(0x55)) | (ShiftLeft<7>(index) & LaneWords(0x5500));
        const LaneWords b = (a | ShiftRight<1>(a)) & LaneWords(0x3333);
        const LaneWords c = b | ShiftRight<2>(b);
        const LaneWords place = (c & LaneWords(15)) + (ShiftRight<8>(c) & LaneWords(15)) * LaneWords(width);
        return hn::GatherIndex(WordTag(), reinterpret_cast<const std::uint32_t*>(texels),
                               hn::BitCast(IntTag(), place.mLanes));
    }
    static HWY_INLINE hn::Vec<FloatTag> ToChannel(Lanes step) {
        return zeb::render::cpu::HWY_NAMESPACE::VectorFromStep<255>(FloatTag(), step.mLanes);
    }

    hn::Vec<WordTag> mPositions, mRotations, mScales;
    hn::Vec<WordTag> mSH[kSHWords];
    hn::Vec<FloatTag> mTexels[4];
};

template <class N>
HWY_INLINE N Map(const HalfRange& range, N value) {
    return N(range.mLow) + value * N(range.mHigh - range.mLow);
}

template <class N>
HWY_INLINE Vec3<N> MapPosition(const gpu::SplatChunkInfo& chunk, Vec3<N> v) {
    const auto map = [](const glm::vec2& range, N value) HWY_ATTR { return N(range.x) + value * N(range.y - range.x); };
    return {map(chunk.posX, v.x), map(chunk.posY, v.y), map(chunk.posZ, v.z)};
}

/// The ranges that a chunk's numbers are stretched over.
struct ChunkRanges {
    explicit ChunkRanges(const gpu::SplatChunkInfo& chunk)
        : mChunk(chunk),
          mScales{HalfRange(chunk.sclX), HalfRange(chunk.sclY), HalfRange(chunk.sclZ)},
          mColors{HalfRange(chunk.colR), HalfRange(chunk.colG), HalfRange(chunk.colB)},
          mHarmonics{HalfRange(chunk.shR), HalfRange(chunk.shG), HalfRange(chunk.shB)},
          mOpacities(chunk.colA) {}

    gpu::SplatChunkInfo mChunk;
    HalfRange mScales[3], mColors[3], mHarmonics[3];
    HalfRange mOpacities;
};

template <class Packed>
HWY_INLINE auto DecodePosition(const ChunkRanges& ranges, const Packed& packed) {
    return MapPosition(ranges.mChunk, packed.GetPosition());
}

/// A quaternion, the vector part and the scalar one.
template <class N>
struct Quaternion {
    Vec3<N> mVector;
    N mScalar;
};

/// A rotation's word: three components of 10 bits and the place of the dropped one, which is the largest.
template <class W>
HWY_INLINE auto DecodeRotation(W word) {
    using N = decltype(Field<0, 1>(word));
    const auto component = [](N field) HWY_ATTR { return field * N(0.00138241798F) - N(0.707106769F); };
    const N a = component(Field<0, 1023>(word));
    const N b = component(Field<10, 1023>(word));
    const N c = component(Field<20, 1023>(word));
    const N dropped = Sqrt(N(1.0F) - Saturate(a * a + b * b + c * c));
    const W place = ShiftRight<30>(word);
    const auto at = [&](std::uint32_t i) HWY_ATTR { return IsEqual(place, W(i)); };
    return Quaternion<N>{{Select(at(0), dropped, a), Select(at(0), a, Select(at(1), dropped, b)),
                          Select(at(2), dropped, Select(at(3), c, b))},
                         Select(at(3), dropped, c)};
}

template <class Packed>
HWY_INLINE auto DecodeScale(const ChunkRanges& ranges, const Packed& packed) {
    using N = typename Packed::Number;
    const auto decode = [](const HalfRange& range, N value) HWY_ATTR {
        const N root = Map(range, value);
        const N squared = root * root;
        const N fourth = squared * squared;
        return fourth * fourth;
    };
    const Vec3<N> v = packed.GetScale();
    return Vec3<N>{decode(ranges.mScales[0], v.x), decode(ranges.mScales[1], v.y), decode(ranges.mScales[2], v.z)};
}

/// With the constant SH term.
template <class Packed>
HWY_INLINE auto DecodeColor(const ChunkRanges& ranges, const Packed& packed) {
    using N = typename Packed::Number;
    return Vec3<N>{Map(ranges.mColors[0], packed.GetTexel(0)), Map(ranges.mColors[1], packed.GetTexel(1)),
                   Map(ranges.mColors[2], packed.GetTexel(2))};
}

/// 0 to 1; the encoding spends more steps around one half's ends.
template <class Packed>
HWY_INLINE auto DecodeOpacity(const ChunkRanges& ranges, const Packed& packed) {
    using N = typename Packed::Number;
    const HalfRange& range = ranges.mOpacities;
    const N u = (N(range.mLow - 0.5F) + packed.GetTexel(3) * N(range.mHigh - range.mLow)) * N(0.5F);
    return Sign(u) * Sqrt(Abs(u)) + N(0.5F);
}

/// Coefficient `index`, 0 for the first behind the constant one.
template <class Packed>
HWY_INLINE auto DecodeSH(const ChunkRanges& ranges, const Packed& packed, int index) {
    using N = typename Packed::Number;
    const Vec3<N> v = packed.GetSH(index);
    if (!packed.IsSHMapped()) return v;
    return Vec3<N>{Map(ranges.mHarmonics[0], v.x), Map(ranges.mHarmonics[1], v.y), Map(ranges.mHarmonics[2], v.z)};
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#endif
