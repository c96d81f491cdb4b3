// Gradient noise in four dimensions with a hash of sines, period-free, smooth (cubic Hermite) between lattice points, 0
// at them (after Perlin, "An Image Synthesizer", 1985). The hash magnifies the last bits of its sines, which are those
// of Sine-inl.h. Included once for each vector target, behind Highway's headers.
#if defined(NIMBREL_NOISE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NIMBREL_NOISE_INL_H
#undef NIMBREL_NOISE_INL_H
#else
#define NIMBREL_NOISE_INL_H
#endif

#include <algorithm>
#include <bit>
#include <cstdint>

#include <hwy/highway.h>

#include "Nimbrel/CPU/Lanes-inl.h"
#include "Nimbrel/CPU/Sine-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

/// One row for each component of a lattice point's gradient, and what the row's sine is multiplied by.
constexpr float kNoiseHashRows[4][4] = {{127.1F, 311.7F, 74.7F, 212.1F},
                                        {269.5F, 183.3F, 246.1F, 243.7F},
                                        {113.5F, 271.9F, 124.6F, 231.8F},
                                        {209.3F, 258.6F, 282.6F, 107.9F}};
constexpr float kNoiseHashScale = 43758.546875F;

/// kNoiseCorners[k][corner]: component k of a corner of the unit cube, x varying fastest.
constexpr float kNoiseCorners[4][16] = {{0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1},
                                        {0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1, 1},
                                        {0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 0, 1, 1, 1, 1},
                                        {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1}};

template <class N>
struct Vec4 {
    N mValues[4];
};

/// Gradients at the corners of one cell, components apart.
struct NoiseCell {
    float mLattice[4];  ///< its least corner
    alignas(64) float mGradients[4][16];
};

/// The cells that splats were last in: neighbours in an asset mostly share theirs, and gradients cost far more than
/// what is done with them. `N` says how many corners are computed at a time.
template <class N>
class NoiseCells {
public:
    const NoiseCell& Get(const float (&lattice)[4]) {
        std::uint32_t bits[4];
        for (int k = 0; k < 4; ++k) bits[k] = std::bit_cast<std::uint32_t>(lattice[k]);
        const std::uint32_t hash = (bits[0] ^ bits[1] * 3U ^ bits[2] * 5U ^ bits[3] * 7U) * 0x9E3779B1U;
        const std::size_t place = hash >> (32 - kCellBits);
        NoiseCell& cell = mCells[place];
        const auto isSame = [](float a, float b) {
            return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
        };
        if (!mIsFilled[place] || !std::equal(lattice, lattice + 4, cell.mLattice, isSame)) {
            Fill(lattice, cell);
            mIsFilled[place] = true;
        }
        return cell;
    }

private:
    static constexpr int kCellBits = 5;

    static void Fill(const float (&lattice)[4], NoiseCell& cell) {
        std::copy(lattice, lattice + 4, cell.mLattice);
        for (std::size_t corner = 0; corner < 16; corner += LanesOf<N>::kCount) {
            N point[4];
            for (int k = 0; k < 4; ++k) {
                Load(kNoiseCorners[k] + corner, point[k]);
                point[k] = N(lattice[k]) + point[k];
            }
            for (int k = 0; k < 4; ++k) {
                const auto& row = kNoiseHashRows[k];
                const N dot = point[0] * N(row[0]) + point[1] * N(row[1]) + point[2] * N(row[2]) + point[3] * N(row[3]);
                const N large = Sine(dot) * N(kNoiseHashScale);
                Store((large - Floor(large)) * N(2.0F) - N(1.0F), cell.mGradients[k] + corner);
            }
        }
    }

    NoiseCell mCells[1 << kCellBits];
    bool mIsFilled[1 << kCellBits] = {};
};

/// The slopes of a cell's corners at `fraction`, 0 to 1 inside it, blended along x, then y, z and w.
template <class N>
HWY_INLINE N BlendCorners(const NoiseCell& cell, const Vec4<N>& fraction, const Vec4<N>& weight) {
    const N* const f = fraction.mValues;
    N offsets[4][2];
    for (int k = 0; k < 4; ++k) {
        offsets[k][0] = f[k];
        offsets[k][1] = f[k] - N(1.0F);
    }
    const auto slope = [&](int corner) HWY_ATTR {
        const auto part = [&](int k) HWY_ATTR { return N(cell.mGradients[k][corner]) * offsets[k][(corner >> k) & 1]; };
        return part(0) + part(1) + part(2) + part(3);
    };
    const N* const w = weight.mValues;
    const auto edge = [&](int corner) HWY_ATTR { return Lerp(slope(corner), slope(corner + 1), w[0]); };
    const auto face = [&](int corner) HWY_ATTR { return Lerp(edge(corner), edge(corner + 2), w[1]); };
    const auto cube = [&](int corner) HWY_ATTR { return Lerp(face(corner), face(corner + 4), w[2]); };
    return Lerp(cube(0), cube(8), w[3]);
}

/// Cell by cell, for the lanes that are in it.
template <class N>
HWY_INLINE N Noise4(NoiseCells<N>& cells, const Vec4<N>& point) {
    Vec4<N> fraction, weight;
    float lattices[4][LanesOf<N>::kCount];
    N lattice[4];
    for (int k = 0; k < 4; ++k) {
        lattice[k] = Floor(point.mValues[k]);
        Store(lattice[k], lattices[k]);
        const N f = point.mValues[k] - lattice[k];
        fraction.mValues[k] = f;
        weight.mValues[k] = f * f * (N(3.0F) - N(2.0F) * f);
    }
    N result(0.0F);
    MaskOf<N> done = Everywhere<N>(false);
    do {
        const std::size_t lane = FindFirst(Not(done));
        float own[4];
        MaskOf<N> here = Everywhere<N>(true);
        for (int k = 0; k < 4; ++k) {
            own[k] = lattices[k][lane];
            here = And(here, IsEqual(ToBits(lattice[k]), WordsOf<N>(std::bit_cast<std::uint32_t>(own[k]))));
        }
        result = Select(here, BlendCorners(cells.Get(own), fraction, weight), result);
        done = Or(done, here);
    } while (!AllTrue(done));
    return result;
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#endif
